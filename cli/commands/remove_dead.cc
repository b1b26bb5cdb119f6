#include <algorithm>
#include <cstring>

#include "cli/common/acting.h"
#include "cli/common/command.h"
#include "cli/common/record_list.h"
#include "cli/common/removed_addresses.h"
#include "cli/guard/guard.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

constexpr const char* kScsiTable = "/proc/scsi/scsi";

bool isAt(const CScsiDeviceData& record, const SLinuxScsiDevice& at) {
    return record.m_port == at.host && static_cast<int>(record.m_bus) == at.channel &&
           record.m_target == at.id && record.m_lun == at.lun;
}

// The addresses that the operation is going to remove, asked for aside.
std::vector<SLinuxScsiDevice> deadAddresses(host::Host& host, const RecordList& records,
                                            bool removeLun0) {
    const host::Scope scope(host);
    CLinuxDeviceDiscovery discovery;
    std::vector<SLinuxScsiDevice> dead;
    for (const SLinuxScsiDevice& address : discovery.getDeviceList(true)) {
        const bool alive = std::any_of(records.begin(), records.end(),
                                       [&](const auto& record) { return isAt(*record, address); });
        if (!alive && (address.lun != 0 || removeLun0)) {
            dead.push_back(address);
        }
    }
    return dead;
}

class RemoveDead : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand(
            "remove-dead", "Remove every disk address that no disk answers at");
        app->add_flag("--lun0", m_lun0, "Addresses of LUN 0 as well");
        app->add_flag("--force", m_force, "Remove them though they are in use or not trusted");
        return app;
    }

    Report run(Context& context) override {
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        const RecordList records = owned(discovery.rescan(false, false, false, "", ""));
        if (!m_force) {
            Guard guard(context.hosts.aside());
            guard.checkInventory();
            for (const auto& address : deadAddresses(context.hosts.aside(), records, m_lun0)) {
                guard.checkAddress(address);
            }
            if (!guard.refusals().empty()) {
                return guard.report();
            }
        }
        std::vector<CScsiDeviceData*> list;  // the operation drops records from it
        for (const auto& record : records) {
            list.push_back(record.get());
        }
        discovery.removeDeadDevices(list, m_lun0);
        return outcome(context);
    }

  private:
    static Report outcome(Context& context) {
        const std::vector<RemovedAddress> removed = removedAddresses(context.host().appends());
        Report report;
        report.data["addresses"] = Json::array();
        Table table({{"HOST", true}, {"CHANNEL", true}, {"TARGET", true}, {"LUN", true}});
        for (const RemovedAddress& one : removed) {
            const SLinuxScsiDevice& at = one.address;
            report.data["addresses"].push_back(addressJson(at));
            table.addRow({std::to_string(at.host), std::to_string(at.channel),
                          std::to_string(at.id), std::to_string(at.lun)});
        }
        addEffects(report, context);
        report.text = removed.empty() ? "no dead address\n" : table.str(context.layout);
        report.failure = removalFailure(removed);
        std::string content;
        const int error = context.hosts.aside().readFile(kScsiTable, content);
        if (error < 0) {
            report.failure = std::string(kScsiTable) + ": " + std::strerror(-error) +
                             "; without the inventory nothing is known to be dead";
        }
        if (report.failure.empty()) {
            report.failure = failedCommand(context.host());
        }
        return report;
    }

    bool m_lun0 = false;
    bool m_force = false;
};

}  // namespace

std::unique_ptr<Command> makeRemoveDead() {
    return std::make_unique<RemoveDead>();
}

}  // namespace cli
