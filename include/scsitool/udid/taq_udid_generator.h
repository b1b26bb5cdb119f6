#ifndef SCSITOOL_UDID_TAQ_UDID_GENERATOR_H
#define SCSITOOL_UDID_TAQ_UDID_GENERATOR_H

#include <string>

#include "scsitool/host/export.h"
#include "scsitool/udid/device_udid_generator.h"

/// The generator for the virtual disks of a TAQ snapshot provider. It claims every device and
/// never fails. Used by one thread at a time.
class SCSITOOL_EXPORT CTAQUdidGenerator : public CUdidGenerator {
  public:
    CTAQUdidGenerator(std::string vendor, std::string product);
    ~CTAQUdidGenerator() override;

    /// Always true.
    bool claimDevice(CScsiDeviceData* device) override;
    /// "TAQ_UDID##", vendor, "##TAQ_MODEL##", in the vendor's own case; the record keeps the
    /// trimmed vendor.
    std::string getUniqueDeviceIDPrefix(CScsiDeviceData* device) override;
    /// "disk-scsi-" and the identifier, or "##NO_TAQ_DEVICE" without one.
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
};

#endif
