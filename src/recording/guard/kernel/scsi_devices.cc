#include "recording/guard/kernel/scsi_devices.h"

#include <algorithm>
#include <array>

#include "recording/guard/kernel/kernel_tables.h"
#include "recording/text/hex.h"

namespace recording::guard {
namespace {

using Kind = host::DeviceNumber::Kind;

constexpr const char* kScsiDevices = "/sys/class/scsi_device/";

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

std::string deviceFolder(const ScsiAddress& address) {
    return kScsiDevices + addressText(address) + "/device/";
}

}  // namespace

bool isDiskType(const std::string& type) {
    static const std::array<const char*, 4> kDiskTypes = {"0", "7", "14", "20"};
    return std::find(kDiskTypes.begin(), kDiskTypes.end(), type) != kDiskTypes.end();
}

std::string ScsiDevices::line(const std::string& path) {
    return trimmed(firstLine(m_evidence.file(path).value_or("")));
}

std::vector<ScsiAddress> ScsiDevices::addresses() {
    std::vector<ScsiAddress> addresses;
    for (const std::string& name :
         m_evidence.list(kScsiDevices, Need::kMustExist).value_or(Names())) {
        if (const auto address = parseAddress(name)) {
            addresses.push_back(*address);
        }
    }
    return addresses;
}

// device/block/sdb, or in the older layout device/block:sdb.
ScsiDevices::Names ScsiDevices::entriesOfKind(const ScsiAddress& address, const std::string& kind) {
    const std::string device = deviceFolder(address);
    if (const auto names = m_evidence.list(device + kind + "/")) {
        return *names;
    }
    Names names;
    for (const std::string& entry : m_evidence.list(device).value_or(Names())) {
        if (beginsWith(entry, kind + ":")) {
            names.push_back(entry.substr(kind.size() + 1));
        }
    }
    return names;
}

ScsiDevices::Names ScsiDevices::disksAt(const ScsiAddress& address) {
    Names disks = entriesOfKind(address, "block");
    const std::vector<ScsiAddress> all = disks.empty() ? addresses() : std::vector<ScsiAddress>();
    if (std::find(all.begin(), all.end(), address) != all.end()) {
        // A device without a block device must at least show that it has none.
        m_evidence.list(deviceFolder(address), Need::kMustExist);
    }
    return disks;
}

std::vector<host::DeviceNumber> ScsiDevices::charactersAt(const ScsiAddress& address) {
    static const std::array<const char*, 4> kKinds = {"scsi_generic", "bsg", "scsi_tape",
                                                      "scsi_changer"};
    std::vector<host::DeviceNumber> numbers;
    for (const char* kind : kKinds) {
        for (const std::string& entry : entriesOfKind(address, kind)) {
            const std::array<std::string, 2> places = {
                deviceFolder(address) + kind + "/" + entry + "/dev",
                deviceFolder(address) + kind + ":" + entry + "/dev"};
            for (const std::string& place : places) {
                if (const auto number = parseNumber(line(place), Kind::kCharacter)) {
                    numbers.push_back(*number);
                }
            }
        }
    }
    return numbers;
}

std::string ScsiDevices::attributeAt(const ScsiAddress& address, const std::string& name) {
    return line(deviceFolder(address) + name);
}

std::vector<std::uint8_t> ScsiDevices::keptAt(const ScsiAddress& address, const std::string& name) {
    const std::string content = m_evidence.file(deviceFolder(address) + name).value_or("");
    return {content.begin(), content.end()};
}

std::vector<std::uint8_t> ScsiDevices::pageAt(const ScsiAddress& address, std::uint8_t code) {
    constexpr std::size_t kHeader = 4;
    const std::vector<std::uint8_t> page = keptAt(address, "vpd_pg" + toHex(&code, 1));
    if (page.size() <= kHeader) {
        return {};
    }
    const std::size_t stated = page[2] * 256U + page[3];
    const auto end = static_cast<std::ptrdiff_t>(std::min(page.size(), kHeader + stated));
    return {page.begin() + kHeader, page.begin() + end};
}

std::string ScsiDevices::genericNodeAt(const ScsiAddress& address) {
    const Names names = entriesOfKind(address, "scsi_generic");
    return names.empty() ? std::string() : "/dev/" + names.front();
}

}  // namespace recording::guard
