#include "cli/common/lines_option.h"

#include "cli/base/failure.h"
#include "cli/comparison/sources.h"

namespace cli {
namespace {

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : jsonText(text);
}

}  // namespace

std::string lineOf(const Json& value) {
    // Escapes beyond ASCII, as in a document.
    return value.dump(-1, ' ', true) + "\n";
}

void LinesOption::declare(CLI::App& app) {
    app.add_flag("--ndjson", m_isWanted, "Print one JSON object a line");
}

void LinesOption::demandAlone(const Options& options) const {
    if (m_isWanted && options.json) {
        throw UsageError("--ndjson and --json exclude each other; leave one out");
    }
}

void LinesOption::finish(Report& report, const Context& context,
                         const std::vector<std::string>& lists) const {
    report.data["host"] = textOrNull(comparison::hostNameOf(context));
    if (!m_isWanted) {
        return;
    }
    const Json head = {{"host", report.data["host"]},
                       {"time", textOrNull(comparison::timeOf(context))}};
    report.text.clear();
    for (const std::string& list : lists) {
        for (const Json& entry : report.data[list]) {
            Json line = head;
            for (const auto& [name, value] : entry.items()) {
                line[name] = value;
            }
            report.text += lineOf(line);
        }
    }
}

}  // namespace cli
