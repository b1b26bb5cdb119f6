#include "cli/mailed/page_kind.h"

#include <algorithm>
#include <optional>

#include "scsitool/scsi/pages.h"

namespace cli::mailed {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kShortestInquiry = 36;
constexpr std::size_t kLongestCutPage = 4096;
constexpr std::uint8_t kFirstNamedPage = 0x80;  // those below hold text or lists

/// Bytes from a place on.
class Rest {
  public:
    Rest(const Bytes& bytes, std::size_t start) : m_bytes(bytes), m_start(start) {}
    std::size_t size() const { return m_bytes.size() - m_start; }
    std::uint8_t operator[](std::size_t offset) const { return m_bytes[m_start + offset]; }
    Bytes first(std::size_t count) const {
        const auto begin = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_start);
        return {begin, begin + static_cast<std::ptrdiff_t>(std::min(count, size()))};
    }
    bool isZero() const {
        return std::all_of(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_start), m_bytes.end(),
                           [](std::uint8_t byte) { return byte == 0; });
    }

  private:
    const Bytes& m_bytes;
    std::size_t m_start;
};

// Vendor and product are characters, and the response format is one of SCSI-2 or later.
bool isStandard(const Rest& rest) {
    if (rest.size() < kShortestInquiry || (rest[1] & 0x7FU) != 0) {
        return false;
    }
    const unsigned format = rest[3] & 0x0FU;
    if (format != 1 && format != 2) {
        return false;
    }
    const std::size_t end = scsi::kProductField.offset + scsi::kProductField.length;
    for (std::size_t i = scsi::kVendorField.offset; i < end; ++i) {
        if (rest[i] != 0 && (rest[i] < ' ' || rest[i] > '~')) {
            return false;
        }
    }
    return rest[scsi::kVendorField.offset] != 0;
}

std::size_t statedLength(const Rest& rest) {
    return scsi::kPageHeader + rest[scsi::kPageLength] * std::size_t{256} +
           rest[scsi::kPageLengthLow];
}

// A page that is cut off is taken for one when its header is that of a connected disk.
bool isVpd(const Rest& rest) {
    if (rest.size() < scsi::kPageHeader || rest.isZero()) {
        return false;
    }
    const std::size_t length = statedLength(rest);
    const std::uint8_t code = rest[scsi::kPageCode];
    if (code == scsi::kSupportedPages) {
        return length > scsi::kPageHeader && length <= rest.size() && rest[scsi::kPageHeader] == 0;
    }
    const bool isOfDisk = rest[0] == 0 && code >= kFirstNamedPage && length <= kLongestCutPage;
    return length > scsi::kPageHeader && (length <= rest.size() || isOfDisk);
}

std::optional<FoundPage> firstOf(const Rest& rest) {
    FoundPage page;
    const bool isExact = isVpd(rest) && rest[scsi::kPageCode] >= kFirstNamedPage &&
                         statedLength(rest) == rest.size();
    if (!isExact && isStandard(rest)) {
        page.isStandard = true;
        page.bytes = rest.first(std::max<std::size_t>(
            kShortestInquiry, rest[scsi::kInquiryLength] + std::size_t{scsi::kInquiryHeader}));
        return page;
    }
    if (!isVpd(rest)) {
        return std::nullopt;
    }
    page.code = rest[scsi::kPageCode];
    page.bytes = rest.first(statedLength(rest));
    return page;
}

}  // namespace

FoundPages pagesIn(const Bytes& bytes) {
    FoundPages found;
    std::size_t start = 0;
    while (start < bytes.size()) {
        const Rest rest(bytes, start);
        std::optional<FoundPage> page = firstOf(rest);
        if (!page) {
            found.rest = found.pages.empty() || !rest.isZero() ? rest.size() : 0;
            break;
        }
        start += page->bytes.size();
        found.pages.push_back(std::move(*page));
    }
    return found;
}

}  // namespace cli::mailed
