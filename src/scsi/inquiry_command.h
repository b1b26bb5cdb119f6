#ifndef SCSITOOL_SCSI_INQUIRY_COMMAND_H
#define SCSITOOL_SCSI_INQUIRY_COMMAND_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "scsitool/host/host.h"
#include "scsitool/scsi/pages.h"

/// INQUIRY as SCSI_IOCTL_SEND_COMMAND carries it, and what the library makes of its answer.
namespace scsi {

/// Where the command descriptor block stands in the buffer, and then the response.
inline constexpr std::size_t kCommandBlock = 8;
inline constexpr std::uint8_t kInquiry = 0x12;
inline constexpr std::uint8_t kEvpd = 0x01;  ///< of byte 1: a vital product data page is asked for

/// The shortest INQUIRY data that a record is made of: vendor and product are whole.
inline constexpr unsigned kShortestInquiry = 32;

inline bool isInquiry(const host::CommandBuffer& buffer) {
    return buffer[kCommandBlock] == kInquiry;
}
inline bool asksForPage(const host::CommandBuffer& buffer) {
    return (buffer[kCommandBlock + 1] & kEvpd) != 0;
}

/// The VPD page that a request asks for, of one that `asksForPage`.
inline std::uint8_t pageAskedFor(const host::CommandBuffer& buffer) {
    return buffer[kCommandBlock + 2];
}
/// A response of nothing but zeros: the kernel hands it over for a command that never reached the
/// device. The shortest answer that a device can give states a length, or the page that it is.
inline bool isZero(const unsigned char* response) {
    return std::all_of(response, response + kVendorSpecific,
                       [](unsigned char byte) { return byte == 0; });
}

/// The length that the response itself states: PAGE LENGTH + 4, or ADDITIONAL LENGTH + 5.
inline std::size_t responseLength(const unsigned char* response, bool isPage) {
    return isPage ? response[kPageLengthLow] + kPageHeader
                  : response[kInquiryLength] + kInquiryHeader;
}

/// Peripheral qualifier 0 and peripheral device type 0: a connected direct access block device.
inline bool isDisk(unsigned char peripheral) {
    return peripheral == 0;
}

}  // namespace scsi

#endif
