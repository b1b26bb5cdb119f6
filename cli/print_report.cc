#include "cli/print_report.h"

#include "cli/base/text.h"
#include "cli/command_line.h"

namespace cli {
namespace {

constexpr int kJsonFormat = 1;
constexpr int kIndent = 2;

std::string readableEffect(const std::string& journalLine) {
    const Json effect = Json::parse(journalLine);
    const auto member = [&effect](const char* name) {
        return visible(effect.value(name, std::string()));
    };
    const std::string kind = effect.value("effect", std::string());
    if (kind == "append") {
        return "would write \"" + member("data") + "\" to " + member("path");
    }
    if (kind == "sleep") {
        return "would pause " + std::to_string(effect.value("seconds", 0U)) + " s";
    }
    return (kind == "shell" ? "would run in a shell: " : "would run: ") + member("command");
}

}  // namespace

std::string documentText(const Report& report, const std::vector<std::string>& arguments,
                         int exitStatus, bool dryRun, const std::vector<std::string>& journal) {
    Json document = Json::object();
    // A null value that operator[] cannot make an object for want of memory cannot be destroyed.
    Json& head = document["scsitool"] = Json::object();
    head["json_format"] = kJsonFormat;
    head["version"] = versionText();
    head["command"] = Json::array();
    for (const std::string& argument : arguments) {
        head["command"].push_back(jsonText(argument));
    }
    head["exit_status"] = exitStatus;
    if (!report.failure.empty()) {
        document["error"] = jsonText(report.failure);
    }
    for (const auto& [name, value] : report.data.items()) {
        document[name] = value;
    }
    if (dryRun) {
        document["journal"] = Json::array();
        for (const std::string& line : journal) {
            document["journal"].push_back(Json::parse(line));
        }
    }
    // Escapes beyond ASCII keep what a device says from steering a terminal.
    return document.dump(kIndent, ' ', true) + "\n";
}

std::string readableText(const Report& report, const std::vector<std::string>& journal) {
    std::string text;
    for (const std::string& line : journal) {
        text += readableEffect(line) + "\n";
    }
    if (!text.empty() && !report.text.empty()) {
        text += "\n";
    }
    return text + report.text;
}

}  // namespace cli
