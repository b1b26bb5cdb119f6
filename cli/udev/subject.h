#ifndef SCSITOOL_CLI_UDEV_SUBJECT_H
#define SCSITOOL_CLI_UDEV_SUBJECT_H

#include <optional>
#include <string>

#include "cli/picture/picture.h"
#include "recording/guard/kernel/block_devices.h"

namespace cli::udev {

/// The device that udev has an event of, by what carries its volume.
struct Subject {
    std::string kernelName;  ///< "sda", "dm-0"
    std::string node;        ///< to be asked: "/dev/sda"; of a map no link, udev makes that later
    picture::Kind kind = picture::Kind::kDisk;
    unsigned partition = 0;  ///< the map is its own partition of this number; 0 for a whole one
};

/// The whole disk, multipath map or PowerPath pseudo-device of a node or link; of a partition that
/// kpartx has made of a map, the map. None for everything else.
std::optional<Subject> subjectOf(recording::guard::BlockDevices& blocks, const std::string& name);

/// The kind of a block device that can carry a volume, by its kernel name; none for a partition.
std::optional<picture::Kind> kindOf(recording::guard::BlockDevices& blocks,
                                    const std::string& kernelName);

}  // namespace cli::udev

#endif
