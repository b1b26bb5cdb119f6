#ifndef SCSITOOL_UDID_HITACHI_UDID_GENERATORS_H
#define SCSITOOL_UDID_HITACHI_UDID_GENERATORS_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

/// Hitachi enterprise and modular arrays (keys "HITACHI" and "HDS").
///
/// UDID: "UDID##HITACHI##HDS##", the array's serial number, "##", the number of the logical device
/// (LDEV), both in decimal.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CHitachiUdidGenerator : public CUdidGenerator {
  public:
    CHitachiUdidGenerator(std::string vendor, std::string product);
    ~CHitachiUdidGenerator() override;

    /// Claims a record whose vendor equals "HITACHI" and whose product begins with "9200",
    /// "9500V", "DF600F", "DF600F-V", "OPEN-V", "OPEN-0V", "9900", "9910", "9980V", "9970V",
    /// "9960" or "USP". Upper and lower case differ. The record's vendor, and its product when the
    /// vendor fits, lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// Reads the vendor-specific text in bytes 36 to 55 of the standard INQUIRY data. The serial
    /// number is, for a text that begins with "D6", the hexadecimal number in bytes 40 to 43; with
    /// "7", the decimal number in bytes 36 to 43; with "50", the hexadecimal number in bytes 39 to
    /// 43; else the hexadecimal number in bytes 40 to 43. The LDEV is the hexadecimal number in
    /// bytes 44 to 47. Numbers are read as strtol does, what is no number is 0. Throws
    /// CUdidGeneratorException, invalid page data, for INQUIRY data of 55 bytes or less.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

/// The same arrays under the name HP XP (keys "HP" and "XP").
///
/// UDID: "UDID##HP##XP##", the array's serial number, "##", the number of the logical device, both
/// in decimal.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CHpXpUdidGenerator : public CUdidGenerator {
  public:
    CHpXpUdidGenerator(std::string vendor, std::string product);
    ~CHpXpUdidGenerator() override;

    /// Claims a record whose vendor equals "HP" and whose product begins with "OPEN-V" or
    /// "OPEN-0V". Upper and lower case differ. The record's vendor, and its product when the
    /// vendor fits, lose their trailing blanks.
    bool claimDevice(CScsiDeviceData* device) override;

    /// Reads the vendor-specific text in bytes 36 to 55 of the standard INQUIRY data. The serial
    /// number is the hexadecimal number in bytes 39 to 43 of a text that begins with "50" and 0 of
    /// every other: LDEVs of the same number in two such arrays get the same UDID. The LDEV is the
    /// hexadecimal number in bytes 44 to 47. Throws CUdidGeneratorException, invalid page data,
    /// for INQUIRY data of 55 bytes or less.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

#endif
