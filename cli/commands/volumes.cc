#include <algorithm>
#include <map>
#include <optional>

#include "cli/base/text.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

struct Carrier {
    std::string name;
    int claimLevel = 0;
    const CScsiDeviceData* record = nullptr;

    bool hasAddress() const { return record != nullptr && record->m_port >= 0; }
    bool answersInquiry() const { return record != nullptr && record->m_pages.count(0) != 0; }
};

struct Volume {
    std::string udid;
    std::vector<Carrier> carriers;
    std::optional<unsigned long> sizeKb;

    // A node that neither has a size nor answers, such as device-mapper's control node, carries
    // nothing.
    bool isStorage() const {
        return sizeKb || std::any_of(carriers.begin(), carriers.end(),
                                     [](const Carrier& one) { return one.answersInquiry(); });
    }

    // A pseudo-device is no path of its own.
    std::size_t paths() const {
        std::size_t count = 0;
        for (const Carrier& carrier : carriers) {
            count += carrier.claimLevel == 0 ? 1 : 0;
        }
        return count;
    }
};

// In the order of the first device; a device without a UDID is a volume of its own.
std::vector<Volume> grouped(const DeviceMap& devices, const CUDIDFactory& factory) {
    std::map<std::string, const CScsiDeviceData*> records;
    for (const auto& record : factory.records()) {
        records[record->m_deviceName] = record.get();
    }
    std::vector<Volume> volumes;
    std::map<std::string, std::size_t> places;
    for (const auto& [name, info] : devices) {
        const auto [place, isNew] = places.emplace(info.uid, volumes.size());
        if (isNew || info.uid.empty()) {
            place->second = volumes.size();
            volumes.push_back({info.uid, {}, {}});
        }
        const auto record = records.find(name);
        volumes[place->second].carriers.push_back(
            {name, info.dmpClaimLevel, record != records.end() ? record->second : nullptr});
    }
    return volumes;
}

void measure(Volume& volume, CLinuxDeviceDiscovery& discovery) {
    for (const Carrier& carrier : volume.carriers) {
        unsigned long size = 0;
        if (discovery.getDiskSize(carrier.name, size) == 0) {
            volume.sizeKb = size;
            return;
        }
    }
}

Json volumeJson(const Volume& volume) {
    Json devices = Json::array();
    for (const Carrier& carrier : volume.carriers) {
        Json device = {{"name", jsonText(carrier.name)}, {"claim_level", carrier.claimLevel}};
        device["address"] = nullptr;
        if (carrier.hasAddress()) {
            const CScsiDeviceData& at = *carrier.record;
            device["address"] = Json::array({at.m_port, at.m_bus, at.m_target, at.m_lun});
        }
        devices.push_back(device);
    }
    Json json = {{"udid", jsonText(volume.udid)}, {"size_kb", nullptr}};
    if (volume.sizeKb) {
        json["size_kb"] = *volume.sizeKb;
    }
    json["paths"] = volume.paths();
    json["devices"] = devices;
    return json;
}

std::vector<std::string> volumeRow(const Volume& volume) {
    std::vector<std::string> names;
    std::vector<std::string> addresses;
    for (const Carrier& carrier : volume.carriers) {
        names.push_back(carrier.name);
        if (carrier.hasAddress()) {
            const CScsiDeviceData& at = *carrier.record;
            std::string address = std::to_string(at.m_port) + ":" + std::to_string(at.m_bus) + ":" +
                                  std::to_string(at.m_target) + ":" + std::to_string(at.m_lun);
            // A pseudo-device answers with the address of one of its paths.
            if (addresses.empty() || addresses.back() != address) {
                addresses.push_back(std::move(address));
            }
        }
    }
    return {volume.udid.empty() ? "-" : volume.udid, volume.sizeKb ? sizeText(*volume.sizeKb) : "-",
            std::to_string(volume.paths()), joined(names, " "), joined(addresses, " ")};
}

class Volumes : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        return parent.add_subcommand("volumes", "Show one row a UDID with all that carries it");
    }

    Report run(Context& context) override {
        CUDIDFactory factory;
        context.traceInto(factory);
        askAhead(context, "", interviews::volume());
        const DeviceMap devices = factory.enumerateDeviceMap(false, false, false, "", "");
        CLinuxDeviceDiscovery discovery;
        discovery.m_traceLog = context.traceLog;
        Report report;
        report.data["volumes"] = Json::array();
        Table table({{"UDID", false, true},
                     {"SIZE", true},
                     {"PATHS", true},
                     {"DEVICES", false, true},
                     {"ADDRESSES", false, true}});
        for (Volume& volume : grouped(devices, factory)) {
            measure(volume, discovery);
            if (!volume.isStorage()) {
                continue;
            }
            report.data["volumes"].push_back(volumeJson(volume));
            table.addRow(volumeRow(volume));
        }
        report.text = table.str(context.layout);
        if (report.data["volumes"].empty()) {
            report.failure = "no SCSI disk found: " + hintWithoutDisks(context);
        }
        return report;
    }
};

}  // namespace

std::unique_ptr<Command> makeVolumes() {
    return std::make_unique<Volumes>();
}

}  // namespace cli
