#include "udid/format_table.h"

#include <algorithm>
#include <cstdlib>

#include "scsitool/tools/string_tool.h"

namespace udid {
namespace {

using scsi::PageView;

constexpr char kLower[] = "0123456789abcdef";
constexpr char kUpper[] = "0123456789ABCDEF";

std::string hexadecimal(const PageView& view, std::size_t offset, std::size_t count,
                        const char* digits, char separator = '\0', std::size_t group = 1) {
    std::string text;
    text.reserve(count * 3);
    for (std::size_t i = 0; i < count; ++i) {
        if (separator != '\0' && i != 0 && i % group == 0) {
            text += separator;
        }
        const unsigned char byte = view[offset + i];
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

// strtol's reading: leading white space and a sign are taken, the number ends at the first
// character that is no digit of the base.
std::string decimal(const std::string& text, int base) {
    return std::to_string(std::strtol(text.c_str(), nullptr, base));
}

std::string asText(const PageView& view, std::size_t offset, std::size_t count) {
    return view.text(offset, count);
}

std::string asTrimmedText(const PageView& view, std::size_t offset, std::size_t count) {
    return CStringTool::trim(view.text(offset, count));
}

std::string asRightTrimmedText(const PageView& view, std::size_t offset, std::size_t count) {
    return CStringTool::rtrim(view.text(offset, count), ' ');
}

std::string asUnderscored(const PageView& view, std::size_t offset, std::size_t count) {
    return underscored(view.text(offset, count));
}

std::string asHexLower(const PageView& view, std::size_t offset, std::size_t count) {
    return hexadecimal(view, offset, count, kLower);
}

std::string asHexUpper(const PageView& view, std::size_t offset, std::size_t count) {
    return hexadecimal(view, offset, count, kUpper);
}

std::string asHexColons(const PageView& view, std::size_t offset, std::size_t count) {
    return hexadecimal(view, offset, count, kLower, ':');
}

std::string asHexDashes(const PageView& view, std::size_t offset, std::size_t count) {
    return hexadecimal(view, offset, count, kUpper, '-', 2);
}

std::string asKindAndHex(const PageView& view, std::size_t offset, std::size_t count) {
    return '5' + hexadecimal(view, offset, count, kLower);
}

std::string asDecimalOfHex(const PageView& view, std::size_t offset, std::size_t count) {
    return decimal(view.text(offset, count), 16);
}

std::string asDecimal(const PageView& view, std::size_t offset, std::size_t count) {
    return decimal(view.text(offset, count), 10);
}

}  // namespace

constexpr std::array<FormatRow, kFormats> kFormatTable = {{
    {Format::kLiteral, "literal", "no bytes: the generator's own text", false, nullptr},
    {Format::kText, "text", "the characters as they are, up to the first NUL", false, asText},
    {Format::kTrimmedText, "trimmed-text", "the same, without blanks at either end", false,
     asTrimmedText},
    {Format::kRightTrimmedText, "right-trimmed-text", "the same, without trailing blanks", false,
     asRightTrimmedText},
    {Format::kBlanksAsUnderscores, "blanks-as-underscores",
     "the same, without trailing blanks, every other blank written `_`", false, asUnderscored},
    {Format::kHexLower, "hex-lower", "two lower-case hexadecimal digits a byte", true, asHexLower},
    {Format::kHexUpper, "hex-upper", "two upper-case hexadecimal digits a byte", true, asHexUpper},
    {Format::kHexLowerColons, "hex-lower-colons",
     "two lower-case digits a byte, `:` between the bytes", true, asHexColons},
    {Format::kHexUpperDashes, "hex-upper-dashes",
     "two upper-case digits a byte, `-` between every two bytes", true, asHexDashes},
    {Format::kKindAndHexLower, "kind-and-hex-lower",
     "the digit `5`, then two lower-case digits a byte (a page 0x83 older than SPC-3)", true,
     asKindAndHex},
    {Format::kDecimalOfHexText, "decimal-of-hex-text",
     "the characters are a hexadecimal number, written in decimal; as with strtol, white space and "
     "a sign may lead, the number ends at the first other character, and no number is 0",
     false, asDecimalOfHex},
    {Format::kDecimalOfDecimalText, "decimal-of-decimal-text", "the same for a decimal number",
     false, asDecimal},
    {Format::kDeviceName, "device-name", "the device's name on this host", false, nullptr},
    {Format::kHostName, "host-name", "the name of this host", false, nullptr},
}};

namespace {

constexpr bool standsInOrder() {
    for (std::size_t row = 0; row < kFormats; ++row) {
        if (kFormatTable[row].format != static_cast<Format>(row) ||
            kFormatTable[row].name == nullptr) {
            return false;
        }
    }
    return true;
}
static_assert(standsInOrder(), "a format has no row, or its row stands in the wrong place");

}  // namespace

const FormatRow& rowOf(Format format) {
    return kFormatTable[static_cast<std::size_t>(format)];
}

std::string formatted(const PageView& view, Format format, std::size_t offset, std::size_t count) {
    const auto write = rowOf(format).write;
    return write != nullptr ? write(view, offset, count) : std::string();
}

std::string underscored(const std::string& text) {
    std::string result = CStringTool::rtrim(text, ' ');
    std::replace(result.begin(), result.end(), ' ', '_');
    return result;
}

const char* nameOf(Format format) {
    return static_cast<std::size_t>(format) < kFormats ? rowOf(format).name : "";
}

}  // namespace udid
