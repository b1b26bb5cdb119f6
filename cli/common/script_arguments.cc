#include "cli/common/script_arguments.h"

#include <algorithm>
#include <cstddef>

#include "cli/base/failure.h"
#include "cli/base/text.h"

namespace cli {
namespace {

// The library's command line is 1,024 bytes with the script's path and its own options in it.
constexpr std::size_t kLongestArguments = 900;
// A discovered name goes into an iscsiadm command of 1,024 bytes; names end at 223 (RFC 3720).
constexpr std::size_t kLongestWord = 512;

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool endsInsideQuotes(const std::string& text) {
    char quote = '\0';
    for (const char c : text) {
        if (quote == '\0' && (c == '\'' || c == '"')) {
            quote = c;
        } else if (c == quote) {
            quote = '\0';
        }
    }
    return quote != '\0';
}

}  // namespace

std::string scriptArguments(const std::vector<std::string>& words) {
    const std::string text = joined(words, " ");
    if (text.find_first_not_of(' ') == std::string::npos) {
        return {};
    }
    if (std::any_of(text.begin(), text.end(), isControl)) {
        throw UsageError("'" + text + "': control characters are no arguments of the script");
    }
    if (endsInsideQuotes(text)) {
        throw UsageError("'" + text + "': a quote is not closed");
    }
    if (text.size() > kLongestArguments) {
        throw UsageError("the arguments for the script are longer than " +
                         std::to_string(kLongestArguments) + " characters");
    }
    return text[0] == ' ' ? text : " " + text;
}

void requirePlainWord(const std::string& what, const std::string& value) {
    const auto fail = [&](const std::string& why) {
        throw UsageError(what + " '" + value + "' " + why);
    };
    if (value.empty()) {
        fail("is empty");
    }
    if (value.size() > kLongestWord) {
        fail("is longer than " + std::to_string(kLongestWord) + " characters");
    }
    if (value[0] == '-') {
        fail("begins with a dash, as an option does");
    }
    for (const char c : value) {
        if (isControl(c) || c == ' ' || c == '"' || c == '\'' || c == '`') {
            fail("holds a blank, a quote or a control character");
        }
    }
}

}  // namespace cli
