#ifndef SCSITOOL_UDID_NETAPP_UDID_GENERATOR_H
#define SCSITOOL_UDID_NETAPP_UDID_GENERATOR_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

/// NetApp LUNs (keys "NETAPP" and "LUN"; claimed by the base rule: vendor and product equal the
/// keys). The one generator that asks the device itself.
///
/// UDID: "UDID##NETAPP##LUN##", the controller's identifier, "##", 24 lower-case hexadecimal
/// digits.
///
/// A record is used by one thread at a time; the generator itself keeps no state.
class SCSITOOL_EXPORT CNetAppUdidGenerator : public CUdidGenerator {
  public:
    CNetAppUdidGenerator(std::string vendor, std::string product);
    ~CNetAppUdidGenerator() override;

    /// Asks the controller for its identifier (`getEnclosureID`) and takes the digits from bytes 21
    /// to 32 of VPD page 0x83. Throws CUdidGeneratorException: invalid page data when there is no
    /// identifier; the same with "0x83" in place of the product key when the device does not list
    /// page 0x83; invalid device data when that page has fewer than 33 bytes.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;

    /// The controller's identifier, of 1 to 23 characters, or an empty string when the controller
    /// does not tell one. Opens the record's device read-only and without waiting, sends one
    /// vendor-specific command (SG_IO, CDB C0 00 00 0A 98 0A 22 10 00 00, up to 4,096 bytes back)
    /// through the current host, and closes the device again. Nothing on the host changes. Throws
    /// nothing but for memory exhaustion.
    virtual std::string getEnclosureID(CScsiDeviceData* device);
};

#endif
