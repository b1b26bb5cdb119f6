#ifndef SCSITOOL_UDID_LSI_UDID_GENERATOR_H
#define SCSITOOL_UDID_LSI_UDID_GENERATOR_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

/// LSI (Engenio) arrays and their multipath virtual disks (keys "ENGENIO" and "UNIVERSAL").
///
/// UDID: "UDID##ENGENIO##UNIVERSAL##", 32 lower-case hexadecimal digits for the array, "##", 32
/// upper-case hexadecimal digits for the unit.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CLsiUdidGenerator : public CUdidGenerator {
  public:
    CLsiUdidGenerator(std::string vendor, std::string product);
    ~CLsiUdidGenerator() override;

    /// Claims a record whose vendor equals "LSI" (not the vendor key) and whose product begins with
    /// "INF", "UNIVERSAL" or "MPP_VIRTUAL_DISK". Upper and lower case differ. The record's vendor
    /// and product lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// The array are bytes 90 to 105 of the vendor-specific VPD page 0xC8, the unit bytes 8 to 23
    /// of VPD page 0x83. Throws CUdidGeneratorException: invalid enclosure data, without keys, when
    /// page 0xC8 has fewer than 106 bytes; invalid page data when page 0x83 has fewer than 23;
    /// invalid device data when its page length (bytes 2 and 3) is 19 or less. Byte 23 of a page of
    /// 23 bytes reads as 0.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

#endif
