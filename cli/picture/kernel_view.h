#ifndef SCSITOOL_CLI_PICTURE_KERNEL_VIEW_H
#define SCSITOOL_CLI_PICTURE_KERNEL_VIEW_H

#include <optional>
#include <string>
#include <vector>

#include "cli/picture/picture.h"
#include "recording/guard/kernel/block_devices.h"
#include "recording/guard/kernel/scsi_devices.h"

namespace cli::picture {

/// What the kernel says of a disk, without anything being asked of the disk.
struct KernelDisk {
    std::string name;  ///< "sda"; empty for one without a block device
    std::optional<ScsiAddress> address;
    KernelState state;
    std::optional<std::uint64_t> sizeKb;    ///< as sysfs has it
    std::optional<std::uint64_t> listedKb;  ///< as /proc/partitions has it
};

/// What the kernel says of a device-mapper map or a PowerPath pseudo-device.
struct KernelMap {
    std::string kernelName;
    std::string node;  ///< "/dev/mapper/mpatha", "/dev/emcpowera"
    Kind kind = Kind::kMap;
    std::vector<std::string> paths;  ///< kernel names
    std::optional<std::uint64_t> sizeKb;
};

/// Reads the kernel's lists: sysfs, and /proc/partitions for kernels without it. Nothing under /dev
/// is opened and no disk is asked.
class KernelView {
  public:
    /// Nothing with an effect is asked of the host, which must outlive the object.
    KernelView(host::Host& host, bool isRecorded);

    /// The whole disks of the SCSI disk driver, in no order.
    std::vector<KernelDisk> disks();
    /// The SCSI disks beside these, without a block device: the disk driver has not taken them, or
    /// not yet.
    std::vector<KernelDisk> unattachedDisks(const std::vector<KernelDisk>& attached);
    /// The address of the disk that a node is of; none for what is no SCSI disk.
    std::optional<ScsiAddress> addressOf(const std::string& node);
    /// The maps, those that are no multipath maps too, and the pseudo-devices.
    std::vector<KernelMap> maps();

    /// What the kernel keeps of the disks.
    recording::guard::ScsiDevices& scsiDevices() { return m_scsi; }

  private:
    KernelState stateAt(const ScsiAddress& address);
    KernelDisk disk(const std::string& name);
    KernelMap map(const std::string& kernelName);

    recording::guard::Evidence m_evidence;
    recording::guard::BlockDevices m_blocks;
    recording::guard::ScsiDevices m_scsi;
};

}  // namespace cli::picture

#endif
