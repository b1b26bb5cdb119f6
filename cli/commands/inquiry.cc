#include <fmt/format.h>

#include <utility>

#include "cli/base/failure.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/record_list.h"
#include "cli/hosts/page_list_watch.h"
#include "cli/names/resolver.h"
#include "cli/output/inquiry_text.h"
#include "cli/picture/identity_text.h"
#include "cli/picture/kernel_view.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

// "std", or a VPD page code in hexadecimal with or without "0x", as a page's key.
std::string pageKeyFrom(const std::string& text) {
    if (text.empty() || text == "std") {
        return text;
    }
    const std::string digits = text.compare(0, 2, "0x") == 0 ? text.substr(2) : text;
    const bool hex = !digits.empty() && digits.size() <= 2 &&
                     digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (!hex) {
        throw UsageError("--page '" + text + "': expected std or a page code such as 83");
    }
    return fmt::format("{:02x}", std::stoul(digits, nullptr, 16));
}

// As sysfs has it; empty where it does not tell.
std::string wholeAddress(const Context& context, const std::string& node) {
    picture::KernelView kernel(context.hosts.aside(), !context.isLive());
    const auto address = kernel.addressOf(node);
    return address ? recording::guard::addressText(*address) : std::string();
}

class Inquiry : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("inquiry", "Show one device's record: identity, address, pages");
        app->add_option("NAME", m_name, "The device node")->required();
        CLI::Option* const hex =
            app->add_flag("--hex", m_hex, "Print the pages as sg_vpd and sg_inq --inhex read them");
        app->add_option("--page", m_page, "With --hex only this page: std, 00, 80, 83 ...")
            ->type_name("PAGE")
            ->needs(hex);
        return app;
    }

    Report run(Context& context) override {
        const std::string only = pageKeyFrom(m_page);
        m_name = names::deviceNamed(context, m_name);
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        askNamedAhead(context, m_name, interviews::record());
        PageListWatch watch(host::current());
        const RecordList records = collected(discovery, watch);
        Report report;
        report.data["records"] = Json::array();
        for (const auto& record : records) {
            const std::string hctl = wholeAddress(context, record->m_deviceName);
            const picture::IdentityFields fields =
                picture::fieldsOf(*record, context.hosts.aside());
            Json json = recordJson(*record, watch.page(), hctl);
            picture::addFields(json, fields);
            report.data["records"].push_back(std::move(json));
            report.text +=
                m_hex ? recordHex(*record, watch.page(), only)
                      : recordText(*record, watch.page(), hctl, picture::shownFields(fields));
        }
        if (records.empty()) {
            report.failure = whyNotFound(context, m_name);
        } else if (records.front()->m_pages.empty()) {
            report.failure = m_name + ": " + whyNoAnswer(context, m_name);
        } else if (report.text.empty()) {
            report.failure = m_name + ": page " + m_page + " was not read from the device";
        }
        return report;
    }

  private:
    RecordList collected(CLinuxDeviceDiscovery& discovery, PageListWatch& watch) const {
        const host::Scope scope(watch);
        return owned(discovery.validateDevice(m_name));
    }

    std::string m_name;
    bool m_hex = false;
    std::string m_page;
};

}  // namespace

std::unique_ptr<Command> makeInquiry() {
    return std::make_unique<Inquiry>();
}

}  // namespace cli
