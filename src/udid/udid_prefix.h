#ifndef SCSITOOL_UDID_UDID_PREFIX_H
#define SCSITOOL_UDID_UDID_PREFIX_H

#include <string>

#include "scsitool/scsi/device_scsi_data.h"

namespace udid {

/// The prefix of disks that are named by their own identity: "UDID##", vendor, "##", product with
/// its blanks as "_", "##", in upper case. The record keeps the trimmed texts.
std::string recordPrefix(CScsiDeviceData& record);

/// The prefix of disks that are named by a family's keys: "UDID##", vendor key, "##", `product`,
/// "##", in upper case. No device is consulted.
std::string keyPrefix(const std::string& vendor, const std::string& product);

}  // namespace udid

#endif
