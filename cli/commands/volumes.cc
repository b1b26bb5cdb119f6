#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/lines_option.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/rows.h"
#include "cli/view/facts_json.h"
#include "cli/view/view.h"

namespace cli {
namespace {

class Volumes : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("volumes", "Show one row a volume with its paths and users");
        app->add_flag("--paths", m_withPaths, "Show the paths below each volume");
        m_view.declare(*app);
        m_lines.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_view.demandColumns();
        m_lines.demandAlone(context.options);
        if (m_view.wantsHelp()) {
            return view::View::columnHelp();
        }
        Report report;
        picture::Enumeration enumeration(context);
        askAhead(context, "", interviews::volume());
        enumeration.run(false, "", "");
        const view::Scene scene = view::sceneOf(enumeration.picture(), context.view());
        const view::Rows all = view::volumeRows(scene);
        const view::Rows rows = m_view.chosen(all);
        report.data["unidentified"] = picture::unidentifiedJson(scene.picture);
        if (context.options.json || m_lines.isWanted()) {
            addJson(report, scene, rows);
        }
        report.text = m_view.text(rows, context.layout, m_withPaths);
        report.doubts = view::doubtsOf(scene, enumeration.hint());
        report.failure = all.empty() ? "no SCSI disk found: " + hintWithoutDisks(context)
                                     : m_view.whyEmpty(all, rows, "volume");
        m_lines.finish(report, context, {"volumes"});
        return report;
    }

  private:
    static void addJson(Report& report, const view::Scene& scene, const view::Rows& rows) {
        report.data["volumes"] = view::volumesJson(rows);
        view::addFacts(report.data["unidentified"], scene);
        report.data["contradictions"] = picture::contradictionsJson(scene.picture);
    }

    view::View m_view = view::View(
        {"volume", "size", "paths", "vendor", "product", "array", "lun", "used", "state", "udid"},
        true);
    bool m_withPaths = false;
    LinesOption m_lines;
};

}  // namespace

std::unique_ptr<Command> makeVolumes() {
    return std::make_unique<Volumes>();
}

}  // namespace cli
