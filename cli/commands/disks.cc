#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/rows.h"
#include "cli/view/view.h"

namespace cli {
namespace {

class Disks : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("disks", "Show the native disks with their size");
        m_view.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_view.demandColumns();
        if (m_view.wantsHelp()) {
            return view::View::columnHelp();
        }
        Report report;
        picture::Enumeration enumeration(context);
        std::vector<CScsiDeviceData> disks;
        askAhead(context, "", interviews::size());
        report.data["result"] = enumeration.runNative(disks);
        const view::Scene scene = view::sceneOf(enumeration.picture(), context.view());
        const view::Rows all = view::deviceRows(scene);
        const view::Rows rows = m_view.chosen(all);
        report.data["unidentified"] = picture::unidentifiedJson(scene.picture);
        if (context.options.json) {
            addJson(report, disks, scene, rows);
        }
        report.text = m_view.text(rows, context.layout);
        report.doubts = view::doubtsOf(scene, enumeration.hint());
        report.failure = scene.picture.devices.empty()
                             ? "no SCSI disk found: " + hintWithoutDisks(context)
                             : m_view.whyEmpty(all, rows, "disk");
        return report;
    }

  private:
    void addJson(Report& report, const std::vector<CScsiDeviceData>& disks,
                 const view::Scene& scene, const view::Rows& rows) const {
        report.data["disks"] = Json::array();
        for (const CScsiDeviceData& disk : disks) {
            report.data["disks"].push_back(
                {{"name", jsonText(disk.m_deviceName)}, {"size_kb", disk.m_sizeKb}});
        }
        picture::addToDeviceMap(report.data["disks"], scene.picture);
        m_view.addFacts(report.data["disks"], scene, rows);
        m_view.addFacts(report.data["unidentified"], scene, rows);
    }

    view::View m_view = view::View({"device", "address", "size", "kib", "product", "state"}, false);
};

}  // namespace

std::unique_ptr<Command> makeDisks() {
    return std::make_unique<Disks>();
}

}  // namespace cli
