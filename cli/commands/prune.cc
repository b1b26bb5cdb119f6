#include "cli/common/acting.h"
#include "cli/common/command.h"
#include "cli/common/refusals.h"
#include "cli/prune/prune_text.h"

namespace cli {
namespace {

using prune::Pruning;

std::string textWithoutRows(const Pruning& pruning, const Context& context) {
    if (pruning.disks() != 0 || !pruning.untold().empty()) {
        return "nothing is gone or stale\n";
    }
    constexpr const char* kDevices = "/sys/class/scsi_device";
    return (context.view().isUntold(kDevices) ? noAnswerFor(kDevices)
                                              : std::string("no SCSI disk in ") + kDevices) +
           "\n";
}

class Prune : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand(
            "prune", "Remove the disks that are gone or stale and that nobody uses");
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_force.apply(context);
        Pruning pruning(context);
        pruning.look();
        pruning.remove();
        const bool isDryRun = context.options.dryRun;
        Report report;
        report.data["prune"] = pruneJson(pruning, isDryRun);
        addEffects(report, context);
        report.text += pruning.rows().empty() ? textWithoutRows(pruning, context)
                                              : pruneTable(pruning, isDryRun, context.layout);
        addTrouble(report, pruning, context.isRoot || !context.isLive());
        return report;
    }

  private:
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makePrune() {
    return std::make_unique<Prune>();
}

}  // namespace cli
