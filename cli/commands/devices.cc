#include "cli/common/acting.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/factory_options.h"
#include "cli/common/refusals.h"
#include "cli/common/script_arguments.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/rows.h"

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
        return app;
    }

    Report run(Context& context) override {
        const std::string arguments = scriptArguments({m_rescanArguments});
        m_force.apply(context);
        picture::Enumeration enumeration(context);
        m_factoryOptions.apply(enumeration.factory());
        askAhead(context, m_name, interviews::udid(m_factoryOptions));
        const DeviceMap& devices = enumeration.run(m_rescan, m_name, arguments);
        const picture::Picture picture = enumeration.picture();
        Report report;
        report.data["devices"] = devicesJson(devices);
        picture::addToDeviceMap(report.data["devices"], picture);
        report.data["unidentified"] = picture::unidentifiedJson(picture);
        report.data["contradictions"] = picture::contradictionsJson(picture);
        report.text = picture::devicesText(picture, context.layout);
        report.doubts = picture::doubtsOf(picture, enumeration.hint());
        addRescanDoubts(report, context);
        if (picture.devices.empty()) {
            report.failure = m_name.empty() ? "no SCSI disk found: " + hintWithoutDisks(context)
                                            : whyNotFound(context, m_name);
        }
        return report;
    }

  private:
    std::string m_name;
    bool m_rescan = false;
    std::string m_rescanArguments;
    ForceOption m_force;
    FactoryOptions m_factoryOptions;
};

}  // namespace

std::unique_ptr<Command> makeDevices() {
    return std::make_unique<Devices>();
}

}  // namespace cli
