#include <map>

#include "cli/base/text.h"
#include "cli/base/whole_file.h"
#include "cli/command_line.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/doctor/doctor_text.h"
#include "cli/doctor/examination.h"
#include "cli/output/explain_text.h"
#include "cli/output/utc_time.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/identity_text.h"
#include "cli/picture/rows.h"
#include "cli/report/page.h"
#include "cli/view/facts_json.h"
#include "cli/view/view.h"
#include "scsitool/udid/account.h"

namespace cli {
namespace {

class ReportPage : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand(
            "report", "Write a page that shows the host: topology, volumes, findings, reasons");
        app->add_option("--output", m_file, "Write the page to FILE instead of standard output")
            ->type_name("FILE");
        return app;
    }

    Report run(Context& context) override {
        const WholeFile file(m_file, "page");
        if (!m_file.empty()) {
            file.demandWritable();
        }
        askAhead(context, "", interviews::volume());
        picture::Enumeration enumeration(context);
        enumeration.run(false, "", "");
        const view::Scene scene = view::sceneOf(enumeration.picture(), context.view());
        const view::Rows rows = view::volumeRows(scene);
        const doctor::Examination found =
            doctor::examine(context.view(), context.isRoot, context.options.deadline);
        Json page = {{"host", hostName(context)}, {"time", utcTime()}, {"version", versionText()}};
        page["volumes"] = view::volumesJson(rows);
        page["findings"] = doctor::findingsJson(found.findings);
        page["explanations"] = explanations(enumeration.factory(), page["volumes"]);
        Report report = written(file, page::pageOf(page), context);
        report.data["volumes"] = std::move(page["volumes"]);
        report.data["findings"] = std::move(page["findings"]);
        report.doubts = view::doubtsOf(scene, enumeration.hint());
        if (rows.empty()) {
            report.failure = "no SCSI disk found: " + hintWithoutDisks(context);
        }
        return report;
    }

  private:
    static Json hostName(const Context& context) {
        std::string name;
        return context.view().host.hostName(name) < 0 ? Json("a host without a name")
                                                      : jsonText(name);
    }

    // Of the device that stands for the volume.
    static Json explanations(CUDIDFactory& factory, const Json& volumes) {
        std::map<std::string, const CScsiDeviceData*> records;
        for (const auto& record : factory.records()) {
            records.emplace(record->m_deviceName, record.get());
        }
        Json texts = Json::object();
        for (const Json& volume : volumes) {
            const std::string name = volume.at("name").get<std::string>();
            const auto found = records.find(name);
            if (found != records.end()) {
                const udid::Account account = udid::account(factory, *found->second);
                const picture::IdentityFields fields =
                    picture::fieldsOf(*found->second, &account.identity);
                texts[name] = explanationText(account, *found->second, picture::shownFields(fields),
                                              Layout());
            }
        }
        return texts;
    }

    Report written(const WholeFile& file, std::string page, const Context& context) const {
        Report report;
        const bool isWritten = !m_file.empty() && !context.options.dryRun;
        report.data["file"] = m_file.empty() ? Json(nullptr) : jsonText(m_file);
        report.data["written"] = isWritten;
        if (m_file.empty()) {
            report.text = std::move(page);
            return report;
        }
        if (isWritten) {
            file.write(page);
        }
        report.text = (isWritten ? "" : "would write ") + visible(m_file) + ": a page of " +
                      std::to_string(page.size() / 1024) + " KiB\n";
        return report;
    }

    std::string m_file;
};

}  // namespace

std::unique_ptr<Command> makeReport() {
    return std::make_unique<ReportPage>();
}

}  // namespace cli
