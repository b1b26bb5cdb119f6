#ifndef SCSITOOL_UDID_HP_UDID_GENERATORS_H
#define SCSITOOL_UDID_HP_UDID_GENERATORS_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

/// HP EVA controllers (keys "HP" and "HSV").
///
/// UDID: "UDID##HP##HSV##", the controller's node name in four groups of four upper-case
/// hexadecimal digits, "##", the unit's name in eight such groups, "-" between the groups.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CHpEvaUdidGenerator : public CUdidGenerator {
  public:
    CHpEvaUdidGenerator(std::string vendor, std::string product);
    ~CHpEvaUdidGenerator() override;

    /// Claims a record whose vendor equals "COMPAQ" or "HP" and whose product begins with "HSV".
    /// Upper and lower case differ. The record's vendor and product lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// The node name are bytes 130 to 137 of the standard INQUIRY data, the unit's name bytes 8 to
    /// 23 of VPD page 0x83. Throws CUdidGeneratorException: invalid enclosure data, without keys,
    /// for INQUIRY data of 136 bytes or less; invalid page data when page 0x83 has fewer than 23
    /// bytes; invalid device data when its page length (bytes 2 and 3) is 19 or less. A byte past
    /// a page's end reads as 0.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

/// HP MSA arrays (keys "HP" and "MSA").
///
/// UDID: "UDID##HP##MSA##", the array's serial number, "##", the unit's name, both as text.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CHpMsaUdidGenerator : public CUdidGenerator {
  public:
    CHpMsaUdidGenerator(std::string vendor, std::string product);
    ~CHpMsaUdidGenerator() override;

    /// Claims a record whose product contains "MSA" and whose vendor contains "COMPAQ" or "HP",
    /// wherever they stand: looser than its siblings, on purpose. Upper and lower case differ. The
    /// record's vendor and product lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// The serial number is the text in bytes 96 to 109 of the standard INQUIRY data, the unit's
    /// name the text in bytes 36 to 67 of VPD page 0x83, each up to its first NUL. Throws
    /// CUdidGeneratorException, invalid device data, for INQUIRY data of fewer than 120 bytes or a
    /// page 0x83 of fewer than 68.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

/// HP 3PAR arrays (keys "HP" and "3PAR").
///
/// UDID: "UDID##HP##3PAR##", the unit serial number, "##", the unit's name in 32 upper-case
/// hexadecimal digits.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CHp3parUdidGenerator : public CUdidGenerator {
  public:
    CHp3parUdidGenerator(std::string vendor, std::string product);
    ~CHp3parUdidGenerator() override;

    /// Claims a record whose vendor equals "3PARdata" and whose product equals "VV". Upper and
    /// lower case differ. The record's vendor and product lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// The serial number is that of VPD page 0x80 (as many bytes from byte 4 as byte 3 says), up
    /// to its first NUL and without blanks at either end; the unit's name are bytes 8 to 23 of VPD
    /// page 0x83. Throws CUdidGeneratorException: invalid enclosure data, without keys, when page
    /// 0x80 has fewer than 12 bytes; invalid page data when page 0x83 has fewer than 16. A byte
    /// past a page's end reads as 0.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

#endif
