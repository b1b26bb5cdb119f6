#ifndef SCSITOOL_UDID_DEFAULT_UDID_GENERATOR_H
#define SCSITOOL_UDID_DEFAULT_UDID_GENERATOR_H

#include <string>

#include "scsitool/host/export.h"
#include "scsitool/udid/device_udid_generator.h"

/// The generator for disks of no known array family. It claims every device and never fails: a
/// disk without an identifier is named by its path at this host. Used by one thread at a time.
class SCSITOOL_EXPORT CDefaultUdidGenerator : public CUdidGenerator {
  public:
    CDefaultUdidGenerator(std::string vendor, std::string product);
    ~CDefaultUdidGenerator() override;

    /// Always true.
    bool claimDevice(CScsiDeviceData* device) override;
    /// "UDID##", vendor, "##", product with its blanks as "_", "##", in upper case; the record
    /// keeps the trimmed texts.
    std::string getUniqueDeviceIDPrefix(CScsiDeviceData* device) override;
    /// The serial of page 0x80, "##" and the identifier of page 0x83; or the device name, "@" and
    /// the host's name when the device does not list page 0x00, has no vendor or no identifier.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

#endif
