#ifndef SCSITOOL_RECORDING_REDACTION_PAGE_FIELDS_H
#define SCSITOOL_RECORDING_REDACTION_PAGE_FIELDS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "recording/replay/recorded_host_data.h"

namespace recording {

/// A part of an INQUIRY response that names a thing. What lies outside of all of them, a header, a
/// length, vendor, product and firmware, stays as it is.
struct PageField {
    enum class Kind {
        kText,    ///< characters: a serial number
        kBinary,  ///< bytes that are a name: NAA, EUI-64
        kRegion,  ///< the maker's own bytes, with whatever is in them
    };
    std::size_t offset;
    std::size_t length;
    Kind kind;
};

/// The fields of the standard INQUIRY data: the maker's bytes behind it (36-55 and 96 on), cut
/// where a family is known to keep its own numbers there.
std::vector<PageField> fieldsOfInquiry(const Bytes& data);

/// The fields of a VPD page: the serial number of page 0x80, the designators of page 0x83 (SPC:
/// but for port numbers and the T10 vendor identification), the array names in pages 0xC8 and
/// 0xD0, and all else of the makers' own pages. `isKnownWord` tells words of a product's name.
std::vector<PageField> fieldsOfPage(std::uint8_t code, const Bytes& page,
                                    const std::function<bool(const std::string&)>& isKnownWord);

}  // namespace recording

#endif
