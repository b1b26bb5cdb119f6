#ifndef SCSITOOL_CLI_GUARD_GUARD_H
#define SCSITOOL_CLI_GUARD_GUARD_H

#include <optional>
#include <string>
#include <vector>

#include "cli/guard/block_devices.h"
#include "cli/guard/kernel_tables.h"
#include "cli/output/report.h"
#include "scsitool/discovery/linux_scsi_device.h"
#include "scsitool/host/host.h"

namespace cli {

/// Why a removal is refused.
struct Refusal {
    std::string device;
    std::string reason;
};

/// Looks for what a removal would take away under somebody's hands: a disk or map that is mounted,
/// swapped on, held by device-mapper, md or LVM, or open for writing elsewhere, and an address
/// that cannot be trusted. It asks the host and changes nothing; what the host does not tell is no
/// reason to refuse.
class Guard {
  public:
    /// The host must outlive the guard.
    explicit Guard(host::Host& host) : m_host(host), m_devices(host) {}

    /// A disk by its node.
    void checkDisk(const std::string& node);
    /// The disk at an address. One whose host number or LUN is beyond the eight bits of the
    /// kernel's address word (SCSI_IOCTL_GET_IDLUN) is not trusted.
    void checkAddress(const SLinuxScsiDevice& address);
    /// A device-mapper map by its name under /dev/mapper.
    void checkMap(const std::string& mapName);
    /// All of /proc/scsi/scsi, before addresses of it are compared with records: the inventory
    /// takes two characters of a LUN, and a record has eight bits of host number and LUN.
    void checkInventory();

    const std::vector<Refusal>& refusals() const { return m_refusals; }
    /// The refusals as a failed report.
    Report report() const;

  private:
    struct OpenNode {
        std::string process;
        std::string descriptor;
        std::string node;
    };

    void checkDevice(const std::string& shown, const std::string& name,
                     const std::vector<std::string>& extraNodes);
    void checkMounts(const std::string& shown, const std::vector<std::string>& names,
                     const std::vector<std::string>& nodes);
    void checkSwaps(const std::string& shown, const std::vector<std::string>& nodes);
    void checkOpens(const std::string& shown, const std::vector<std::string>& nodes);
    void refuse(const std::string& device, const std::string& reason);
    const std::vector<Mount>& mounts();
    const std::vector<OpenNode>& opens();
    std::string fileText(const std::string& path);
    std::vector<std::string> processes();

    host::Host& m_host;
    BlockDevices m_devices;
    std::optional<std::vector<Mount>> m_mounts;
    std::optional<std::vector<OpenNode>> m_opens;
    std::vector<Refusal> m_refusals;
};

}  // namespace cli

#endif
