#include "cli/common/address_argument.h"

#include <array>
#include <cstddef>

#include "cli/base/failure.h"
#include "cli/base/text.h"

namespace cli {
namespace {

// The kernel's request for a removal is made of numbers of this size.
constexpr std::int64_t kHighest = INT32_MAX;

std::vector<std::string> partsOf(const std::string& word) {
    std::vector<std::string> parts(1);
    for (const char c : word) {
        if (c == ':') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

std::int32_t number(const char* what, const std::string& text) {
    const bool isDecimal =
        !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    if (!isDecimal) {
        throw UsageError(std::string(what) + " '" + text + "' is no decimal number");
    }
    std::int64_t value = 0;
    for (const char c : text) {
        value = value * 10 + (c - '0');
        if (value > kHighest) {
            throw UsageError(std::string(what) + " " + text + " is beyond " +
                             std::to_string(kHighest) +
                             "; what is gone at a longer LUN is removed by 'scsitool prune'");
        }
    }
    return static_cast<std::int32_t>(value);
}

}  // namespace

SLinuxScsiDevice addressArgument(const std::vector<std::string>& words) {
    const std::vector<std::string> parts = words.size() == 1 ? partsOf(words.front()) : words;
    if (parts.size() != 4) {
        throw UsageError("address '" + joined(words, " ") +
                         "': expected HOST CHANNEL TARGET LUN or H:C:T:L");
    }
    return {number("host", parts[0]), number("channel", parts[1]), number("target", parts[2]),
            number("LUN", parts[3])};
}

}  // namespace cli
