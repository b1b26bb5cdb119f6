#include "cli/base/text.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

class Disks : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        return parent.add_subcommand("disks", "Show the native disks with their size");
    }

    Report run(Context& context) override {
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        std::vector<CScsiDeviceData> disks;
        askAhead(context, "", interviews::size());
        const int result = discovery.enumerateNativeDevicePathsExt(disks);
        Report report;
        report.data["result"] = result;
        report.data["disks"] = Json::array();
        Table table({{"DISK"}, {"SIZE", true}, {"KIB", true}});
        for (const CScsiDeviceData& disk : disks) {
            report.data["disks"].push_back(
                {{"name", jsonText(disk.m_deviceName)}, {"size_kb", disk.m_sizeKb}});
            table.addRow(
                {disk.m_deviceName, sizeText(disk.m_sizeKb), std::to_string(disk.m_sizeKb)});
        }
        report.text = table.str(context.layout);
        if (result != 0 || disks.empty()) {
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
