#ifndef SCSITOOL_DISCOVERY_SCSI_TABLE_H
#define SCSITOOL_DISCOVERY_SCSI_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

#include "scsitool/discovery/linux_scsi_device.h"

namespace host {
class Host;
}

namespace discovery {

/// The kernel's table of SCSI devices; it takes commands too ("scsi add-single-device ...").
inline constexpr char kScsiTable[] = "/proc/scsi/scsi";

/// Reads the table's lines, which are kept with their line feeds and cut at 254 characters. Gives
/// false when it cannot be opened. Of a table whose read fails the lines read by then are taken.
bool readScsiTable(host::Host& host, std::vector<std::string>& lines);

/// Tells whether a line begins a device of the table.
bool isDeviceLine(const std::string& line);

/// Reads the address in a device's first line as scanf does: two characters of channel, id and LUN
/// each. Gives false for any other line, and for an address that is cut short.
bool parseAddress(const std::string& line, SLinuxScsiDevice& address);

/// The line that tells the type of the device whose first line is at `index`, null when the table
/// ends before it.
const std::string* typeLine(const std::vector<std::string>& lines, std::size_t index);

/// The number of devices in the table; 0 where it cannot be read. Never throws.
int countDevices(host::Host& host);

}  // namespace discovery

#endif
