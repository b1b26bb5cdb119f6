#include "cli/base/text.h"
#include "cli/common/acting.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/refusals.h"
#include "cli/names/resolver.h"
#include "cli/picture/identity_text.h"
#include "cli/picture/last_known.h"
#include "cli/picture/rows.h"
#include "cli/view/condition.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

class Udid : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand("udid", "Show one device's UDID");
        app->add_option("NAME", m_name, "The device, as 'devices' names it")->required();
        app->add_flag("--rescan-if-missing", m_rescanIfMissing,
                      "Rescan the buses when the device is not known");
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_force.apply(context);
        m_name = names::deviceNamed(context, m_name);
        CUDIDFactory factory;
        context.traceInto(factory);
        askAhead(context, m_name, interviews::udid(), m_rescanIfMissing);
        udid::IdentityCollector identities;
        const udid::ReportScope listening(&identities);
        const std::string udid = factory.getCachedUniqueDeviceID(m_name.c_str(), m_rescanIfMissing);
        Report report;
        report.data["name"] = jsonText(m_name);
        report.data["udid"] = jsonText(udid);
        std::string hostName;
        context.hosts.aside().hostName(hostName);
        const bool isPath = picture::isPathUdid(udid, m_name, hostName);
        report.data["identity"] = picture::identityJson(udid, isPath);
        picture::addFields(report.data, fieldsIn(factory, identities));
        report.text = visible(view::udidText(udid, false, isPath)) + "\n";
        addRescanDoubts(report, context);
        if (udid.empty()) {
            report.failure = factory.deviceMap().count(m_name) != 0
                                 ? m_name + ": the device has no UDID; 'scsitool explain " +
                                       m_name + "' says why"
                                 : whyNotFound(context, m_name);
        }
        return report;
    }

  private:
    // Those of the record that the UDID is of; none for a device that is not there.
    picture::IdentityFields fieldsIn(const CUDIDFactory& factory,
                                     const udid::IdentityCollector& identities) const {
        for (const auto& record : factory.records()) {
            if (record->m_deviceName == m_name) {
                return picture::fieldsOf(*record, identities.of(m_name));
            }
        }
        return {};
    }

    std::string m_name;
    bool m_rescanIfMissing = false;
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeUdid() {
    return std::make_unique<Udid>();
}

}  // namespace cli
