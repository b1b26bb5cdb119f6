#include "recording/guard/rules/script_reading.h"

#include <regex.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>

namespace recording::guard {
namespace {

constexpr const char* kVersion = "VERSION=";
constexpr const char* kSource = "INQ";
constexpr const char* kQualifier = "IPQUAL";

// A POSIX regular expression; one that does not compile matches nothing.
class Expression {
  public:
    explicit Expression(const LinePattern& pattern)
        : m_isValid(::regcomp(&m_compiled, pattern.expression.c_str(),
                              pattern.isExtended ? REG_EXTENDED : 0) == 0) {}
    ~Expression() {
        if (m_isValid) {
            ::regfree(&m_compiled);
        }
    }
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    /// The first group of a match, empty without one; none when nothing matches.
    std::optional<std::string> match(const std::string& line) const {
        std::array<::regmatch_t, 2> found = {};
        if (!m_isValid ||
            ::regexec(&m_compiled, line.c_str(), found.size(), found.data(), 0) != 0) {
            return std::nullopt;
        }
        return found[1].rm_so < 0
                   ? std::string()
                   : line.substr(static_cast<std::size_t>(found[1].rm_so),
                                 static_cast<std::size_t>(found[1].rm_eo - found[1].rm_so));
    }

  private:
    ::regex_t m_compiled = {};
    bool m_isValid;
};

std::string quotedAfter(const std::string& text, std::size_t from) {
    const std::size_t open = text.find_first_of("'\"", from);
    const std::size_t close = open == std::string::npos ? open : text.find(text[open], open + 1);
    return close == std::string::npos ? std::string() : text.substr(open + 1, close - open - 1);
}

// s/EXPRESSION/.../, with whatever delimiter.
std::string substituted(const std::string& program) {
    if (program.size() < 2 || program[0] != 's') {
        return {};
    }
    const std::size_t end = program.find(program[1], 2);
    return end == std::string::npos ? std::string() : program.substr(2, end - 2);
}

bool hasOption(const std::string& stage, const std::string& letters) {
    std::istringstream words(stage.substr(0, stage.find_first_of("'\"")));
    std::string word;
    while (words >> word) {
        if (word[0] == '-' && word.find_first_of(letters) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// What a stage of the pipe filters by; empty for one that lets every line through.
LinePattern filterOf(const std::string& stage) {
    const std::size_t grep = stage.find("grep");
    if (grep != std::string::npos) {
        const bool isExtended = stage.find("egrep") != std::string::npos || hasOption(stage, "E");
        return {quotedAfter(stage, grep), isExtended};
    }
    const std::size_t sed = stage.find("sed");
    if (sed != std::string::npos && hasOption(stage, "n")) {
        return {substituted(quotedAfter(stage, sed)), hasOption(stage, "Er")};
    }
    return {};
}

// The stages of a pipe; a bar within quotes is none.
std::vector<std::string> stagesOf(const std::string& line) {
    std::vector<std::string> stages(1);
    bool isQuoted = false;
    for (const char c : line) {
        isQuoted = isQuoted != (c == '\'');
        if (c == '|' && !isQuoted) {
            stages.emplace_back();
        } else {
            stages.back() += c;
        }
    }
    return stages;
}

Reading readingOf(const std::string& assignment) {
    Reading reading;
    for (const std::string& stage : stagesOf(assignment)) {
        const LinePattern filter = filterOf(stage);
        if (!filter.expression.empty()) {
            reading.push_back(filter);
        }
    }
    return reading;
}

// A disk that answers has peripheral qualifier 0; the script takes every other one for gone.
bool gets(const Reading& reading, const std::string& variable,
          const std::vector<std::string>& output) {
    return std::any_of(output.begin(), output.end(), [&](const std::string& line) {
        return std::all_of(reading.begin(), reading.end(), [&](const LinePattern& pattern) {
            const auto value = Expression(pattern).match(line);
            return value && (variable != kQualifier || *value == "0");
        });
    });
}

}  // namespace

ScriptReading parseScript(const std::string& text) {
    static const std::array<std::string, 5> kVariables = {"IVEND", "IPROD", "IPREV", "IPTYPE",
                                                          kQualifier};
    ScriptReading result;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        const std::size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        if (line.compare(start, std::string(kVersion).size(), kVersion) == 0) {
            result.version = quotedAfter(line, start);
        }
        for (const std::string& variable : kVariables) {
            const std::size_t at = line.find(variable + "=");
            const Reading reading =
                at == std::string::npos ||
                        line.find(kSource, at + variable.size()) == std::string::npos
                    ? Reading()
                    : readingOf(line.substr(at + variable.size() + 1));
            if (!reading.empty()) {
                result.ways[variable].push_back(reading);
            }
        }
    }
    return result;
}

std::string missedBy(const ScriptReading& reading, const std::vector<std::string>& output) {
    for (const auto& [variable, ways] : reading.ways) {
        const bool isRead = std::any_of(
            ways.begin(), ways.end(),
            [&, &name = variable](const Reading& way) { return gets(way, name, output); });
        if (!isRead) {
            return ways.front().back().expression;
        }
    }
    return {};
}

}  // namespace recording::guard
