#ifndef SCSITOOL_RECORDING_GUARD_RULES_STACKS_H
#define SCSITOOL_RECORDING_GUARD_RULES_STACKS_H

#include <string>
#include <vector>

#include "recording/guard/kernel/answering.h"
#include "recording/guard/rules/uses.h"

namespace recording::guard {

/// A holder for a message: what kind it is and its names.
std::string describeHolder(BlockDevices& devices, const std::string& holder);

/// The paths of a multipath map but for one that answer an INQUIRY as connected.
std::vector<std::string> livingPaths(BlockDevices& devices, Evidence& evidence,
                                     const std::string& map, const std::string& butFor);

/// Held by device-mapper, md and the like, directly; of a multipath map also which other paths
/// live.
void addHolders(Uses& uses, const DevicePicture& picture, BlockDevices& devices,
                Evidence& evidence);

/// The multipath map that is the only holder of a disk; empty when there is none, more than one, or
/// a partition has a holder.
std::string onlyMultipathHolder(const DevicePicture& picture, BlockDevices& devices);

/// The PowerPath pseudo-devices of a host.
std::vector<std::string> powerPathDevices(Evidence& evidence);

/// Whether a PowerPath pseudo-device is a path's: both hand over the same page 0x83.
enum class Membership { kNo, kYes, kUnclear };
Membership membership(Evidence& evidence, BlockDevices& devices, const DevicePicture& disk,
                      const std::string& pseudoDevice);

}  // namespace recording::guard

#endif
