#ifndef SCSITOOL_SCSI_PAGE_VIEW_H
#define SCSITOOL_SCSI_PAGE_VIEW_H

#include <string.h>

#include <algorithm>
#include <cstddef>
#include <string>

#include "scsitool/scsi/device_scsi_data.h"

namespace scsi {

/// A page seen through a window that gives 0 for every byte past its stored end: a length check
/// that is kept looser than what is read after it stays harmless.
class PageView {
  public:
    PageView() = default;
    PageView(const unsigned char* bytes, std::size_t length)
        : m_bytes(length != 0 ? bytes : nullptr), m_length(bytes != nullptr ? length : 0) {}
    explicit PageView(const CScsiModePage& page) : PageView(page.bytes(), page.length) {}

    /// Tells whether there are bytes at all: a page of length 0 counts as missing.
    bool hasBuffer() const { return m_bytes != nullptr; }
    std::size_t length() const { return m_length; }
    /// The stored bytes, `length` of them.
    const unsigned char* data() const { return m_bytes; }

    unsigned char operator[](std::size_t offset) const {
        return offset < m_length ? m_bytes[offset] : static_cast<unsigned char>(0);
    }

    /// Big-endian 16 bits, as SCSI has its length fields.
    unsigned word(std::size_t offset) const {
        return static_cast<unsigned>((*this)[offset]) << 8 | (*this)[offset + 1];
    }

    /// At most `count` bytes as text, up to the first NUL or the end of the page.
    std::string text(std::size_t offset, std::size_t count) const {
        if (offset >= m_length) {
            return std::string();
        }
        const char* const first = reinterpret_cast<const char*>(m_bytes) + offset;
        return std::string(first, ::strnlen(first, std::min(count, m_length - offset)));
    }

    /// Exactly `count` bytes; those past the end are 0.
    std::string bytes(std::size_t offset, std::size_t count) const {
        std::string result(count, '\0');
        const std::size_t held = offset < m_length ? std::min(count, m_length - offset) : 0;
        std::copy_n(m_bytes + (held > 0 ? offset : 0), held, result.begin());
        return result;
    }

  private:
    const unsigned char* m_bytes = nullptr;
    std::size_t m_length = 0;
};

}  // namespace scsi

#endif
