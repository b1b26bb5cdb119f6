#include "cli/base/failure.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/factory_options.h"
#include "cli/common/mailed_pages.h"
#include "cli/common/record_list.h"
#include "cli/names/resolver.h"
#include "cli/output/explain_text.h"
#include "cli/picture/identity_text.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/udid/account.h"

namespace cli {
namespace {

class Explain : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("explain", "Show why a device has the UDID that it has");
        CLI::Option* const name = app->add_option("NAME", m_name, "The device node");
        app->add_option("--inhex", m_pages,
                        "Instead of a device: a page somebody mailed, in FILE as 'sg_vpd --hex' "
                        "prints it; PAGE is std, a VPD page code such as 83, or a command block")
            ->type_name("PAGE=FILE")
            ->allow_extra_args(false)
            ->excludes(name);
        m_factoryOptions.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        CUDIDFactory factory;
        m_factoryOptions.apply(factory);
        context.traceInto(factory);
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        return m_pages.empty() ? explainDevice(factory, discovery, context)
                               : explainPages(factory, discovery, context);
    }

  private:
    Report explainDevice(CUDIDFactory& factory, CLinuxDeviceDiscovery& discovery,
                         Context& context) {
        if (m_name.empty()) {
            throw UsageError(
                "no device named; give NAME, or pages with --inhex PAGE=FILE, for instance "
                "'scsitool explain /dev/sda'");
        }
        m_name = names::deviceNamed(context, m_name);
        Report report;
        report.data["explanations"] = Json::array();
        askNamedAhead(context, m_name, interviews::udid(m_factoryOptions));
        const RecordList records = owned(discovery.validateDevice(m_name));
        for (const auto& record : records) {
            udid::Account account = udid::account(factory, *record);
            if (record->m_pages.empty()) {
                account.explanation.remarks.push_back(whyNoAnswer(context, m_name));
            }
            add(account, *record, context, report);
        }
        if (records.empty()) {
            report.failure = whyNotFound(context, m_name);
        }
        return report;
    }

    Report explainPages(CUDIDFactory& factory, CLinuxDeviceDiscovery& discovery, Context& context) {
        if (!context.isLive()) {
            throw UsageError("--inhex brings a host of its own; leave --host out");
        }
        const MailedPages pages(m_pages);
        recording::Journal journal;
        recording::RecordedHost host(pages.host(), journal);
        const host::Scope scope(host);
        Report report;
        report.data["explanations"] = Json::array();
        for (const auto& record : owned(discovery.validateDevice(MailedPages::deviceName()))) {
            udid::Account account = udid::account(factory, *record);
            const std::vector<std::string> remarks = pages.remarks(*record);
            std::vector<std::string>& all = account.explanation.remarks;
            all.insert(all.end(), remarks.begin(), remarks.end());
            add(account, *record, context, report);
        }
        return report;
    }

    static void add(const udid::Account& account, const CScsiDeviceData& record,
                    const Context& context, Report& report) {
        const picture::IdentityFields fields = picture::fieldsOf(record, &account.identity);
        Json json = explanationJson(account.explanation);
        picture::addFields(json, fields);
        report.data["explanations"].push_back(std::move(json));
        report.text +=
            explanationText(account.explanation, picture::shownFields(fields), context.layout);
    }

    std::string m_name;
    std::vector<std::string> m_pages;
    FactoryOptions m_factoryOptions;
};

}  // namespace

std::unique_ptr<Command> makeExplain() {
    return std::make_unique<Explain>();
}

}  // namespace cli
