#ifndef SCSITOOL_CLI_COMMON_DISK_AT_ADDRESS_H
#define SCSITOOL_CLI_COMMON_DISK_AT_ADDRESS_H

#include <string>
#include <vector>

#include "cli/common/context.h"
#include "cli/output/report.h"
#include "recording/guard/effect/scsi_address.h"
#include "scsitool/discovery/linux_scsi_device.h"

namespace cli {

/// The device that sysfs has at an address, with all digits of it.
struct DiskAtAddress {
    enum class Presence {
        kThere,
        kAbsent,  ///< the kernel has nothing at the address
        kUntold,  ///< there is no list of the kernel's devices
    };
    Presence presence = Presence::kUntold;
    /// What could not be told, each "PATH: reason": what is there may be another disk, or in use.
    std::vector<std::string> failures;
    std::string node;         ///< empty for a device without a block device
    std::string product;      ///< vendor and product as the kernel has them
    std::string udid;         ///< empty when the disk does not tell
    bool isPathUdid = false;  ///< the UDID is made of a path at this host: no identity
    std::string missing;  ///< a page that did not come, and why: the UDID may lack what it holds
};

/// The address as sysfs has it.
recording::guard::ScsiAddress scsiAddress(const SLinuxScsiDevice& address);

/// Looks the device up; the disk is asked for its UDID. Leaves no line in journal or trace log.
DiskAtAddress diskAt(const Context& context, const SLinuxScsiDevice& address);

/// One line for people: "2:0:0:5 is /dev/sdb, ACME Disk, UDID##...", and what the UDID is worth.
std::string diskLine(const DiskAtAddress& disk, const std::string& address);
/// The member "disk" of the JSON document.
Json diskJson(const DiskAtAddress& disk);

}  // namespace cli

#endif
