#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/doctor/doctor_text.h"
#include "cli/doctor/examination.h"
#include "cli/doctor/survey.h"

namespace cli {
namespace {

class Doctor : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        return parent.add_subcommand("doctor",
                                     "Show what works on this host and what is wrong with it");
    }

    Report run(Context& context) override {
        askAhead(context, "", doctor::interview());
        const doctor::Examination found =
            doctor::examine(context.view(), context.isRoot, context.options.deadline);
        Report report;
        report.data["abilities"] = doctor::abilitiesJson(found.abilities);
        report.data["findings"] = doctor::findingsJson(found.findings);
        report.text = doctor::abilitiesText(found.abilities, context.layout) + "\n" +
                      doctor::findingsText(found.findings, context.layout);
        report.doubts = found.untold;
        const std::string summary = doctor::summary(found.findings);
        if (!summary.empty()) {
            report.doubts.push_back(summary);
        }
        return report;
    }
};

}  // namespace

std::unique_ptr<Command> makeDoctor() {
    return std::make_unique<Doctor>();
}

}  // namespace cli
