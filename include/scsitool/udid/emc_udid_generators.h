#ifndef SCSITOOL_UDID_EMC_UDID_GENERATORS_H
#define SCSITOOL_UDID_EMC_UDID_GENERATORS_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

/// EMC CLARiiON, VNX and CX arrays (keys "DGC" and empty).
///
/// UDID: "UDID##DGC##CLARIION##", the array's serial number, "##", the 16 bytes of the unit's NAA
/// name as lower-case hexadecimal pairs with ":" between them.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CEmcClariionUdidGenerator : public CUdidGenerator {
  public:
    CEmcClariionUdidGenerator(std::string vendor, std::string product);
    ~CEmcClariionUdidGenerator() override;

    /// Claims a record whose vendor equals the vendor key and whose product contains "RAID",
    /// "DISK", "VNX" or "CX". Upper and lower case differ. The record's vendor, and its product
    /// when the vendor fits, lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// "UDID##", vendor key, "##CLARIION##", in upper case. The record is not consulted.
    std::string getUniqueDeviceIDPrefix(CScsiDeviceData* device) override;

    /// The serial number stands in the vendor-specific VPD page 0xC0: length in byte 49, text from
    /// byte 50, at most 14 characters. One that is not alphanumeric is replaced by the product
    /// serial number of VPD page 0x80 (length in byte 3, text from byte 4); when that one fails
    /// too it stands in the UDID all the same, without "##" after it. The unit's name are bytes 8
    /// to 23 of VPD page 0x83, the identifier of its first designator. Throws
    /// CUdidGeneratorException: invalid page size (without keys) when a serial's length byte plus
    /// its first byte exceed the page; invalid device data when page 0x83 is missing or has fewer
    /// than 23 bytes. Byte 23 of a page of 23 bytes reads as 0.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;

    /// Appends the array serial number to `out`: at most 14 characters of the page from byte
    /// `start`, up to the first NUL. `lengthIndex` is the byte that holds the serial's length,
    /// `pageLength` the number of bytes in the page; `page` and the bytes stay the caller's and
    /// are not changed. Gives true, and appends "##" as well, when all of `out` is alphanumeric.
    /// A page without bytes is a failed check. Throws CUdidGeneratorException: invalid page data
    /// when `page` is null; invalid page size, without keys, when the length byte plus `start`
    /// exceed `pageLength`. Traces the serial (level 3) or what was rejected (level 2).
    virtual bool checkForArraySerialNo(unsigned char** page, unsigned int pageLength,
                                       int lengthIndex, int start, std::string& out);
};

/// EMC Symmetrix arrays (keys "EMC" and "SYMMETRIX"; claimed by the base rule: vendor and product
/// equal the keys).
///
/// UDID: "UDID##EMC##SYMMETRIX##00", ten lower-case hexadecimal digits, "##", up to four
/// characters.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CEmcSymmetrixUdidGenerator : public CUdidGenerator {
  public:
    CEmcSymmetrixUdidGenerator(std::string vendor, std::string product);
    ~CEmcSymmetrixUdidGenerator() override;

    /// Reads the vendor-specific bytes of the standard INQUIRY data: the digits are bytes 124 to
    /// 128; the characters are "0" and bytes 38 to 40 when byte 132 is 0, else bytes 132 to 135,
    /// up to the first NUL. Throws CUdidGeneratorException, invalid page data, when there are
    /// fewer than 132 bytes of INQUIRY data; what lies past their end reads as 0.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

#endif
