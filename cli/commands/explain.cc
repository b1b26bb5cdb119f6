#include <cstring>
#include <filesystem>
#include <utility>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/factory_options.h"
#include "cli/common/mailed_pages.h"
#include "cli/common/record_list.h"
#include "cli/comparison/same_volume.h"
#include "cli/mailed/mailed_text.h"
#include "cli/names/resolver.h"
#include "cli/output/explain_text.h"
#include "cli/picture/drawing.h"
#include "cli/picture/identity_text.h"
#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/host/own_files.h"
#include "scsitool/udid/account.h"

namespace cli {
namespace {

// What a person names by its text: standard input, or a file of this machine.
bool isText(const std::string& name) {
    std::error_code failure;
    return name == "-" || std::filesystem::is_regular_file(name, failure);
}

bool isRecordedHost(const std::string& text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    return start != std::string::npos && text[start] == '{';
}

std::string textOf(const std::string& name) {
    host::ReadResult read = host::readInputFile(name);
    if (read.error() != 0) {
        throw UsageError(name + ": cannot read it: " + std::strerror(read.error()));
    }
    return std::move(read.content);
}

std::string shownSource(const std::string& name) {
    return name == "-" ? "standard input" : name;
}

class Explain : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("explain", "Show why a device has the UDID that it has");
        CLI::Option* const names = app->add_option(
            "NAME", m_names,
            "The device node, or files of what somebody mailed: pages as hexadecimal dumps or "
            "bytes, or a recorded host; - is standard input");
        app->add_option("--inhex", m_pages,
                        "Instead of a device: a page somebody mailed, in FILE as 'sg_vpd --hex' "
                        "prints it; PAGE is std, a VPD page code such as 83, or a command block")
            ->type_name("PAGE=FILE")
            ->excludes(names);
        app->add_flag("--short", m_isShort,
                      "Without the designators, the bytes of the pages and who declined");
        app->add_option("--same-as", m_sameAs,
                        "Say instead whether what was mailed is the same volume as this device of "
                        "the host")
            ->type_name("NAME");
        m_factoryOptions.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        CUDIDFactory factory;
        m_factoryOptions.apply(factory);
        context.traceInto(factory);
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        Report report;
        report.data["explanations"] = Json::array();
        Work work = {factory, discovery, context, report};
        m_mailed.clear();
        if (!m_sameAs.empty() && !namesTexts(context)) {
            throw UsageError(
                "--same-as compares what was mailed: name a file of pages, or - for standard "
                "input");
        }
        if (!m_pages.empty()) {
            refuseHost(context, "--inhex brings");
            explainPages(work, MailedPages(m_pages));
        } else if (namesTexts(context)) {
            explainTexts(work);
            if (!m_sameAs.empty()) {
                compare(work);
            }
        } else {
            explainDevices(work);
        }
        return report;
    }

  private:
    struct Work {
        CUDIDFactory& factory;
        CLinuxDeviceDiscovery& discovery;
        Context& context;
        Report& report;
    };

    static void refuseHost(const Context& context, const std::string& who) {
        if (!context.isLive()) {
            throw UsageError(who + " a host of its own; leave --host out");
        }
    }

    // On a recorded host a name is one of its devices, unless nothing but a text can be meant.
    bool namesTexts(const Context& context) const {
        std::size_t texts = 0;
        for (const std::string& name : m_names) {
            const bool mayBeText = context.isLive() || !m_sameAs.empty();
            texts += name == "-" || (mayBeText && isText(name)) ? 1U : 0U;
        }
        if (texts != 0 && texts != m_names.size()) {
            throw UsageError(
                "devices and files of pages are not explained together; name the one "
                "or the other");
        }
        return texts != 0;
    }

    void explainDevices(Work& work) {
        if (m_names.empty()) {
            throw UsageError(
                "no device named; give NAME, or pages with --inhex PAGE=FILE, for instance "
                "'scsitool explain /dev/sda'");
        }
        for (const std::string& given : m_names) {
            const std::string name = names::deviceNamed(work.context, given);
            askNamedAhead(work.context, name, interviews::udid(m_factoryOptions));
            const RecordList records = owned(work.discovery.validateDevice(name));
            for (const auto& record : records) {
                udid::Account account = udid::account(work.factory, *record);
                if (record->m_pages.empty()) {
                    account.explanation.remarks.push_back(whyNoAnswer(work.context, name));
                }
                add(account, *record, work);
            }
            if (records.empty()) {
                work.report.failure +=
                    (work.report.failure.empty() ? "" : "; ") + whyNotFound(work.context, name);
            }
        }
    }

    void explainPages(Work& work, const MailedPages& pages) {
        recording::Journal journal;
        recording::RecordedHost host(pages.host(), journal);
        const host::Scope scope(host);
        for (const auto& record : owned(work.discovery.validateDevice(pages.deviceName()))) {
            udid::Account account = udid::account(work.factory, *record);
            const std::vector<std::string> remarks = pages.remarks(*record, account.explanation);
            std::vector<std::string>& all = account.explanation.remarks;
            all.insert(all.end(), remarks.begin(), remarks.end());
            add(account, *record, work);
        }
    }

