#ifndef SCSITOOL_CLI_GUARD_BLOCK_DEVICES_H
#define SCSITOOL_CLI_GUARD_BLOCK_DEVICES_H

#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace cli {

/// The kernel's block devices as sysfs shows them, by their kernel names (sda, sda1, dm-0). What
/// sysfs does not tell is empty.
class BlockDevices {
  public:
    /// The host must outlive the object.
    explicit BlockDevices(host::Host& host) : m_host(host) {}

    /// The device with its partitions.
    std::vector<std::string> withPartitions(const std::string& name) const;
    /// Those that stand on a device: device-mapper, md and the like.
    std::vector<std::string> holders(const std::string& name) const;
    /// The devices with all that stands on them, directly or not.
    std::vector<std::string> withHolders(const std::vector<std::string>& names) const;
    /// "major:minor".
    std::string number(const std::string& name) const;
    /// The device nodes that name it.
    std::vector<std::string> nodes(const std::string& name) const;
    /// A holder for a message: what kind it is and its names.
    std::string describe(const std::string& holder) const;
    /// The disks at a SCSI address, at most one.
    std::vector<std::string> disksAt(const std::string& address) const;
    /// The device behind /dev/mapper/NAME.
    std::string map(const std::string& mapName) const;
    /// The devices of mounted btrfs file systems, which mountinfo does not name by their numbers.
    std::vector<std::string> btrfsDevices() const;

  private:
    std::string line(const std::string& path) const;
    std::vector<std::string> entries(const std::string& directory) const;

    host::Host& m_host;
};

}  // namespace cli

#endif
