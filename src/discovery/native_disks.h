#ifndef SCSITOOL_DISCOVERY_NATIVE_DISKS_H
#define SCSITOOL_DISCOVERY_NATIVE_DISKS_H

#include <string>
#include <vector>

#include "discovery/operation.h"

namespace discovery {

/// Where the kernel lists the block devices.
inline constexpr char kDiskList[] = "/proc/partitions";

/// The nodes of all whole SCSI disks of /proc/partitions. Throws int 6 after any exception.
std::vector<std::string> nativeDiskPaths(const Operation& operation);

/// Tells whether a name is that of a whole SCSI disk. Throws int 6 after any exception.
bool isWholeDiskName(const std::string& name, const TraceLog& log);

/// Measures a disk in units of 1,024 bytes. Gives 0, or 25, 26 or 27 when the close, the open or
/// the size request failed.
int measureDisk(const Operation& operation, const std::string& path, unsigned long& sizeKb);

}  // namespace discovery

#endif
