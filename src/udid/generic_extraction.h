#ifndef SCSITOOL_UDID_GENERIC_EXTRACTION_H
#define SCSITOOL_UDID_GENERIC_EXTRACTION_H

#include <algorithm>
#include <cstddef>
#include <string>

#include "scsitool/scsi/pages.h"
#include "scsitool/udid/udid_text.h"
#include "udid/page_title.h"

/// What the parts of the generic extraction share.
namespace udid::generic {

inline constexpr int kTaken = 0;
inline constexpr int kNotTaken = 1;

/// Vendor and model in front of an identifier that the vendor chose.
inline constexpr int kVendorModelLength = scsi::kVendorField.length + scsi::kProductField.length;
/// The digit in front of every identifier.
inline constexpr std::size_t kKindLength = 1;

/// Designators (SPC-4): type, code set, association.
inline constexpr unsigned char kVendorSpecific = 0;
inline constexpr unsigned char kT10VendorId = 1;
inline constexpr unsigned char kEui64 = 2;
inline constexpr unsigned char kNaa = 3;
inline constexpr unsigned char kTargetPortGroup = 5;
inline constexpr unsigned char kBinary = 1;
inline constexpr unsigned char kAscii = 2;
inline constexpr unsigned kLogicalUnit = 0;
inline constexpr unsigned kTargetPort = 1;

inline constexpr unsigned char kAnyNaa = 255;

/// A length that a caller gave as a signed number; nothing fits into one below 0.
inline std::size_t sizeOf(int length) {
    return static_cast<std::size_t>(std::max(length, 0));
}

/// Reports where the short serial came from.
inline void reportShortSerial(Format format, unsigned page, std::size_t offset, std::size_t length,
                              const char* text) {
    if (Reporter* const listener = reporter()) {
        listener->found("serialShort", {format, page, offset, length, text});
    }
}

/// Remarks that a page says that it is another one.
inline void remarkOtherCode(const SourcePage& page) {
    if (reporter() != nullptr) {
        const std::string other = pageTitle(page.view[scsi::kPageCode], true);
        remark((pageTitle(page.code) + " says that it is " + other).c_str());
    }
}

}  // namespace udid::generic

#endif
