#include "cli/common/acting.h"
#include "cli/common/changes.h"
#include "cli/common/command.h"
#include "cli/common/refusals.h"
#include "cli/common/script_arguments.h"
#include "cli/common/wait_option.h"

namespace cli {
namespace {

class Rescan : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("rescan", "Rescan the buses for new logical units");
        app->add_option("ARGS", m_words,
                        "More arguments for the rescan script, behind -- (rescan -- --hosts=1)");
        m_force.declare(*app);
        app->add_flag("--changes", m_changes,
                      "Show what appeared, disappeared, grew and was renamed, by UDID");
        m_wait.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        const std::string arguments = scriptArguments(m_words);
        m_force.apply(context);
        ChangeWatch changes(context, m_changes);
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        const int result = discovery.rescanScsiBus(false, arguments);
        Report report;
        report.data["result"] = result;
        addEffects(report, context);
        addRescanDoubts(report, context);
        if (result != 0 && report.doubts.empty()) {
            report.failure = scriptFailure(context);
        }
        m_wait.addTo(report, context);
        changes.addTo(report, context);
        return report;
    }

  private:
    std::vector<std::string> m_words;
    bool m_changes = false;
    WaitOption m_wait;
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeRescan() {
    return std::make_unique<Rescan>();
}

}  // namespace cli
