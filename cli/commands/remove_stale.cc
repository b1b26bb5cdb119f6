#include "cli/common/acting.h"
#include "cli/common/command.h"
#include "cli/common/refusals.h"
#include "cli/common/script_arguments.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

class RemoveStale : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand(
            "remove-stale", "Have the rescan script remove disks that are gone");
        app->add_option("ARGS", m_words,
                        "More arguments for the script, behind -- (remove-stale -- --hosts=1)");
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        const std::string arguments = scriptArguments(m_words);
        m_force.apply(context);
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
    ForceOption m_force;
};

class FlushMultipath : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("flush-multipath", "Flush unused multipath maps");
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_force.apply(context);
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        const int result = discovery.FlushMultipathStaleDevices();
        Report report;
        report.data["result"] = result;
        addEffects(report, context);
        addKept(report, context);
        if (result != 0) {
            const auto& commands = context.host().commands();
            report.failure = "multipathd does not run, nothing was flushed" +
                             (commands.empty() ? "" : ": " + endingText(commands.back()));
        }
        return report;
    }

  private:
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeRemoveStale() {
    return std::make_unique<RemoveStale>();
}

std::unique_ptr<Command> makeFlushMultipath() {
    return std::make_unique<FlushMultipath>();
}

}  // namespace cli
