#include "cli/base/text.h"
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
            report.failure =
                "no Fibre Channel port found: neither the qla2xxx, qla2300 and lpfc drivers' files "
                "under /proc/scsi nor /sys/class/fc_host name one";
        }
        return report;
    }
};

}  // namespace

std::unique_ptr<Command> makeWwpn() {
    return std::make_unique<Wwpn>();
}

}  // namespace cli
