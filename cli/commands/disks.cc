#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/rows.h"

namespace cli {
namespace {

class Disks : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        return parent.add_subcommand("disks", "Show the native disks with their size");
    }

    Report run(Context& context) override {
        picture::Enumeration enumeration(context);
        std::vector<CScsiDeviceData> disks;
        askAhead(context, "", interviews::size());
        const int result = enumeration.runNative(disks);
        const picture::Picture picture = enumeration.picture();
        Report report;
        report.data["result"] = result;
        report.data["disks"] = Json::array();
        for (const CScsiDeviceData& disk : disks) {
            report.data["disks"].push_back(
                {{"name", jsonText(disk.m_deviceName)}, {"size_kb", disk.m_sizeKb}});
        }
        picture::addToDeviceMap(report.data["disks"], picture);
        report.data["unidentified"] = picture::unidentifiedJson(picture);
        report.text = picture::disksText(picture, context.layout);
        report.doubts = picture::doubtsOf(picture, enumeration.hint());
        if (picture.devices.empty()) {
            report.failure = "no SCSI disk found: " + hintWithoutDisks(context);
        }
        return report;
    }
};

}  // namespace

std::unique_ptr<Command> makeDisks() {
    return std::make_unique<Disks>();
}

}  // namespace cli
