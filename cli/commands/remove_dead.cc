#include "cli/common/acting.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/record_list.h"
#include "cli/common/refusals.h"
#include "cli/common/removed_addresses.h"
#include "cli/hosts/enumeration_watch.h"
#include "cli/hosts/read_watch.h"
#include "cli/prune/look.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

constexpr const char* kScsiTable = "/proc/scsi/scsi";

// The disks as the enumeration finds them, and what it could not find out.
RecordList enumerate(CLinuxDeviceDiscovery& discovery, const Context& context,
                     std::vector<EnumerationGap>& gaps) {
    EnumerationWatch watch(context.host(), context.isLive());
    RecordList records;
    {
        const host::Scope scope(watch);
        records = owned(discovery.rescan(false, false, false, "", ""));
    }
    gaps = watch.gaps();
    return records;
}

class RemoveDead : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand(
            "remove-dead", "Remove every disk address that no disk answers at");
        app->add_flag("--lun0", m_lun0, "Addresses of LUN 0 as well");
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_force.apply(context);
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        std::vector<EnumerationGap> gaps;
        askAhead(context, "", [record = interviews::record()](const std::string& node) {
            record(node);
            prune::askDiskBehind(node);
        });
        const RecordList records = enumerate(discovery, context, gaps);
        if (!gaps.empty() && !m_force.isGiven()) {
            return refused(context, gaps);
        }
        context.hosts.guard().setPurpose(recording::GuardedHost::Purpose::kOnlyDead);
        std::vector<CScsiDeviceData*> list;  // the operation drops records from it
        for (const auto& record : records) {
            list.push_back(record.get());
        }
        ReadWatch table(context.host(), kScsiTable);
        {
            const host::Scope scope(table);
            discovery.removeDeadDevices(list, m_lun0);
        }
        return outcome(context, table.error());
    }

  private:
    // A disk that was not asked has no record and would be taken for dead.
    static Report refused(Context& context, const std::vector<EnumerationGap>& gaps) {
        for (const EnumerationGap& gap : gaps) {
            context.hosts.guard().refuse({gap.path, "not enumerated: it " + gap.reason,
                                          "disks that live are taken for dead"});
        }
        return {};
    }

    // `error` is what stood against reading the inventory whole, 0 for nothing.
    static Report outcome(Context& context, int error) {
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
        report.failure = removalFailure(context.view(), removed);
        if (error != 0) {
            report.failure =
                whyNotThere(context.view(), kScsiTable, error) +
                (removed.empty() ? "; without the inventory nothing is known to be dead"
                                 : "; without all of the inventory not all that is dead is known");
        }
        addRescanDoubts(report, context);
        return report;
    }

    bool m_lun0 = false;
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeRemoveDead() {
    return std::make_unique<RemoveDead>();
}

}  // namespace cli
