#include "cli/udev/safe_text.h"

#include <cstring>

namespace cli::udev {
namespace {

constexpr const char* kInLinks = "#+-.:=@_";
constexpr const char* kQuoting = "\\\"'`$";
constexpr const char* kHexDigits = "0123456789abcdef";

bool isAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isOneOf(char c, const char* set) {
    return c != '\0' && std::strchr(set, c) != nullptr;
}

void escape(std::string& text, char c) {
    constexpr unsigned kHalf = 4;
    constexpr unsigned kLow = 0xF;
    const auto byte = static_cast<unsigned char>(c);
    text += "\\x";
    text += kHexDigits[byte >> kHalf];
    text += kHexDigits[byte & kLow];
}

int digitOf(char c) {
    const char* const found = c == '\0' ? nullptr : std::strchr(kHexDigits, c);
    return found == nullptr ? -1 : static_cast<int>(found - kHexDigits);
}

}  // namespace

std::string encoded(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (isAlphanumeric(c) || isOneOf(c, kInLinks)) {
            result += c;
        } else {
            escape(result, c);
        }
    }
    return result;
}

std::string propertyValue(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    const std::size_t last = text.find_last_not_of(' ');
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPrintable = text[i] >= ' ' && text[i] <= '~' && !isOneOf(text[i], kQuoting);
        const bool isOutside = first == std::string::npos || i < first || i > last;
        if (isPrintable && !isOutside) {
            result += text[i];
        } else {
            escape(result, text[i]);
        }
    }
    return result;
}

std::string decoded(const std::string& text) {
    constexpr std::size_t kEscape = 4;  // \xNN
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const bool isBegun = i + kEscape <= text.size() && text[i] == '\\' && text[i + 1] == 'x';
        const int high = isBegun ? digitOf(text[i + 2]) : -1;
        const int low = isBegun ? digitOf(text[i + 3]) : -1;
        if (high >= 0 && low >= 0) {
            result += static_cast<char>(high * 16 + low);
            i += kEscape;
        } else {
            result += text[i++];
        }
    }
    return result;
}

}  // namespace cli::udev
