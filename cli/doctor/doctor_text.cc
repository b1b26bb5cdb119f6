#include "cli/doctor/doctor_text.h"

#include <algorithm>
#include <array>

#include "cli/base/text.h"

namespace cli::doctor {
namespace {

const char* shown(Ability::State state) {
    switch (state) {
        case Ability::State::kWorks:
            return "yes";
        case Ability::State::kDoesNot:
            return "no";
        default:
            return "?";
    }
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : jsonText(text);
}

// Indented, and continued under itself where the width is short.
std::string paragraph(const std::string& label, const std::string& text, const Layout& layout) {
    const std::string first = "  " + label;
    const std::string indent(first.size(), ' ');
    const std::size_t room =
        layout.width > indent.size() + 1 ? layout.width - indent.size() : text.size() + 1;
    std::string result;
    for (const std::string& piece : wrapped(visible(text), room)) {
        result += result.empty() ? first : indent;
        result += piece;
        result += '\n';
    }
    return result;
}

std::string heading(const KindText& kind, const Layout& layout) {
    const std::string text = std::string(kind.code) + "  " + nameOf(kind.severity);
    const bool isRed = layout.colour && kind.severity == Severity::kError;
    return (isRed ? "\033[31m" + text + "\033[0m" : text) + ": " + kind.title + "\n";
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

Json abilitiesJson(const std::vector<Ability>& abilities) {
    Json list = Json::array();
    for (const Ability& ability : abilities) {
        Json works;
        if (ability.state != Ability::State::kUntold) {
            works = ability.state == Ability::State::kWorks;
        }
        list.push_back({{"name", ability.name},
                        {"works", works},
                        {"missing", textOrNull(ability.missing)},
                        {"remedy", textOrNull(ability.remedy)}});
    }
    return list;
}

Json findingsJson(const std::vector<Finding>& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings) {
        const KindText& kind = textOf(finding.kind);
        Json devices = Json::array();
        for (const std::string& device : finding.devices) {
            devices.push_back(jsonText(device));
        }
        list.push_back({{"code", kind.code},
                        {"severity", nameOf(kind.severity)},
                        {"title", kind.title},
                        {"devices", devices},
                        {"seen", jsonText(finding.seen)},
                        {"why", kind.why},
                        {"remedy", kind.remedy}});
    }
    return list;
}

std::string abilitiesText(const std::vector<Ability>& abilities, const Layout& layout) {
    Table table({{"ABILITY"}, {"WORKS"}, {"MISSING", false, true}});
    for (const Ability& ability : abilities) {
        const std::string why =
            ability.missing + (ability.remedy.empty() ? "" : "; " + ability.remedy);
        table.addRow({ability.name, shown(ability.state), why.empty() ? "-" : why});
    }
    return table.str(layout);
}

std::string findingsText(const std::vector<Finding>& findings, const Layout& layout) {
    std::string text;
    for (std::size_t i = 0; i < findings.size();) {
        const KindText& kind = textOf(findings[i].kind);
        text += (i == 0 ? "" : "\n") + heading(kind, layout);
        for (; i < findings.size() && findings[i].kind == kind.kind; ++i) {
            text +=
                paragraph("", joined(findings[i].devices, " ") + ": " + findings[i].seen, layout);
        }
        text += paragraph("Why: ", kind.why, layout) + paragraph("Do:  ", kind.remedy, layout);
    }
    return text.empty() ? "nothing was found\n" : text;
}

std::string summary(const std::vector<Finding>& findings) {
    std::array<std::size_t, 3> counts = {};
    for (const Finding& finding : findings) {
        ++counts[static_cast<std::size_t>(textOf(finding.kind).severity)];
    }
    std::vector<std::string> parts;
    for (const Severity severity : {Severity::kError, Severity::kWarning, Severity::kNote}) {
        const std::size_t count = counts[static_cast<std::size_t>(severity)];
        if (count != 0) {
            parts.push_back(counted(count, nameOf(severity)));
        }
    }
    return parts.empty() ? std::string() : "found " + joined(parts, ", ");
}

}  // namespace cli::doctor
