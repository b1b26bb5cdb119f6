#include "scsitool/udid/udid_text.h"

#include <algorithm>
#include <cstdint>

#include "udid/format_table.h"
#include "udid/page_title.h"

namespace udid {
namespace {

constexpr std::size_t kUsualLength = 80;

// The designator that a volume's name is taken from: binary, of the logical unit, NAA IEEE
// Registered Extended, 16 bytes (SPC-4, designation descriptor).
constexpr std::size_t kDescriptor = scsi::kPageHeader;
constexpr std::size_t kName = kDescriptor + scsi::kDescriptorHeader;
constexpr std::size_t kNameBytes = 16;
constexpr unsigned kBinary = 1;
constexpr unsigned kLogicalUnit = 0;
constexpr unsigned kNaa = 3;
constexpr unsigned kRegisteredExtended = 6;

// A page without bytes counts as missing.
bool hasFewer(const SourcePage& page, std::size_t needed) {
    return !page.view.hasBuffer() || page.view.length() < needed;
}

// "page 0x83 has 52 bytes, 68 are needed".
std::string shortage(const SourcePage& page, std::size_t needed) {
    std::string text = pageTitle(page.code);
    if (!page.view.hasBuffer()) {
        return text + " is missing";
    }
    text += " has " + std::to_string(page.view.length()) + " bytes, ";
    return text + std::to_string(needed) + " are needed";
}

void remarkOtherName(const SourcePage& names) {
    const unsigned codeSet = names.view[kDescriptor] & 0xFU;
    const unsigned association = names.view[kDescriptor + 1] >> 4 & 3U;
    const unsigned type = names.view[kDescriptor + 1] & 0xFU;
    const unsigned length = names.view[kDescriptor + scsi::kDescriptorLength];
    const unsigned naa = names.view[kName] >> 4U;
    if (codeSet != kBinary || association != kLogicalUnit || type != kNaa || length != kNameBytes ||
        naa != kRegisteredExtended) {
        std::string text =
            "bytes 8 to 23 of page 0x83 are no NAA name of the logical unit: the first designator "
            "has code set " +
            std::to_string(codeSet) + ", association " + std::to_string(association) + ", type " +
            std::to_string(type) + ", " + std::to_string(length) + " bytes";
        if (type == kNaa) {
            text += ", NAA format " + std::to_string(naa);
        }
        remark(text.c_str());
    }
}

}  // namespace

std::string pageTitle(unsigned page, bool isVpd) {
    constexpr char kDigits[] = "0123456789abcdef";
    if (page == kInquiryData && !isVpd) {
        return "the standard INQUIRY data";
    }
    return std::string("page 0x") + kDigits[page >> 4 & 0xF] + kDigits[page & 0xF];
}

void fail(const Failure& failure, const std::string& reason) {
    remark(reason.c_str());
    const CUdidGenerator* const generator = failure.generator;
    throw CUdidGeneratorException(failure.messageId,
                                  generator != nullptr ? generator->vendorKey() : std::string(),
                                  generator != nullptr ? generator->productKey() : std::string());
}

SourcePage takePage(const CScsiDeviceData& record, unsigned code) {
    SourcePage page = {code, {}};
    const auto stored = record.m_pages.find(code);
    if (stored != record.m_pages.end()) {
        page.view = scsi::PageView(stored->second);
    }
    if (Reporter* const listener = reporter()) {
        listener->readPage(code, page.view);
    }
    return page;
}

SourcePage require(const CScsiDeviceData& record, unsigned code, std::size_t needed,
                   const Failure& failure) {
    const SourcePage page = takePage(record, code);
    requireBytes(page, needed, failure);
    return page;
}

void requireBytes(const SourcePage& page, std::size_t needed, const Failure& failure) {
    if (hasFewer(page, needed)) {
        fail(failure, shortage(page, needed));
    }
}

SourcePage takeIfLong(const CScsiDeviceData& record, unsigned code, std::size_t needed,
                      const char* lacking) {
    const SourcePage page = takePage(record, code);
    if (!hasFewer(page, needed)) {
        return page;
    }
    if (reporter() != nullptr) {
        remark((shortage(page, needed) + ": " + lacking).c_str());
    }
    return {code, {}};
}

void requirePageLength(const SourcePage& page, unsigned needed, const Failure& failure) {
    decides(page, scsi::kPageLength, sizeof(std::uint16_t));
    const unsigned length = page.view.word(scsi::kPageLength);
    if (length < needed) {
        fail(failure, "the page length of " + pageTitle(page.code) + " is " +
                          std::to_string(length) + ", at least " + std::to_string(needed) +
                          " is needed");
    }
}

void decides(const SourcePage& page, std::size_t offset, std::size_t length) {
    if (IdentityReporter* const listener = identityReporter()) {
        listener->decided(page.code, offset, length);
    }
}

void remark(const char* text) {
    if (Reporter* const listener = reporter()) {
        listener->remarked(text);
    }
}

UdidText::UdidText() : m_reporter(reporter()) {
    m_text.reserve(kUsualLength);
}

void UdidText::literal(std::string_view text) {
    m_text += text;
    if (m_reporter != nullptr) {
        Piece own;
        own.text = std::string(text);
        m_reporter->added(own);
    }
}

void UdidText::bytes(const SourcePage& page, Format format, std::size_t offset, std::size_t count) {
    piece({format, page.code, offset, count, formatted(page.view, format, offset, count)});
}

void UdidText::unitName(const SourcePage& names, Format format) {
    if (m_reporter != nullptr) {
        remarkOtherName(names);
    }
    fact(Fact::kVolumeId, names, format, kName, kNameBytes);
}

void UdidText::fact(Fact fact, const SourcePage& page, Format format, std::size_t offset,
                    std::size_t count) {
    const std::size_t start = size();
    bytes(page, format, offset, count);
    says(fact, start);
}

void UdidText::recordField(const CScsiDeviceData& record, Format format,
                           const scsi::InquiryField& source, const std::string& text) {
    if (m_reporter == nullptr) {
        m_text += text;
        return;
    }
    Piece taken = {format, kNoPage, 0, 0, text};
    const auto inquiry = record.m_pages.find(kInquiryData);
    if (inquiry != record.m_pages.end() &&
        formatted(scsi::PageView(inquiry->second), format, source.offset, source.length) == text) {
        taken.page = kInquiryData;
        taken.offset = source.offset;
        taken.length = source.length;
    }
    piece(taken);
}

void UdidText::piece(const Piece& piece) {
    m_text += piece.text;
    if (m_reporter != nullptr) {
        m_reporter->added(piece);
    }
}

void UdidText::field(const char* name, std::string_view text) {
    m_text += text;
    if (m_reporter != nullptr) {
        m_reporter->addedField(name, std::string(text));
    }
}

void UdidText::says(Fact fact, std::size_t start) const {
    if (IdentityReporter* const listener = identityReporter()) {
        listener->told(fact, m_text.substr(std::min(start, m_text.size())));
    }
}

void UdidText::clear() {
    m_text.clear();
    if (m_reporter != nullptr) {
        m_reporter->cleared();
    }
}

}  // namespace udid
