#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_KERNEL_TABLES_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_KERNEL_TABLES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace recording::guard {

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

/// One line of /proc/partitions.
struct Partition {
    std::string name;          ///< "sda", "sda1", "dm-0"
    std::uint64_t sizeKb = 0;  ///< in units of 1,024 bytes
};

/// Reads /proc/partitions; lines that are no block device's are left out.
std::vector<Partition> parsePartitions(const std::string& text);

/// Tells from /proc/PID/fdinfo/FD whether the descriptor is open for writing.
bool isOpenForWriting(const std::string& fdinfo);

/// Tells from /proc/PID/stat whether the process has ended and is only waited for.
bool isEnded(const std::string& stat);

/// One address line of /proc/scsi/scsi with all digits of its numbers, zeros in front taken off.
struct TableAddress {
    std::string host;
    std::string channel;
    std::string target;
    std::string lun;
};

/// The addresses of /proc/scsi/scsi.
std::vector<TableAddress> parseScsiTable(const std::string& text);

/// Reads "major:minor" as sysfs has it.
std::optional<host::DeviceNumber> parseNumber(const std::string& text,
                                              host::DeviceNumber::Kind kind);

/// "major:minor".
std::string numberText(const host::DeviceNumber& number);

/// Two nodes of one kind and number are one device.
bool isSame(const host::DeviceNumber& a, const host::DeviceNumber& b);

/// The text without the line feed at its end, and what is behind one.
std::string firstLine(const std::string& text);

/// The text without blanks and line feeds at its end.
std::string trimmed(const std::string& text);

}  // namespace recording::guard

#endif
