#include "cli/udev/carriers.h"

#include <map>
#include <optional>
#include <sstream>
#include <utility>

#include "cli/udev/properties.h"
#include "cli/udev/subject.h"

namespace cli::udev {
namespace {

using picture::Device;
using picture::Kind;
using recording::guard::BlockDevices;

// One file a device, "b8:16" for a block device of that number; a line "E:KEY=VALUE" for each
// property.
constexpr const char* kDatabase = "/run/udev/data/";
constexpr const char* kByNumber = "/sys/dev/block/";

using Record = std::map<std::string, std::string>;

Record recordIn(const std::string& text) {
    Record record;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find('=');
        if (line.compare(0, 2, "E:") == 0 && equals != std::string::npos) {
            record[line.substr(2, equals - 2)] = line.substr(equals + 1);
        }
    }
    return record;
}

std::optional<Carrier> carrierOf(BlockDevices& blocks, const std::string& number,
                                 const std::string& udidEnc) {
    const auto text = blocks.evidence().file(kDatabase + ("b" + number));
    // Most are of another: a look at the text is cheaper than taking it apart.
    if (!text || text->find(udidEnc) == std::string::npos) {
        return std::nullopt;
    }
    Record record = recordIn(*text);
    const auto link = blocks.evidence().link(kByNumber + number);
    if (record[kUdidEnc] != udidEnc || !link) {
        return std::nullopt;
    }
    const std::string name = link->substr(link->rfind('/') + 1);
    const auto kind = kindOf(blocks, name);
    Carrier carrier;
    carrier.isWhole = kind && record.count(kPartition) == 0;
    carrier.hasLink = record.count(kLink) != 0;
    carrier.device =
        carriedBy(blocks, name, kind.value_or(Kind::kOther), udidEnc, namesIn(record[kNames]));
    return carrier;
}

}  // namespace

std::vector<Carrier> carriersOf(BlockDevices& blocks, const std::string& udidEnc) {
    std::vector<Carrier> carriers;
    for (const std::string& entry :
         blocks.evidence().list(kDatabase).value_or(BlockDevices::Names())) {
        auto carrier = entry[0] == 'b' ? carrierOf(blocks, entry.substr(1), udidEnc) : std::nullopt;
        if (carrier) {
            carriers.push_back(std::move(*carrier));
        }
    }
    return carriers;
}

Device carriedBy(BlockDevices& blocks, const std::string& kernelName, Kind kind,
                 const std::string& udidEnc, picture::UnitNames names) {
    Device device;
    device.name = "/dev/" + kernelName;
    device.kernelName = kernelName;
    device.kind = kind;
    device.udid = udidEnc;
    device.names = std::move(names);
    device.sizeKb = blocks.sizeKb(kernelName);
    if (kind != Kind::kDisk) {
        device.paths = blocks.slaves(kernelName);
    }
    return device;
}

std::size_t countVolumes(const std::vector<Device>& devices) {
    return picture::volumesOf(devices).size();
}

}  // namespace cli::udev
