#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/factory_options.h"
#include "cli/names/resolver.h"

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
        report.data["devices"] = devicesJson(devices);
        report.text = devicesText(devices, context.layout);
        if (devices.empty()) {
            report.failure = whyNotFound(context, m_name);
        }
        return report;
    }

  private:
    std::string m_name;
    FactoryOptions m_factoryOptions;
};

}  // namespace

std::unique_ptr<Command> makeValidate() {
    return std::make_unique<Validate>();
}

}  // namespace cli
