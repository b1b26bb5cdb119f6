#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_BLOCK_DEVICES_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_BLOCK_DEVICES_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/evidence.h"

namespace recording::guard {

/// The kernel's block devices as sysfs shows them, by their kernel names (sda, sda1, dm-0), in both
/// layouts: /sys/class/block and /sys/block.
class BlockDevices {
  public:
    using Names = std::vector<std::string>;

    /// The evidence must outlive the object.
    explicit BlockDevices(Evidence& evidence) : m_evidence(evidence) {}

    Evidence& evidence() const { return m_evidence; }

    /// The address of a disk; none for what is no SCSI disk.
    std::optional<ScsiAddress> addressOf(const std::string& name);

    /// Tells whether the kernel has a block device of the name.
    bool exists(const std::string& name);
    /// The partitions of a device.
    Names partitions(const std::string& name);
    /// The same; none when they cannot be listed.
    std::optional<Names> toldPartitions(const std::string& name);
    /// Those that stand on a device: device-mapper, md and the like.
    Names holders(const std::string& name);
    /// The same; none when that is not told.
    std::optional<Names> toldHolders(const std::string& name);
    /// What a device-mapper map or an md device stands on.
    Names slaves(const std::string& name);
    /// The same; none when that is not told.
    std::optional<Names> toldSlaves(const std::string& name);
    /// "major:minor"; of the kind kNone when it is not told.
    host::DeviceNumber number(const std::string& name);
    /// The names of a map; empty for what is none.
    std::string mapName(const std::string& name);
    std::string mapUuid(const std::string& name);
    /// The kernel name of the device that a node is: by where the path leads to, or by its number.
    /// Empty when there is no such node.
    std::string nameBehind(const std::string& path);
    /// The size that the kernel has for a device, in units of 1,024 bytes; none when it is not
    /// told.
    std::optional<std::uint64_t> sizeKb(const std::string& name);
    /// Tells whether the kernel lets nobody write to a device; none when it is not told.
    std::optional<bool> isReadOnly(const std::string& name);
    /// All whole disks of the SCSI disk driver, in no order.
    Names disks();
    /// All device-mapper maps.
    Names maps();
    /// All loop devices.
    Names loops();
    /// The file or device behind a loop device; empty for one that is free.
    std::string backingFile(const std::string& name);
    /// The node of a device: one of its own number, or on a recorded host one of its name. None
    /// when there is none, which a live host is not judged with.
    std::optional<std::string> node(const std::string& name);

  private:
    std::string folder(const std::string& name);
    std::string line(const std::string& path, Need need = Need::kMayBeMissing);
    std::optional<std::string> linkOf(const std::string& path);
    Names beginningWith(const std::string& start);

    Evidence& m_evidence;
    std::map<std::string, std::string> m_folders;
};

/// A multipath map, by its identifier.
bool isMultipath(const std::string& mapUuid);

}  // namespace recording::guard

#endif
