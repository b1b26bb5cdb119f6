#include <algorithm>

#include "cli/base/failure.h"
#include "cli/common/acting.h"
#include "cli/common/address_argument.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/disk_at_address.h"
#include "cli/common/refusals.h"
#include "cli/common/removed_addresses.h"
#include "cli/names/resolver.h"
#include "cli/names/word.h"
#include "cli/prune/look.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

class RemoveAddress : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("remove-address", "Remove the disk at a SCSI address");
        app->add_option("ADDRESS", m_words,
                        "HOST CHANNEL TARGET LUN, or H:C:T:L, decimal; or a name of one disk")
            ->required()
            ->expected(1, 4);
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        const SLinuxScsiDevice address = addressIn(context);
        m_force.apply(context);
        askAround(context, address);
        const DiskAtAddress disk = diskAt(context, address);
        if (disk.presence == DiskAtAddress::Presence::kAbsent) {
            throw OperationError(addressText(address) +
                                 ": the kernel has no device at this address, nothing to remove");
        }
        if (isAllowed(context, address, disk)) {
            CLinuxDeviceDiscovery discovery;
            context.traceInto(discovery);
            discovery.RemoveDevice(address.host, address.channel, address.id, address.lun);
        }
        Report report;
        report.data["address"] = addressJson(address);
        if (disk.presence == DiskAtAddress::Presence::kThere && disk.failures.empty()) {
            report.data["disk"] = diskJson(disk);
            report.text = diskLine(disk, addressText(address));
        }
        addEffects(report, context);
        report.failure = removalFailure(context.view(), removedAddresses(context.host().appends()));
        return report;
    }

  private:
    // What looks like an address and is a wrong one is no name.
    static bool isName(const std::string& word) {
        const bool isLikeAddress = std::count(word.begin(), word.end(), ':') == 3 ||
                                   word.find_first_not_of("0123456789:") == std::string::npos;
        return !names::identifierIn(word).empty() || !(isLikeAddress || names::addressIn(word));
    }

    SLinuxScsiDevice addressIn(const Context& context) const {
        const std::string& word = m_words.front();
        if (m_words.size() == 1 && isName(word)) {
            return addressArgument({addressText(names::diskNamed(context, word).address)});
        }
        const auto bracketed = m_words.size() == 1 ? names::addressIn(word) : std::nullopt;
        return addressArgument(bracketed ? std::vector<std::string>{addressText(*bracketed)}
                                         : m_words);
    }

    // The disk and what the rules for its removal ask beside it.
    static void askAround(const Context& context, const SLinuxScsiDevice& address) {
        const prune::View view = {context.hosts.aside(), !context.isLive()};
        const recording::guard::ScsiAddress at = scsiAddress(address);
        askTheseAhead(
            context, [view, at] { return prune::nodesAround(view, at); },
            [udid = interviews::udid()](const std::string& node) {
                udid(node);
                prune::askDiskBehind(node);
            });
    }

    // The guard, which asks a moment later, may find that nothing there is in use: whether that is
    // the disk that was meant nobody has seen.
    bool isAllowed(const Context& context, const SLinuxScsiDevice& address,
                   const DiskAtAddress& disk) const {
        if (disk.failures.empty() || m_force.isGiven()) {
            return true;
        }
        for (const std::string& failure : disk.failures) {
            context.hosts.guard().refuse(
                {addressText(address), "not known: " + failure, "whatever is there goes"});
        }
        return false;
    }

    std::vector<std::string> m_words;
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeRemoveAddress() {
    return std::make_unique<RemoveAddress>();
}

}  // namespace cli
