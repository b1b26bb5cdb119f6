#ifndef SCSITOOL_TESTS_PAGE_BUILDER_H
#define SCSITOOL_TESTS_PAGE_BUILDER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "scsitool/scsi/device_scsi_data.h"

#if defined(__SANITIZE_ADDRESS__)
#define SCSITOOL_TESTS_POISONED_GUARD 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SCSITOOL_TESTS_POISONED_GUARD 1
#endif
#endif
#ifdef SCSITOOL_TESTS_POISONED_GUARD
#include <sanitizer/asan_interface.h>
#endif

namespace test {

using Bytes = std::vector<std::uint8_t>;

/// `count` different bytes, none of them NUL or the guard's: `first`, `first` + 1, ...
inline Bytes counting(std::size_t count, std::uint8_t first = 1) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(first + i);
    }
    return bytes;
}

/// The bytes of one page while they are put together.
class Page {
  public:
    explicit Page(Bytes bytes = {}) : m_bytes(std::move(bytes)) {}

    /// Standard INQUIRY data of a connected disk (SPC-4, response format 2): as many bytes as
    /// `length`, the vendor-specific ones 0.
    static Page inquiry(const std::string& vendor, const std::string& product,
                        std::size_t length = 96, const std::string& revision = "0001") {
        Page page(Bytes(std::max<std::size_t>(length, 36)));
        page.set(2, 0x06).set(3, 0x02).set(7, 0x02);
        page.field(8, 8, vendor).field(16, 16, product).field(32, 4, revision);
        page.cut(length);
        return length > 4 ? page.set(4, static_cast<std::uint8_t>(length - 5)) : page;
    }

    /// A VPD page of `length` bytes, header included: its page length field says so.
    static Page vpd(std::uint8_t code, std::size_t length) {
        Page page(Bytes(std::max<std::size_t>(length, 4)));
        page.set(1, code).pageLength(page.size() - 4);
        return page.cut(length);
    }

    /// The Supported VPD Pages page.
    static Page supported(const Bytes& codes) {
        return vpd(0x00, 4 + codes.size()).bytes(4, codes);
    }

    /// The Unit Serial Number page.
    static Page serial(const std::string& text) { return vpd(0x80, 4 + text.size()).text(4, text); }

    /// The Device Identification page without designators.
    static Page names() { return vpd(0x83, 4); }

    /// Appends a designation descriptor to a Device Identification page.
    Page& designator(unsigned codeSet, unsigned association, unsigned type, const Bytes& value) {
        m_bytes.push_back(static_cast<std::uint8_t>(codeSet));
        m_bytes.push_back(static_cast<std::uint8_t>(association << 4 | type));
        m_bytes.push_back(0);
        m_bytes.push_back(static_cast<std::uint8_t>(value.size()));
        m_bytes.insert(m_bytes.end(), value.begin(), value.end());
        return pageLength(m_bytes.size() - 4);
    }
    /// Appends a binary NAA designator of the logical unit.
    Page& naa(const Bytes& value) { return designator(1, 0, 3, value); }

    Page& set(std::size_t offset, std::uint8_t value) {
        m_bytes.at(offset) = value;
        return *this;
    }
    Page& bytes(std::size_t offset, const Bytes& values) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            set(offset + i, values[i]);
        }
        return *this;
    }
    Page& text(std::size_t offset, const std::string& characters) {
        return bytes(offset, Bytes(characters.begin(), characters.end()));
    }
    /// Text in a field of fixed width, padded with blanks.
    Page& field(std::size_t offset, std::size_t width, std::string characters) {
        characters.resize(width, ' ');
        return text(offset, characters);
    }
    /// Writes the page length field (bytes 2 and 3) alone.
    Page& pageLength(std::size_t length) {
        return set(2, static_cast<std::uint8_t>(length >> 8))
            .set(3, static_cast<std::uint8_t>(length));
    }
    /// Makes the page `length` bytes long and leaves its length fields as they are.
    Page& cut(std::size_t length) {
        m_bytes.resize(length);
        return *this;
    }

    std::size_t size() const { return m_bytes.size(); }
    const Bytes& data() const { return m_bytes; }

  private:
    Bytes m_bytes;
};

/// A guard behind every stored page: a byte read past the page's end shows as 0xA5 in a text, and
/// ends the test under the address sanitizer.
inline constexpr std::size_t kGuardBytes = 512;
inline constexpr std::uint8_t kGuard = 0xA5;

/// Stores a page in the record, the guard behind it. The page stays in place until the record's
/// page map changes; a copy of the record has no guard.
inline void store(CScsiDeviceData& record, unsigned code, const Bytes& bytes) {
    auto* const buffer = new unsigned char[bytes.size() + kGuardBytes];
    std::copy(bytes.begin(), bytes.end(), buffer);
    std::fill_n(buffer + bytes.size(), kGuardBytes, kGuard);
#ifdef SCSITOOL_TESTS_POISONED_GUARD
    ASAN_POISON_MEMORY_REGION(buffer + bytes.size(), kGuardBytes);
#endif
    CScsiModePage& page = record.m_pages[code];
    page.buffer.reset(new AdapterAutoPtrArray<unsigned char>(buffer));
    page.length = static_cast<std::uint32_t>(bytes.size());
}

inline void store(CScsiDeviceData& record, unsigned code, const Page& page) {
    store(record, code, page.data());
}

/// A page that the map holds without a buffer.
inline void storeEmpty(CScsiDeviceData& record, unsigned code) {
    CScsiModePage& page = record.m_pages[code];
    page.buffer.reset();
    page.length = 0;
}

/// A record as discovery makes it, its vendor and product padded as INQUIRY data has them.
inline CScsiDeviceData recordOf(const std::string& vendor, const std::string& product,
                                const std::string& deviceName = "/dev/sda") {
    CScsiDeviceData record(deviceName, "", "db01", 0, 0, 0, -1, vendor, product, "", 0);
    record.m_vendorId.resize(std::max<std::size_t>(vendor.size(), 8), ' ');
    record.m_productId.resize(std::max<std::size_t>(product.size(), 16), ' ');
    record.m_supportedPages = {0x00, 0x80, 0x83};
    return record;
}

}  // namespace test

#endif
