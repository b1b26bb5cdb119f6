#ifndef SCSITOOL_UDID_FUJITSU_UDID_GENERATOR_H
#define SCSITOOL_UDID_FUJITSU_UDID_GENERATOR_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

/// Fujitsu Eternus arrays (keys "FUJITSU" and "ETERNUS").
///
/// UDID: "UDID##FUJITSU##ETERNUS##", the array's identifier of up to 8 characters, "##", the unit's
/// name in 32 upper-case hexadecimal digits.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CFujitsuEternusUdidGenerator : public CUdidGenerator {
  public:
    CFujitsuEternusUdidGenerator(std::string vendor, std::string product);
    ~CFujitsuEternusUdidGenerator() override;

    /// Claims a record whose vendor equals "FUJITSU" and whose product begins with "ETERNUS". Upper
    /// and lower case differ. The record's vendor, and its product when the vendor fits, lose their
    /// trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// The array's identifier is the text in bytes 36 to 43 of the standard INQUIRY data, up to its
    /// first NUL and without blanks at either end; the unit's name are bytes 8 to 23 of VPD page
    /// 0x83. Throws CUdidGeneratorException: invalid enclosure data, without keys, for fewer than
    /// 44 bytes of INQUIRY data; invalid page data when page 0x83 has fewer than 24 bytes.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

#endif
