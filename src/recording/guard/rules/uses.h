#ifndef SCSITOOL_RECORDING_GUARD_RULES_USES_H
#define SCSITOOL_RECORDING_GUARD_RULES_USES_H

#include <string>
#include <vector>

#include "recording/guard/kernel/device_picture.h"
#include "recording/guard/kernel/processes.h"

namespace recording::guard {

/// A use that a device has.
struct Use {
    std::string reason;  ///< reads behind "DEVICE is"
    std::string risk;    ///< what a removal would do to it
};

using Uses = std::vector<Use>;

/// Mounted in any namespace, or a device of a mounted btrfs, which mountinfo does not name.
void addMounts(Uses& uses, const DevicePicture& picture, Processes& processes);
void addBtrfs(Uses& uses, const DevicePicture& picture, Evidence& evidence);
/// Used as swap, under whatever name.
void addSwaps(Uses& uses, const DevicePicture& picture, Evidence& evidence);
/// Open for writing in another process, by a block or a character node.
void addWriters(Uses& uses, const DevicePicture& picture, Processes& processes);
/// Under a loop device; the kernel grants an exclusive open all the same.
void addLoops(Uses& uses, const DevicePicture& picture, BlockDevices& devices, Evidence& evidence);
/// Exported by the kernel's own SCSI target.
void addExports(Uses& uses, const DevicePicture& picture, Evidence& evidence);

}  // namespace recording::guard

#endif
