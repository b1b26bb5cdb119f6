#ifndef SCSITOOL_DMP_PSEUDO_DEVICE_H
#define SCSITOOL_DMP_PSEUDO_DEVICE_H

#include <string>

#include "scsitool/scsi/device_scsi_data.h"

namespace dmp {

/// Enters a multipath pseudo-device under its path, with claim level 16 and without native paths;
/// what stood under the path is replaced.
void addPseudoDevice(DeviceMap& devices, const std::string& path);

/// Tells whether a text ends in a decimal digit.
bool endsInDigit(const std::string& text);

}  // namespace dmp

#endif
