#include <cerrno>

#include "cli/base/text.h"
#include "cli/common/command.h"
#include "cli/hosts/read_watch.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

constexpr const char* kScsiTable = "/proc/scsi/scsi";

struct Inventory {
    std::vector<SLinuxScsiDevice> devices;
    std::vector<SLinuxScsiDevice> disks;
    int count = 0;
    std::map<int, std::vector<int>> targets;
    std::map<int, int> maxLun;
    std::map<int, int> maxTarget;
    std::map<int, int> maxChannel;
};

Inventory takeInventory(CLinuxDeviceDiscovery& discovery) {
    Inventory inventory;
    inventory.devices = discovery.getDeviceList(false);
    inventory.disks = discovery.getDeviceList(true);
    inventory.count = discovery.getDeviceCount();
    discovery.getTargetIds(inventory.targets);
    // Only adapters with a key in the LUN map are looked at.
    for (const SLinuxScsiDevice& device : inventory.devices) {
        inventory.maxLun[device.host] = 0;
        inventory.maxTarget[device.host] = 0;
        inventory.maxChannel[device.host] = 0;
    }
    discovery.scanForAdapterMaximums(inventory.maxLun, inventory.maxTarget, inventory.maxChannel);
    return inventory;
}

Json addressesJson(const std::vector<SLinuxScsiDevice>& devices) {
    Json list = Json::array();
    for (const SLinuxScsiDevice& device : devices) {
        list.push_back(Json::array({device.host, device.channel, device.id, device.lun}));
    }
    return list;
}

Json dataOf(const Inventory& inventory) {
    Json data = Json::object();
    data["devices"] = addressesJson(inventory.devices);
    data["disks"] = addressesJson(inventory.disks);
    data["count"] = inventory.count;
    data["targets"] = Json::object();
    for (const auto& [adapter, ids] : inventory.targets) {
        data["targets"][std::to_string(adapter)] = ids;
    }
    data["maxima"] = Json::object();
    for (const auto& [adapter, lun] : inventory.maxLun) {
        data["maxima"][std::to_string(adapter)] = {{"channel", inventory.maxChannel.at(adapter)},
                                                   {"target", inventory.maxTarget.at(adapter)},
                                                   {"lun", lun}};
    }
    return data;
}

std::string textOf(const Inventory& inventory, CLinuxDeviceDiscovery& discovery,
                   const Layout& layout) {
    Table devices({{"HOST", true}, {"CHANNEL", true}, {"TARGET", true}, {"LUN", true}, {"DISK"}});
    for (const SLinuxScsiDevice& at : inventory.devices) {
        const bool disk =
            discovery.containsDevice(at.host, at.channel, at.id, at.lun, inventory.disks);
        devices.addRow({std::to_string(at.host), std::to_string(at.channel), std::to_string(at.id),
                        std::to_string(at.lun), disk ? "yes" : "no"});
    }
    Table adapters({{"HOST", true},
                    {"MAX CHANNEL", true},
                    {"MAX TARGET", true},
                    {"MAX LUN", true},
                    {"TARGETS", false, true}});
    for (const auto& [adapter, lun] : inventory.maxLun) {
        std::vector<std::string> ids;
        const auto targets = inventory.targets.find(adapter);
        if (targets != inventory.targets.end()) {
            for (const int id : targets->second) {
                ids.push_back(std::to_string(id));
            }
        }
        adapters.addRow({std::to_string(adapter), std::to_string(inventory.maxChannel.at(adapter)),
                         std::to_string(inventory.maxTarget.at(adapter)), std::to_string(lun),
                         joined(ids, " ")});
    }
    return devices.str(layout) + "\n" + adapters.str(layout);
}

std::string whyNoTable(const Context& context, int error) {
    const bool isMissing = error == ENOENT && !context.view().isUntold(kScsiTable);
    return whyNotThere(context.view(), kScsiTable, error) +
           (isMissing ? "; a kernel built without CONFIG_SCSI_PROC_FS has no such table" : "") +
           "; try 'scsitool disks'";
}

class Bus : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        return parent.add_subcommand("bus", "Show the SCSI inventory, its targets and maxima");
    }

    Report run(Context& context) override {
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        ReadWatch table(context.host(), kScsiTable);
        const host::Scope scope(table);
        const Inventory inventory = takeInventory(discovery);
        Report report;
        report.data = dataOf(inventory);
        report.text = textOf(inventory, discovery, context.layout);
        if (inventory.devices.empty()) {
            report.failure = table.error() != 0 ? whyNoTable(context, table.error())
                                                : std::string(kScsiTable) + " names no device";
        } else if (table.error() != 0) {
            report.doubts.push_back("the inventory is not whole: " +
                                    whyNotThere(context.view(), kScsiTable, table.error()));
        }
        return report;
    }
};

}  // namespace

std::unique_ptr<Command> makeBus() {
    return std::make_unique<Bus>();
}

}  // namespace cli
