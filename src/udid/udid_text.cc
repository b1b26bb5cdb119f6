#include "udid/udid_text.h"

#include <algorithm>
#include <cstdlib>

#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/device_udid_generator.h"

namespace udid {
namespace {

std::string hexadecimal(const scsi::PageView& view, std::size_t offset, std::size_t count,
                        const char* digits, char separator, std::size_t group) {
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

std::string underscored(const std::string& text) {
    std::string result = CStringTool::rtrim(text, ' ');
    std::replace(result.begin(), result.end(), ' ', '_');
    return result;
}

// strtol's reading: leading white space and a sign are taken, the number ends at the first
// character that is no digit of the base.
std::string decimal(const std::string& text, int base) {
    return std::to_string(std::strtol(text.c_str(), nullptr, base));
}

bool holds(const std::string& value, Rule rule, std::string_view expected) {
    switch (rule) {
        case Rule::kEquals:
            return value == expected;
        case Rule::kBeginsWith:
            return value.compare(0, expected.size(), expected) == 0;
        case Rule::kContains:
            return value.find(expected) != std::string::npos;
    }
    return false;
}

}  // namespace

SourcePage takePage(CScsiDeviceData& record, unsigned code) {
    unsigned char* buffer = nullptr;
    unsigned length = 0;
    record.GetScsiModePage(code, &buffer, length);
    const SourcePage page{code, scsi::PageView(buffer, length)};
    if (Evidence* const evidence = evidenceOf(record)) {
        evidence->readPage(code, page.view);
    }
    return page;
}

bool matches(const CScsiDeviceData& record, const char* field, const std::string& value, Rule rule,
             std::string_view expected) {
    const bool matched = holds(value, rule, expected);
    if (Evidence* const evidence = evidenceOf(record)) {
        evidence->compared(field, value, rule, std::string(expected), matched);
    }
    return matched;
}

void remark(const CScsiDeviceData& record, const char* text) {
    if (Evidence* const evidence = evidenceOf(record)) {
        evidence->remarked(text);
    }
}

Piece recordPiece(const CScsiDeviceData& record, Format format, std::size_t offset,
                  std::size_t length, const std::string& text) {
    if (evidenceOf(record) != nullptr) {
        const auto inquiry = record.m_pages.find(kInquiryData);
        if (inquiry != record.m_pages.end() &&
            formatted(scsi::PageView(inquiry->second), format, offset, length) == text) {
            return {format, kInquiryData, offset, length, text};
        }
    }
    return {format, kNoPage, 0, 0, text};
}

const std::string& trimVendor(CScsiDeviceData& record) {
    std::string& vendor = record.m_vendorId;
    // Mostly it is trimmed already: every generator asks.
    if (!vendor.empty() && vendor.back() == ' ') {
        vendor = CStringTool::rtrim(vendor, ' ');
    }
    return vendor;
}

std::string recordPrefix(CScsiDeviceData& record) {
    const std::string& vendor = trimVendor(record);
    const std::string product = record.GetProductId();
    UdidText prefix(record);
    prefix.literal(udid_prefix);
    prefix.piece(recordPiece(record, Format::kRightTrimmedText, 8, 8, vendor));
    prefix.literal(udid_separator);
    prefix.piece(recordPiece(record, Format::kBlanksAsUnderscores, 16, 16, underscored(product)));
    prefix.literal(udid_separator);
    return CStringTool::tostrupper(prefix.str());
}

std::string formatted(const scsi::PageView& view, Format format, std::size_t offset,
                      std::size_t count) {
    constexpr char kLower[] = "0123456789abcdef";
    constexpr char kUpper[] = "0123456789ABCDEF";
    switch (format) {
        case Format::kTrimmedText:
            return CStringTool::trim(view.text(offset, count));
        case Format::kRightTrimmedText:
            return CStringTool::rtrim(view.text(offset, count), ' ');
        case Format::kBlanksAsUnderscores:
            return underscored(view.text(offset, count));
        case Format::kHexLower:
            return hexadecimal(view, offset, count, kLower, '\0', 1);
        case Format::kHexUpper:
            return hexadecimal(view, offset, count, kUpper, '\0', 1);
        case Format::kHexLowerColons:
            return hexadecimal(view, offset, count, kLower, ':', 1);
        case Format::kHexUpperDashes:
            return hexadecimal(view, offset, count, kUpper, '-', 2);
        case Format::kKindAndHexLower:
            return '5' + hexadecimal(view, offset, count, kLower, '\0', 1);
        case Format::kDecimalOfHexText:
            return decimal(view.text(offset, count), 16);
        case Format::kDecimalOfDecimalText:
            return decimal(view.text(offset, count), 10);
        default:
            return view.text(offset, count);
    }
}

void UdidText::literal(const std::string& text) {
    m_text += text;
    if (m_evidence != nullptr) {
        Piece own;
        own.text = text;
        m_evidence->added(own);
    }
}

void UdidText::bytes(const SourcePage& page, Format format, std::size_t offset, std::size_t count) {
    piece({format, page.code, offset, count, formatted(page.view, format, offset, count)});
}

void UdidText::piece(const Piece& piece) {
    m_text += piece.text;
    if (m_evidence != nullptr) {
        m_evidence->added(piece);
    }
}

void UdidText::field(const std::string& name, const std::string& text) {
    m_text += text;
    if (m_evidence != nullptr) {
        // A field that an overriding operation filled has no source that is known here.
        Piece source = m_evidence->fieldPiece(name);
        if (source.text != text) {
            source = Piece();
            source.text = text;
        }
        m_evidence->added(source);
    }
}

void UdidText::clear() {
    m_text.clear();
    if (m_evidence != nullptr) {
        m_evidence->cleared();
    }
}

}  // namespace udid
