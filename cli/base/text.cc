#include "cli/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "recording/text/utf8.h"

namespace cli {
namespace {

struct CodePoint {
    std::uint32_t value = 0;
    std::size_t bytes = 0;  // 0 when the bytes are no UTF-8
};

std::size_t sequenceLength(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC0) {
        return 0;
    }
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

CodePoint codePointAt(const std::string& text, std::size_t offset) {
    const auto first = static_cast<unsigned char>(text[offset]);
    const std::size_t length = sequenceLength(first);
    if (length == 0 || offset + length > text.size() ||
        !recording::isUtf8(text.substr(offset, length))) {
        return {};
    }
    std::uint32_t value = length == 1 ? first : first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        value = value << 6 | (static_cast<unsigned char>(text[offset + i]) & 0x3FU);
    }
    return {value, length};
}

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// What a reader does not see and what turns the direction of writing: the characters of Unicode's
// general category Cf (format), its separators of lines and paragraphs, the controls (a terminal
// takes U+009B for the start of a sequence), the tags, and what fonts show as nothing.
constexpr Range kSteering[] = {
    {0x0000, 0x001F},   {0x007F, 0x009F},   {0x00AD, 0x00AD},   {0x034F, 0x034F},
    {0x0600, 0x0605},   {0x061C, 0x061C},   {0x06DD, 0x06DD},   {0x070F, 0x070F},
    {0x0890, 0x0891},   {0x08E2, 0x08E2},   {0x115F, 0x1160},   {0x17B4, 0x17B5},
    {0x180B, 0x180F},   {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},
    {0x3164, 0x3164},   {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
    {0xFFF0, 0xFFFB},   {0x110BD, 0x110BD}, {0x110CD, 0x110CD}, {0x13430, 0x1343F},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

bool steersTerminal(std::uint32_t value) {
    return std::any_of(std::begin(kSteering), std::end(kSteering), [value](const Range& range) {
        return value >= range.first && value <= range.last;
    });
}

std::string escape(std::uint32_t value) {
    switch (value) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return value < 0x100     ? fmt::format("\\x{:02x}", value)
                   : value < 0x10000 ? fmt::format("\\u{:04x}", value)
                                     : fmt::format("\\U{:08x}", value);
    }
}

// Where to cut so that at most `columns` code points stand before the cut.
std::size_t cutPosition(const std::string& text, std::size_t start, std::size_t columns) {
    std::size_t end = start;
    for (std::size_t taken = 0; taken < columns && end < text.size(); ++taken) {
        end += std::max<std::size_t>(1, sequenceLength(static_cast<unsigned char>(text[end])));
    }
    return std::min(end, text.size());
}

}  // namespace

std::string visible(const std::string& text, bool keepTabs) {
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < '\x7f'; });
    if (isPlain) {
        return text;
    }
    std::string result;
    for (std::size_t offset = 0; offset < text.size();) {
        const CodePoint point = codePointAt(text, offset);
        if (point.bytes == 0) {
            result += escape(static_cast<unsigned char>(text[offset]));
            ++offset;
            continue;
        }
        if (steersTerminal(point.value) && !(keepTabs && point.value == '\t')) {
            result += escape(point.value);
        } else {
            result.append(text, offset, point.bytes);
        }
        offset += point.bytes;
    }
    return result;
}

std::size_t columnsOf(const std::string& visibleText) {
    return static_cast<std::size_t>(
        std::count_if(visibleText.begin(), visibleText.end(),
                      [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

std::vector<std::string> wrapped(const std::string& visibleText, std::size_t columns) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    const std::size_t width = std::max<std::size_t>(columns, 1);
    while (columnsOf(visibleText.substr(start)) > width) {
        std::size_t end = cutPosition(visibleText, start, width);
        const std::size_t blank = visibleText.rfind(' ', end);
        const bool atBlank = blank != std::string::npos && blank > start;
        end = atBlank ? blank : end;
        pieces.push_back(visibleText.substr(start, end - start));
        start = atBlank ? end + 1 : end;
    }
    pieces.push_back(visibleText.substr(start));
    return pieces;
}

std::string joined(const std::vector<std::string>& texts, const std::string& separator) {
    return fmt::format("{}", fmt::join(texts, separator));
}

std::string errorText(int error) {
    std::string text = std::strerror(std::abs(error));
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

std::string sizeText(std::uint64_t kibibytes) {
    static const char* const kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (kibibytes < 1024) {
        return fmt::format("{} KiB", kibibytes);
    }
    std::size_t unit = 0;
    auto size = static_cast<double>(kibibytes);
    while (size >= 1024 && unit + 1 < std::size(kUnits)) {
        size /= 1024;
        ++unit;
    }
    return fmt::format("{:.1f} {}", size, kUnits[unit]);
}

}  // namespace cli
