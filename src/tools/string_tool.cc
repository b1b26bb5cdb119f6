#include "scsitool/tools/string_tool.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cwctype>
#include <utility>
#include <vector>

#include "scsitool/kit/bounded_string.h"
#include "tools/letters.h"

namespace {

using qzfi_pdk_4_4::V_snprintf;
using qzfi_pdk_4_4::V_sscanf;
using qzfi_pdk_4_4::V_strnlen;

constexpr std::size_t kNumberSize = 64;
constexpr std::size_t kPrefixLength = 2;
constexpr std::size_t kConversionFailed = static_cast<std::size_t>(-1);
constexpr unsigned kNoDigit = 16;

// The C library's conversions leave what is no letter alone, so they need no test before them.
template <class Convert>
std::wstring convertLetters(std::wstring text, Convert convert) {
    std::transform(text.begin(), text.end(), text.begin(), convert);
    return text;
}

template <class Convert>
std::string convertLetters(std::string text, Convert convert) {
    for (char& c : text) {
        // No locale of the C library has a letter before 'A': digits and signs need no look-up.
        const auto value = static_cast<unsigned char>(c);
        if (value >= 'A') {
            c = static_cast<char>(convert(value));
        }
    }
    return text;
}

unsigned hexadecimalDigit(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned>(c - 'A') + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a') + 10;
    }
    return kNoDigit;
}

// What each letter of ASCII becomes, in a loop that takes many at once; gives whether another
// character may be a letter, too.
bool makeAsciiUpper(std::string& text) {
    unsigned char seen = 0;
    for (char& c : text) {
        const auto value = static_cast<unsigned char>(c);
        const bool isSmall = static_cast<unsigned char>(value - 'a') <= 'z' - 'a';
        seen = static_cast<unsigned char>(seen | value);
        c = static_cast<char>(isSmall ? value - 'a' + 'A' : value);
    }
    constexpr unsigned kNoAscii = 0x80;
    return (seen & kNoAscii) != 0;
}

}  // namespace

void tools::makeUpper(std::string& text) {
    // In a Turkish locale the letter without ASCII's dot is another one.
    const bool isAscii = std::toupper('i') == 'I';
    if (!isAscii || makeAsciiUpper(text)) {
        text = convertLetters(std::move(text), [](int c) { return std::toupper(c); });
    }
}

bool CStringTool::isalphaNumeric(const std::string& s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0;
    });
}

std::string CStringTool::tostrupper(const std::string& s) {
    std::string text = s;
    tools::makeUpper(text);
    return text;
}

std::string CStringTool::tostrlower(const std::string& s) {
    return convertLetters(s, [](int c) { return std::tolower(c); });
}

std::wstring CStringTool::tostrupper(const std::wstring& s) {
    return convertLetters(s, [](wchar_t c) {
        return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(c)));
    });
}

std::wstring CStringTool::tostrlower(const std::wstring& s) {
    return convertLetters(s, [](wchar_t c) {
        return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    });
}

std::string CStringTool::ltrim(const std::string& s, char c) {
    // Bounded by the size, so that a run of NULs can be trimmed too.
    const std::size_t start = std::min(s.find_first_not_of(c), s.size());
    const char* const rest = s.data() + start;
    return std::string(rest, V_strnlen(rest, s.size() - start));
}

std::string CStringTool::rtrim(const std::string& s, char c) {
    // Nothing but `c` gives npos, and one more is 0.
    return s.substr(0, s.find_last_not_of(c) + 1);
}

std::string CStringTool::trim(const std::string& s) {
    return rtrim(ltrim(s, ' '), ' ');
}

std::string CStringTool::bool2str(bool b) {
    return b ? "true" : "false";
}

std::string CStringTool::int2str(int n) {
    char text[kNumberSize];
    V_snprintf(text, sizeof text, "%d", n);
    return text;
}

std::string CStringTool::uint2str(unsigned int n) {
    char text[kNumberSize];
    V_snprintf(text, sizeof text, "%u", n);
    return text;
}

std::wstring CStringTool::int2wstr(int n) {
    return str2wstr(int2str(n));
}

std::wstring CStringTool::uint2wstr(unsigned int n) {
    return str2wstr(uint2str(n));
}

int CStringTool::str2int(const std::string& s) {
    int number = 0;
    V_sscanf(s.c_str(), s.size(), "%d", &number);
    return number;
}

unsigned int CStringTool::str2uint(const std::string& s) {
    // The signed conversion is meant: callers rely on "-1" giving all bits set.
    return static_cast<unsigned int>(str2int(s));
}

unsigned int CStringTool::hexstr2uint(const std::string& s) {
    if (s.size() <= kPrefixLength) {
        return 0;
    }
    std::uint32_t value = 0;
    for (std::size_t i = kPrefixLength; i < s.size() && s[i] != '\0'; ++i) {
        const unsigned digit = hexadecimalDigit(s[i]);
        if (digit == kNoDigit) {
            return 0;
        }
        value = value * 16 + digit;
    }
    return value;
}

std::string CStringTool::binary2str(unsigned char* data, int length) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (int i = 0; i < length; ++i) {
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 0x0F];
    }
    return text;
}

std::wstring CStringTool::str2wstr(const std::string& s) {
    const std::size_t count = std::mbstowcs(nullptr, s.c_str(), 0);
    if (count == kConversionFailed) {
        return std::wstring();
    }
    std::vector<wchar_t> wide(count + 1);
    std::mbstowcs(wide.data(), s.c_str(), wide.size());
    return std::wstring(wide.data());
}

std::string CStringTool::wstr2str(const std::wstring& s) {
    const std::uint32_t size = 2 * static_cast<std::uint32_t>(s.size());
    std::vector<char> narrow(std::size_t{size} + 1);
    const std::size_t count = std::wcstombs(narrow.data(), s.c_str(), size);
    if (count == kConversionFailed) {
        return std::string();
    }
    // A full buffer has no NUL; the count is then its size.
    return std::string(narrow.data(), count);
}

std::wstring CStringTool::str2wstr(const std::wstring& s) {
    return s;
}

std::string CStringTool::wstr2str(const std::string& s) {
    return s;
}
