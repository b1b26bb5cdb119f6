#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/rows.h"

namespace cli {
namespace {

class Volumes : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        return parent.add_subcommand("volumes", "Show one row a UDID with all that carries it");
    }

    Report run(Context& context) override {
        picture::Enumeration enumeration(context);
        askAhead(context, "", interviews::volume());
        enumeration.run(false, "", "");
        const picture::Picture picture = enumeration.picture();
        Report report;
        report.data["volumes"] = picture::volumesJson(picture);
        report.data["unidentified"] = picture::unidentifiedJson(picture);
        report.data["contradictions"] = picture::contradictionsJson(picture);
        report.text = picture::volumesText(picture, context.layout);
        report.doubts = picture::doubtsOf(picture, enumeration.hint());
        if (picture.volumes.empty()) {
            report.failure = "no SCSI disk found: " + hintWithoutDisks(context);
        }
        return report;
    }
};

}  // namespace

std::unique_ptr<Command> makeVolumes() {
    return std::make_unique<Volumes>();
}

}  // namespace cli
