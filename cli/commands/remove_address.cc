#include "cli/base/failure.h"
#include "cli/common/acting.h"
#include "cli/common/address_argument.h"
#include "cli/common/command.h"
#include "cli/common/disk_at_address.h"
#include "cli/common/refusals.h"
#include "cli/common/removed_addresses.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

class RemoveAddress : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("remove-address", "Remove the disk at a SCSI address");
        app->add_option("ADDRESS", m_words, "HOST CHANNEL TARGET LUN, or H:C:T:L; decimal")
            ->required()
            ->expected(1, 4);
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        const SLinuxScsiDevice address = addressArgument(m_words);
        m_force.apply(context);
        const DiskAtAddress disk = diskAt(context, address);
        if (disk.presence == DiskAtAddress::Presence::kAbsent) {
            throw OperationError(addressText(address) +
                                 ": the kernel has no device at this address, nothing to remove");
        }
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        discovery.RemoveDevice(address.host, address.channel, address.id, address.lun);
        Report report;
        report.data["address"] = addressJson(address);
        if (disk.presence == DiskAtAddress::Presence::kThere) {
            report.data["disk"] = diskJson(disk);
            report.text = diskLine(disk, addressText(address));
        }
        addEffects(report, context);
        report.failure = removalFailure(context.view(), removedAddresses(context.host().appends()));
        return report;
    }

  private:
    std::vector<std::string> m_words;
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeRemoveAddress() {
    return std::make_unique<RemoveAddress>();
}

}  // namespace cli
