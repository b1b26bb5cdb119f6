#ifndef SCSITOOL_CLI_OUTPUT_REPORT_H
#define SCSITOOL_CLI_OUTPUT_REPORT_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace cli {

using Json = nlohmann::ordered_json;

/// What a command found. `data` are the members of the JSON document behind the first one, `text`
/// is what a person reads. With a `failure` (one line) the command ends with exit status 1: the
/// document is printed all the same, the text is not, unless there are remarks: what a person has
/// to be told besides, each a line before the failure.
struct Report {
    Json data = Json::object();
    std::string text;
    std::string failure;
    std::vector<std::string> remarks;
    /// What could not be told, each a line: the command ends with exit status 3 if nothing failed,
    /// and everything is printed.
    std::vector<std::string> doubts;
};

/// A JSON string; bytes that are no UTF-8 are kept as U+0080 to U+00FF.
Json jsonText(const std::string& text);

}  // namespace cli

#endif
