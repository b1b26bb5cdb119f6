#include "cli/base/text.h"
#include "cli/common/acting.h"
#include "cli/common/command.h"
#include "scsitool/tools/WWPN_discovery.h"

namespace cli {
namespace {

class Wwpn : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        return parent.add_subcommand("wwpn", "Show the host's Fibre Channel port names");
    }

    Report run(Context& context) override {
        WWPN discovery;
        context.traceInto(discovery);
        Report report;
        report.data["wwpns"] = Json::array();
        for (const std::string& name : discovery.getWWPN()) {
            report.data["wwpns"].push_back(jsonText(name));
            report.text += visible(name) + "\n";
        }
        if (report.text.empty()) {
            report.failure = whyNone(context);
        }
        return report;
    }

  private:
    // The last command lists what no other source named a port in.
    static std::string whyNone(const Context& context) {
        for (const CommandEffect& effect : context.host().commands()) {
            if (context.view().isUntoldCommand(effect.command) || couldNotStart(effect)) {
                return failureText(context, effect);
            }
        }
        return "no Fibre Channel port found: neither the qla2xxx, qla2300 and lpfc drivers' files "
               "under /proc/scsi nor /sys/class/fc_host name one";
    }
};

}  // namespace

std::unique_ptr<Command> makeWwpn() {
    return std::make_unique<Wwpn>();
}

}  // namespace cli
