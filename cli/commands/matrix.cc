#include "cli/common/command.h"
#include "cli/common/lines_option.h"
#include "cli/comparison/matrix_text.h"
#include "cli/comparison/sources.h"

namespace cli {
namespace {

using comparison::SharedVolume;
using comparison::SharedVolumes;

class Matrix : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand("matrix", "Show which hosts see which volumes");
        app->add_option("FILE", m_files,
                        "A host each: a recorded host, what 'volumes' or 'devices' printed with "
                        "--json or --ndjson, - for standard input, or live")
            ->required();
        app->add_flag("--some", m_some, "Only volumes that not all of the hosts see");
        app->add_flag("--shared", m_shared, "Only volumes that more than one host sees");
        m_lines.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        m_lines.demandAlone(context.options);
        comparison::Sources sources(context);
        comparison::Matrix matrix;
        sources.readAll(m_files, [&](const comparison::HostVolumes& host, const std::string& file) {
            matrix.add(host, file);
        });
        const SharedVolumes rows = chosen(matrix);
        Report report;
        report.data["hosts"] = comparison::hostsJson(matrix);
        if (context.options.json) {
            report.data["matrix"] = Json::array();
            for (const SharedVolume* const volume : rows) {
                report.data["matrix"].push_back(comparison::sharedVolumeJson(matrix, *volume));
            }
        } else if (m_lines.isWanted()) {
            for (const SharedVolume* const volume : rows) {
                report.text += lineOf(comparison::sharedVolumeJson(matrix, *volume));
            }
        } else {
            report.text = comparison::matrixText(matrix, rows, context.layout);
        }
        report.doubts = sources.doubts();
        for (std::string& contradiction : matrix.contradictions()) {
            report.doubts.push_back(std::move(contradiction));
        }
        return report;
    }

  private:
    SharedVolumes chosen(const comparison::Matrix& matrix) const {
        SharedVolumes rows;
        for (const SharedVolume& volume : matrix.volumes()) {
            const bool isLeftOut =
                (m_some && matrix.isSeenByAll(volume)) || (m_shared && volume.sightings.size() < 2);
            if (!isLeftOut) {
                rows.push_back(&volume);
            }
        }
        return rows;
    }

    std::vector<std::string> m_files;
    bool m_some = false;
    bool m_shared = false;
    LinesOption m_lines;
};

}  // namespace

std::unique_ptr<Command> makeMatrix() {
    return std::make_unique<Matrix>();
}

}  // namespace cli
