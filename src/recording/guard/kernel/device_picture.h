#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_DEVICE_PICTURE_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_DEVICE_PICTURE_H

#include <optional>
#include <string>
#include <vector>

#include "recording/guard/kernel/block_devices.h"

namespace recording::guard {

/// A disk, map or other SCSI device that an effect would take away, with everything that it is
/// known by and that stands on it.
struct DevicePicture {
    std::string shown;                        ///< its name in a refusal
    std::string disk;                         ///< kernel name ("sdb", "dm-0"); may be empty
    std::optional<ScsiAddress> address;       ///< none for a map
    std::vector<std::string> own;             ///< the disk and its partitions
    std::vector<std::string> all;             ///< those and what stands on them, at every depth
    std::vector<std::string> nodes;           ///< the paths of all of these
    std::vector<host::DeviceNumber> numbers;  ///< their numbers, those of character devices too

    /// Tells whether a node is one of the device's, or of what stands on it. Without a number only
    /// the path is compared.
    bool isNamedBy(const std::string& path, const host::DeviceNumber& number) const;
};

/// Draws the picture of the disk at an address; `name` is its kernel name, empty for a device
/// without a block device.
DevicePicture pictureOfDisk(BlockDevices& devices, const std::string& name,
                            const std::optional<ScsiAddress>& address);

/// The same disk without what stands on it.
DevicePicture pictureAlone(BlockDevices& devices, const DevicePicture& picture);

/// Draws the picture of a map. The name may be a path, a map's name or a kernel name.
DevicePicture pictureOfMap(BlockDevices& devices, const std::string& name);

}  // namespace recording::guard

#endif
