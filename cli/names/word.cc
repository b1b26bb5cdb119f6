#include "cli/names/word.h"

#include <algorithm>
#include <cctype>

namespace cli::names {
namespace {

constexpr std::size_t kShort = 16;  // digits of an NAA 2, 3 or 5 and of an EUI-64
constexpr std::size_t kLong = 32;   // digits of an NAA 6

bool isIdentifier(const std::string& text) {
    return (text.size() == kShort || text.size() == kLong) &&
           text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool takeOff(std::string& text, const std::string& start) {
    if (text.compare(0, start.size(), start) != 0) {
        return false;
    }
    text.erase(0, start.size());
    return true;
}

}  // namespace

std::optional<recording::guard::ScsiAddress> addressIn(const std::string& word) {
    const bool isBracketed = word.size() > 2 && word.front() == '[' && word.back() == ']';
    return recording::guard::parseAddress(isBracketed ? word.substr(1, word.size() - 2) : word);
}

std::string identifierIn(const std::string& word) {
    std::string text = lowered(word);
    text.erase(std::remove(text.begin(), text.end(), ':'), text.end());
    for (const char* const start : {"dm-uuid-", "mpath-", "wwn-", "scsi-", "naa.", "eui.", "0x"}) {
        takeOff(text, start);
    }
    // udev and multipathd put the designator's kind in front: 3 for NAA, 2 for EUI-64.
    const bool hasKind = text.size() == kShort + 1 || text.size() == kLong + 1;
    if (hasKind && (text.front() == '3' || text.front() == '2')) {
        text.erase(0, 1);
    }
    return isIdentifier(text) ? text : std::string();
}

std::string lowered(const std::string& text) {
    std::string result = text;
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

}  // namespace cli::names
