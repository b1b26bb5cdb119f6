#ifndef SCSITOOL_SCSI_PAGES_H
#define SCSITOOL_SCSI_PAGES_H

#include <cstddef>

/// Where things stand in the answers to INQUIRY (SPC-4): said here once, for every layer.
namespace scsi {

/// Key of the standard INQUIRY data in a record's page map; the pages stand there under their
/// codes.
inline constexpr unsigned kInquiryData = 0;

inline constexpr unsigned kSupportedPages = 0x00;        ///< Supported VPD Pages
inline constexpr unsigned kUnitSerialNumber = 0x80;      ///< Unit Serial Number
inline constexpr unsigned kDeviceIdentification = 0x83;  ///< Device Identification
inline constexpr unsigned kFirstVendorPage = 0xC0;       ///< vendor-specific from here on

/// Vendor-specific pages in which array families keep names of their own.
inline constexpr unsigned kClariionArray = 0xC0;     ///< EMC CLARiiON: the array's serial number
inline constexpr unsigned kEngenioArray = 0xC8;      ///< LSI, and IBM FAStT: the array's name
inline constexpr unsigned kEngenioSubsystem = 0xD0;  ///< IBM DS: the subsystem's name

/// A VPD page: byte 1 its code, bytes 2 and 3 its page length, what the length counts from byte 4.
inline constexpr std::size_t kPageCode = 1;
inline constexpr std::size_t kPageLength = 2;
inline constexpr std::size_t kPageLengthLow = 3;  ///< the low byte of the page length
inline constexpr std::size_t kPageHeader = 4;

/// A designation descriptor of page 0x83: code set, association and designator type, a reserved
/// byte, the length of the designator that follows.
inline constexpr std::size_t kDescriptorLength = 3;
inline constexpr std::size_t kDescriptorHeader = 4;

/// A field of the standard INQUIRY data.
struct InquiryField {
    std::size_t offset;
    std::size_t length;
};
inline constexpr InquiryField kVendorField = {8, 8};     ///< T10 vendor identification
inline constexpr InquiryField kProductField = {16, 16};  ///< product identification
inline constexpr InquiryField kRevisionField = {32, 4};  ///< product revision level
inline constexpr std::size_t kInquiryLength = 4;         ///< additional length, of bytes 5 and on
inline constexpr std::size_t kInquiryHeader = 5;
inline constexpr std::size_t kVendorSpecific = 36;  ///< first vendor-specific byte

}  // namespace scsi

#endif
