#include <sys/wait.h>

#include "cli/common/acting.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/refusals.h"
#include "cli/common/script_arguments.h"
#include "cli/prune/look.h"
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
        const prune::View view = {context.hosts.aside(), !context.isLive()};
        askTheseAhead(
            context, [view] { return prune::nodesToAsk(view); }, prune::askDiskForScript);
        const int result = factory.removeStaleDevices(arguments);
        Report report;
        report.data["result"] = result;
        addEffects(report, context);
        if (result != 0) {
            report.failure = scriptFailure(context);
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
        const std::string why = whyNotFlushed(context);
        if (!why.empty()) {
            report.failure = "nothing was flushed: " + why;
        }
        addBrokenFlush(report, context);
        return report;
    }

  private:
    // The operation asks pidof for the daemon and then has the maps flushed. That the tool ends
    // with a failure says that a map is in use, which is shown; it gives no failure of its own
    // then.
    static std::string whyNotFlushed(const Context& context) {
        constexpr int kNoProcess = 1 << 8;
        const auto& commands = context.host().commands();
        if (commands.empty()) {
            return "/sbin/pidof was not asked for multipathd";
        }
        const CommandEffect& last = commands.back();
        const bool isFlush = !host::isReadCommand(last.command);
        if (isFlush && context.options.dryRun) {
            return {};
        }
        if (context.view().isUntoldCommand(last.command) || couldNotStart(last)) {
            return failureText(context, last);
        }
        if (isFlush) {
            return {};
        }
        if (last.result.waitStatus == kNoProcess || (succeeded(last) && last.lastLine.empty())) {
            return "multipathd does not run";
        }
        return succeeded(last) ? std::string() : failureText(context, last);
    }

    // Of one that was ended nobody knows which maps it had come to.
    static void addBrokenFlush(Report& report, const Context& context) {
        const auto& commands = context.host().commands();
        if (!commands.empty() && report.failure.empty() && !commands.back().isRefused &&
            !host::isReadCommand(commands.back().command) && hasBrokenOff(commands.back().result)) {
            report.doubts.push_back("the flush is not complete: " +
                                    failureText(context, commands.back()));
        }
    }

    static bool hasBrokenOff(const host::CommandResult& result) {
        return result.timedOut || WIFSIGNALED(result.waitStatus);
    }

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
