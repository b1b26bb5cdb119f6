#ifndef SCSITOOL_CLI_UDEV_CARRIERS_H
#define SCSITOOL_CLI_UDEV_CARRIERS_H

#include <string>
#include <vector>

#include "cli/picture/picture.h"
#include "recording/guard/kernel/block_devices.h"

namespace cli::udev {

/// A block device that udev knows by a UDID: since its last event, whatever it is now.
struct Carrier {
    picture::Device device;  ///< with what tells its volume; nothing is asked of a disk for it
    bool isWhole = false;    ///< neither a partition nor the map of one
    bool hasLink = false;    ///< udev was told to make the link
};

/// All of the UDID in the form that a link has, as udev's database has them. What the kernel has
/// no device of any more is left out, and so is everything where there is no udev.
std::vector<Carrier> carriersOf(recording::guard::BlockDevices& blocks, const std::string& udidEnc);

/// The same of a device of this name that was just asked; it need not be in the database yet.
picture::Device carriedBy(recording::guard::BlockDevices& blocks, const std::string& kernelName,
                          picture::Kind kind, const std::string& udidEnc, picture::UnitNames names);

/// How many volumes devices of one UDID are, told apart as `picture::volumesOf` does it.
std::size_t countVolumes(const std::vector<picture::Device>& devices);

}  // namespace cli::udev

#endif
