#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/factory_options.h"
#include "cli/names/resolver.h"
#include "cli/picture/last_known.h"
#include "cli/picture/rows.h"
#include "cli/view/condition.h"

namespace cli {
namespace {

class Validate : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("validate", "Show the device map of one named device");
        app->add_option("NAME", m_name, "The device node")->required();
        m_factoryOptions.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_name = names::deviceNamed(context, m_name);
        CUDIDFactory factory;
        m_factoryOptions.apply(factory);
        context.traceInto(factory);
        askNamedAhead(context, m_name, interviews::udid(m_factoryOptions));
        const DeviceMap devices = factory.validateDeviceMap(m_name);
        Report report;
        show(devices, context, report);
        if (devices.empty()) {
            report.failure = whyNotFound(context, m_name);
        }
        return report;
    }

  private:
    static void show(const DeviceMap& devices, const Context& context, Report& report) {
        std::string hostName;
        context.hosts.aside().hostName(hostName);
        report.data["devices"] = devicesJson(devices);
        Table table({{"DEVICE"}, {"CLAIM", true}, {"UDID", false, true}});
        std::size_t place = 0;
        for (const auto& [name, info] : devices) {
            const bool isPath = picture::isPathUdid(info.uid, name, hostName);
            report.data["devices"][place++]["identity"] = picture::identityJson(info.uid, isPath);
            table.addRow({name, std::to_string(info.dmpClaimLevel),
                          info.uid.empty() ? "-" : view::udidText(info.uid, false, isPath)});
        }
        report.text = table.str(context.layout);
    }

    std::string m_name;
    FactoryOptions m_factoryOptions;
};

}  // namespace

std::unique_ptr<Command> makeValidate() {
    return std::make_unique<Validate>();
}

}  // namespace cli
