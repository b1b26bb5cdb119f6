#ifndef SCSITOOL_UDID_IBM_UDID_GENERATORS_H
#define SCSITOOL_UDID_IBM_UDID_GENERATORS_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

/// IBM ESS, DS8000, DS6000 and SVC (products "2105", "2107", "1750", "2145") and the FAStT models
/// "3552" and "3542" (keys "IBM" and "TOTALSTORAGE").
///
/// UDID: "UDID##IBM##TOTALSTORAGE##IBM.", the product number, "-", the array's serial number, "##",
/// four lower-case hexadecimal digits for the unit.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CIbmUdidGenerator : public CUdidGenerator {
  public:
    CIbmUdidGenerator(std::string vendor, std::string product);
    ~CIbmUdidGenerator() override;

    /// Claims a record whose vendor begins with "IBM" and whose product `isESS` or else `isFASTT`
    /// knows. Upper and lower case differ. The record's vendor, and its product when the vendor
    /// fits, lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// The array's part: of a "2107", at most 7 characters from byte 36 of the standard INQUIRY
    /// data (nothing at all, not even the product, when there is no INQUIRY data); of a FAStT,
    /// bytes 90 to 105 of the vendor-specific VPD page 0xC8 in lower-case hexadecimal digits; of
    /// every other, at most 7 characters from byte 4 of VPD page 0x80. The unit are bytes 22 and 23
    /// of VPD page 0x83. Throws CUdidGeneratorException: invalid page size, without keys, for 42
    /// bytes of INQUIRY data or less and for a page 0x80 whose page length (byte 3) exceeds the
    /// bytes it has; invalid page data when page 0x80 is missing, page 0xC8 has fewer than 106
    /// bytes or page 0x83 fewer than 23; invalid enclosure data, without keys, for a product that
    /// is neither. Byte 23 of a page of 23 bytes reads as 0.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;

    /// Tells whether the product contains "2105", "2107", "1750" or "2145".
    virtual bool isESS(std::string product);
    /// Tells whether the product contains "3552" or "3542".
    virtual bool isFASTT(std::string product);
};

/// IBM DS models "1722", "1724", "1742", "1815" and "1814" (keys "IBM" and "DISKSYSTEM").
///
/// UDID: "UDID##IBM##DISKSYSTEM##IBM.", the product number, "-", the array's part, "##", the unit's
/// name in 16 lower-case hexadecimal pairs with ":" between them.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CIbmDsUdidGenerator : public CUdidGenerator {
  public:
    CIbmDsUdidGenerator(std::string vendor, std::string product);
    ~CIbmDsUdidGenerator() override;

    /// Claims a record whose vendor begins with "IBM" and whose product `isESS` or else `isFASTT`
    /// knows. Upper and lower case differ. The record's vendor, and its product when the vendor
    /// fits, lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// The array's part: of a "1724", the text from byte 36 of the standard INQUIRY data up to its
    /// first NUL or its end (nothing at all, not even the product, for 42 bytes of INQUIRY data or
    /// less); of every other, bytes 8 to 23 of the vendor-specific VPD page 0xD0 in lower-case
    /// hexadecimal digits, or nothing when that page has fewer than 23 bytes. VPD page 0x80 must be
    /// there, but its serial number does not enter the UDID. The unit's name are bytes 8 to 23 of
    /// VPD page 0x83. Throws CUdidGeneratorException: invalid page data when page 0x80 is missing
    /// or page 0x83 has fewer than 23 bytes; invalid page size, without keys, when the page length
    /// of page 0x80 (byte 3) exceeds the bytes it has; invalid enclosure data, without keys, for a
    /// product that is neither; for a product that `isFASTT` alone knows, invalid page data when
    /// the vendor-specific VPD page 0xC8 has fewer than 106 bytes. Byte 23 of a page of 23 bytes
    /// reads as 0.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;

    /// The same test as `isFASTT`.
    virtual bool isESS(std::string product);
    /// Tells whether the product contains "1722", "1724", "1742", "1815" or "1814".
    virtual bool isFASTT(std::string product);
};

#endif
