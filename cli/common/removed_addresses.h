#ifndef SCSITOOL_CLI_COMMON_REMOVED_ADDRESSES_H
#define SCSITOOL_CLI_COMMON_REMOVED_ADDRESSES_H

#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/hosts/watched_host.h"
#include "cli/output/report.h"
#include "scsitool/discovery/linux_scsi_device.h"

namespace cli {

/// An address that the kernel was asked to forget.
struct RemovedAddress {
    SLinuxScsiDevice address = {};
    int error = 0;  ///< errno of a removal that failed on both ways, else 0
};

/// What the writes of a removal came to; those that the guard refused asked the kernel nothing. The
/// kernel is asked through /proc/scsi/scsi first; once that worked, the sysfs file of the second
/// way is gone, which is no failure.
std::vector<RemovedAddress> removedAddresses(const std::vector<AppendEffect>& writes);

/// Why the first removal that failed did; empty when none failed.
std::string removalFailure(const HostView& view, const std::vector<RemovedAddress>& removed);

/// "H:C:T:L".
std::string addressText(const SLinuxScsiDevice& address);

/// [host, channel, target, LUN]
Json addressJson(const SLinuxScsiDevice& address);

}  // namespace cli

#endif
