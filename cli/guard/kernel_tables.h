#ifndef SCSITOOL_CLI_GUARD_KERNEL_TABLES_H
#define SCSITOOL_CLI_GUARD_KERNEL_TABLES_H

#include <string>
#include <vector>

namespace cli {

/// One line of /proc/PID/mountinfo, see proc(5).
struct Mount {
    std::string number;  ///< "major:minor" of the file system's device
    std::string source;  ///< what was mounted, for instance "/dev/sda1"
    std::string point;
};

/// Reads mountinfo; lines that are cut short are left out.
std::vector<Mount> parseMountInfo(const std::string& text);

/// The files and devices of /proc/swaps.
std::vector<std::string> parseSwaps(const std::string& text);

/// Tells from /proc/PID/fdinfo/FD whether the descriptor is open for writing.
bool isOpenForWriting(const std::string& fdinfo);

/// One address line of /proc/scsi/scsi with all digits of its numbers.
struct TableAddress {
    std::string host;
    std::string lun;
};

/// The addresses of /proc/scsi/scsi.
std::vector<TableAddress> parseScsiTable(const std::string& text);

}  // namespace cli

#endif
