#include "cli/common/command.h"
#include "cli/comparison/changes_text.h"
#include "cli/comparison/sources.h"

namespace cli {
namespace {

using comparison::HostVolumes;

Json sideJson(const std::string& source, const HostVolumes& side) {
    return {{"source", jsonText(source)},
            {"host", side.host.empty() ? Json(nullptr) : jsonText(side.host)},
            {"time", side.time.empty() ? Json(nullptr) : jsonText(side.time)},
            {"volumes", side.volumes.size()}};
}

class Diff : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("diff", "Show what changed between two looks at a host");
        const char* const what =
            "A recorded host, what 'volumes' or 'devices' printed with --json or --ndjson, - for "
            "standard input, or live";
        app->add_option("A", m_before, what)->required();
        app->add_option("B", m_after, what)->required();
        return app;
    }

    Report run(Context& context) override {
        comparison::Sources sources(context);
        const HostVolumes before = sources.readOne(m_before);
        const HostVolumes after = sources.readOne(m_after);
        const std::vector<comparison::VolumeChange> changes = comparison::compare(before, after);
        Report report;
        report.data["before"] = sideJson(m_before, before);
        report.data["after"] = sideJson(m_after, after);
        report.data["differences"] = comparison::changesJson(changes);
        report.text = comparison::changesText(changes, context.layout);
        report.doubts = sources.doubts();
        if (!changes.empty()) {
            report.doubts.push_back(m_before + " and " + m_after +
                                    " differ: " + comparison::countsText(changes));
        }
        return report;
    }

  private:
    std::string m_before;
    std::string m_after;
};

}  // namespace

std::unique_ptr<Command> makeDiff() {
    return std::make_unique<Diff>();
}

}  // namespace cli
