#include "cli/common/acting.h"
#include "cli/common/command.h"
#include "cli/common/record_list.h"
#include "cli/common/script_arguments.h"
#include "cli/guard/guard.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

bool answers(CLinuxDeviceDiscovery& discovery, const std::string& path) {
    const RecordList records = owned(discovery.validateDevice(path));
    // The address is asked for behind a successful INQUIRY.
    return !records.empty() && records.front()->m_port >= 0;
}

// The disks that the script is going to remove: those that do not answer as a connected disk, and
// every one when it is told to remove by force. Asked for aside.
std::vector<std::string> staleDisks(host::Host& host, bool all) {
    const host::Scope scope(host);
    CLinuxDeviceDiscovery discovery;
    std::vector<std::string> stale;
    for (const std::string& path : discovery.enumerateNativeDevicePaths()) {
        if (all || !answers(discovery, path)) {
            stale.push_back(path);
        }
    }
    return stale;
}

class RemoveStale : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand(
            "remove-stale", "Have the rescan script remove disks that are gone");
        app->add_option("ARGS", m_words,
                        "More arguments for the script, behind -- (remove-stale -- --hosts=1)");
        app->add_flag("--force", m_force, "Remove them though they are in use");
        return app;
    }

    Report run(Context& context) override {
        const std::string arguments = scriptArguments(m_words);
        if (!m_force) {
            Guard guard(context.hosts.aside());
            const bool all = arguments.find("--forceremove") != std::string::npos;
            for (const std::string& disk : staleDisks(context.hosts.aside(), all)) {
                guard.checkDisk(disk);
            }
            if (!guard.refusals().empty()) {
                return guard.report();
            }
        }
        CUDIDFactory factory;
        context.traceInto(factory);
        const int result = factory.removeStaleDevices(arguments);
        Report report;
        report.data["result"] = result;
        addEffects(report, context);
        if (result != 0) {
            report.failure = scriptFailure(context.host());
        }
        return report;
    }

  private:
    std::vector<std::string> m_words;
    bool m_force = false;
};

class FlushMultipath : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("flush-multipath", "Flush unused multipath maps");
        // The kernel refuses to remove a map that is open, so there is nothing to guard. The
        // option is taken all the same: every removal has it.
        app->add_flag("--force", m_force,
                      "Taken as by every removal; maps in use stay all the same");
        return app;
    }

    Report run(Context& context) override {
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        const int result = discovery.FlushMultipathStaleDevices();
        Report report;
        report.data["result"] = result;
        addEffects(report, context);
        if (result != 0) {
            const auto& commands = context.host().commands();
            report.failure = "multipathd does not run, nothing was flushed" +
                             (commands.empty() ? "" : ": " + endingText(commands.back()));
        }
        return report;
    }

  private:
    bool m_force = false;
};

}  // namespace

std::unique_ptr<Command> makeRemoveStale() {
    return std::make_unique<RemoveStale>();
}

std::unique_ptr<Command> makeFlushMultipath() {
    return std::make_unique<FlushMultipath>();
}

}  // namespace cli