    // The texts together: one may hold the INQUIRY data and another the pages.
    void explainTexts(Work& work) {
        if (m_sameAs.empty()) {
            refuseHost(work.context, "a file of pages brings");
        }
        mailed::MailedTexts texts;
        bool isHost = false;
        for (const std::string& name : m_names) {
            const std::string text = textOf(name);
            if (isRecordedHost(text)) {
                explainHost(work, recording::parseRecordedHost(text, shownSource(name)));
                isHost = true;
            } else {
                texts.add(text, shownSource(name));
            }
        }
        std::vector<std::string> lacking = texts.remarks();
        for (const mailed::MailedDevice& mailed : texts.devices()) {
            if (mailed.device.standardInquiry) {
                explainPages(work, MailedPages(mailed));
            } else {
                lacking.push_back(withoutInquiry(mailed));
            }
        }
        if (work.report.data["explanations"].empty() && !isHost) {
            throw UsageError(
                lacking.empty()
                    ? shownSource(m_names.front()) +
                          ": no page in it, expected what sg_vpd --hex, sg_inq --hex, xxd, od "
                          "-tx1, "
                          "hexdump -C or inquiry --hex print, the bytes of a page, or a recorded "
                          "host"
                    : lacking.front());
        }
        work.report.doubts.insert(work.report.doubts.end(), lacking.begin(), lacking.end());
    }

    static std::string withoutInquiry(const mailed::MailedDevice& mailed) {
        std::string pages;
        for (const auto& [code, page] : mailed.device.pages) {
            pages += (pages.empty() ? "" : ", ") + pageKey(code);
        }
        return (mailed.name.empty() ? std::string("a device without a name") : mailed.name) +
               ": page " + pages +
               " without the standard INQUIRY data, which names vendor and product; have 'sg_inq "
               "--hex' of it sent too";
    }

    void explainHost(Work& work, recording::RecordedHostData data) {
        std::vector<std::string> names;
        for (const auto& [name, device] : data.devices) {
            if (device.openError == 0 && device.standardInquiry) {
                names.push_back(name);
            }
        }
        recording::Journal journal;
        recording::RecordedHost host(std::move(data), journal);
        const host::Scope scope(host);
        for (const std::string& name : names) {
            for (const auto& record : owned(work.discovery.validateDevice(name))) {
                add(udid::account(work.factory, *record), *record, work);
            }
        }
    }

    static comparison::IdentifiedDevice identified(const udid::Account& account,
                                                   const CScsiDeviceData& record) {
        return {record.m_deviceName, picture::namesOf(record),
                picture::fieldsOf(record, &account.identity), account.explanation.udid};
    }

    // The device that what was mailed is compared with.
    comparison::IdentifiedDevice deviceHere(Work& work) const {
        const std::string name = names::deviceNamed(work.context, m_sameAs);
        askNamedAhead(work.context, name, interviews::udid(m_factoryOptions));
        const RecordList records = owned(work.discovery.validateDevice(name));
        if (records.empty()) {
            throw OperationError(whyNotFound(work.context, name));
        }
        if (records.front()->m_pages.empty()) {
            throw OperationError(name + ": " + whyNoAnswer(work.context, name));
        }
        return identified(udid::account(work.factory, *records.front()), *records.front());
    }

    void compare(Work& work) const {
        const comparison::IdentifiedDevice device = deviceHere(work);
        Report& report = work.report;
        report.text.clear();
        report.data["comparisons"] = Json::array();
        for (const comparison::IdentifiedDevice& mailed : m_mailed) {
            const std::string sentence = comparison::sameVolumeSentence(mailed, device);
            report.data["comparisons"].push_back(comparison::sameVolumeJson(mailed, device));
            report.text += comparison::sameVolumeTable(mailed, device, work.context.layout);
            if (comparison::sameVolume(mailed, device) == picture::Agreement::kSame) {
                report.text += "\n" + visible(sentence) + "\n";
            } else {
                report.doubts.push_back(sentence);
            }
        }
    }

    void add(const udid::Account& account, const CScsiDeviceData& record, Work& work) {
        m_mailed.push_back(identified(account, record));
        const picture::IdentityFields fields = picture::fieldsOf(record, &account.identity);
        Json json = explanationJson(account, record);
        picture::addFields(json, fields);
        work.report.text += work.report.text.empty() ? "" : "\n";
        work.report.data["explanations"].push_back(std::move(json));
        const NamedTexts shown = picture::shownFields(fields);
        work.report.text += m_isShort
                                ? shortExplanationText(account, shown, work.context.layout)
                                : explanationText(account, record, shown, work.context.layout);
    }

    std::vector<std::string> m_names;
    std::vector<std::string> m_pages;
    bool m_isShort = false;
    std::string m_sameAs;
    std::vector<comparison::IdentifiedDevice> m_mailed;
    FactoryOptions m_factoryOptions;
};

}  // namespace

std::unique_ptr<Command> makeExplain() {
    return std::make_unique<Explain>();
}

}  // namespace cli
