#ifndef SCSITOOL_UDID_GENERATOR_SUPPORT_H
#define SCSITOOL_UDID_GENERATOR_SUPPORT_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "scsitool/udid/udid_generator_exception.h"
#include "udid/udid_text.h"

/// What the generators of the array families have in common.
namespace udid {

inline constexpr unsigned kUnitSerialNumber = 0x80;      ///< SPC-4 Unit Serial Number
inline constexpr unsigned kDeviceIdentification = 0x83;  ///< SPC-4 Device Identification

/// First byte of a VPD page's payload, and of the first identifier in page 0x83.
inline constexpr std::size_t kPageHeader = 4;
inline constexpr std::size_t kFirstIdentifier = 8;
/// An NAA IEEE Registered Extended identifier has 16 bytes.
inline constexpr std::size_t kLongIdentifier = 16;

/// A page without bytes counts as missing.
inline bool isAvailable(const SourcePage& page) {
    return page.view.hasBuffer() && page.view.length() > 0;
}

/// Tells whether a page is missing or has fewer bytes than `needed`.
inline bool isShorter(const SourcePage& page, std::size_t needed) {
    return !page.view.hasBuffer() || page.view.length() < needed;
}

/// Compares a text of the record with one after the other of a family's strings, up to the first
/// that holds.
template <std::size_t Count>
bool matchesAny(const CScsiDeviceData& record, const char* field, const std::string& value,
                Rule rule, const std::array<std::string_view, Count>& expected) {
    for (const std::string_view text : expected) {
        if (matches(record, field, value, rule, text)) {
            return true;
        }
    }
    return false;
}

/// Some failures name no generator: what they complain of is the array, not the family's format.
[[noreturn]] inline void failWithoutKeys(const char* messageId) {
    throw CUdidGeneratorException(messageId, std::string(), std::string());
}

}  // namespace udid

#endif
