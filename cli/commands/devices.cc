#include "cli/common/acting.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/factory_options.h"
#include "cli/common/lines_option.h"
#include "cli/common/refusals.h"
#include "cli/common/script_arguments.h"
#include "cli/names/resolver.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/rows.h"
#include "cli/view/view.h"

namespace cli {
namespace {

class Devices : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand("devices", "Show the device map");
        app->add_option("NAME", m_name, "Only this device");
        CLI::Option* const rescan =
            app->add_flag("--rescan", m_rescan, "Rescan buses and multipath layer before");
        app->add_option(
               "--rescan-args", m_rescanArguments,
               "More arguments for the rescan script, for instance --rescan-args=--hosts=1")
            ->type_name("S")
            ->needs(rescan);
        m_force.declare(*app);
        m_factoryOptions.declare(*app);
        m_view.declare(*app);
        m_lines.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        const std::string arguments = scriptArguments({m_rescanArguments});
        m_view.demandColumns();
        m_lines.demandAlone(context.options);
        if (m_view.wantsHelp()) {
            return view::View::columnHelp();
        }
        m_force.apply(context);
        m_name = names::deviceNamed(context, m_name);
        Report report;
        picture::Enumeration enumeration(context);
        m_factoryOptions.apply(enumeration.factory());
        askAhead(context, m_name, interviews::udid(m_factoryOptions));
        const DeviceMap& devices = enumeration.run(m_rescan, m_name, arguments);
        const view::Scene scene = view::sceneOf(enumeration.picture(), context.view());
        const view::Rows all = view::deviceRows(scene);
        const view::Rows rows = m_view.chosen(all);
        report.data["unidentified"] = picture::unidentifiedJson(scene.picture);
        if (context.options.json || m_lines.isWanted()) {
            addJson(report, devices, scene, rows);
        }
        report.text = m_view.text(rows, context.layout);
        report.doubts = view::doubtsOf(scene, enumeration.hint());
        addRescanDoubts(report, context);
        if (scene.picture.devices.empty()) {
            report.failure = m_name.empty() ? "no SCSI disk found: " + hintWithoutDisks(context)
                                            : whyNotFound(context, m_name);
        } else {
            report.failure = m_view.whyEmpty(all, rows, "device");
        }
        m_lines.finish(report, context, {"devices", "unidentified"});
        return report;
    }

  private:
    void addJson(Report& report, const DeviceMap& devices, const view::Scene& scene,
                 const view::Rows& rows) const {
        report.data["devices"] = devicesJson(devices);
        picture::addToDeviceMap(report.data["devices"], scene.picture);
        m_view.addFacts(report.data["devices"], scene, rows);
        m_view.addFacts(report.data["unidentified"], scene, rows);
        report.data["contradictions"] = picture::contradictionsJson(scene.picture);
    }

    std::string m_name;
    bool m_rescan = false;
    std::string m_rescanArguments;
    ForceOption m_force;
    FactoryOptions m_factoryOptions;
    LinesOption m_lines;
    view::View m_view =
        view::View({"device", "claim", "address", "size", "product", "state", "udid"}, false);
};

}  // namespace

std::unique_ptr<Command> makeDevices() {
    return std::make_unique<Devices>();
}

}  // namespace cli
