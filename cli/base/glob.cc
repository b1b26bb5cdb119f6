#include "cli/base/glob.h"

#include <cctype>

namespace cli {
namespace {

bool isSame(char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) ==
           std::tolower(static_cast<unsigned char>(right));
}

}  // namespace

// Only the last "*" is ever gone back to: what fitted before an earlier one fits still.
bool fitsGlob(const std::string& pattern, const std::string& text) {
    std::size_t in = 0;
    std::size_t star = std::string::npos;
    std::size_t taken = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (in < pattern.size() && pattern[in] == '*') {
            star = in++;
            taken = at;
        } else if (in < pattern.size() && (pattern[in] == '?' || isSame(pattern[in], text[at]))) {
            ++in;
            ++at;
        } else if (star != std::string::npos) {
            in = star + 1;
            at = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', in) == std::string::npos;
}

}  // namespace cli
