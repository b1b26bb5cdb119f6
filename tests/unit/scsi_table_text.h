#ifndef SCSITOOL_TESTS_SCSI_TABLE_TEXT_H
#define SCSITOOL_TESTS_SCSI_TABLE_TEXT_H

#include <cstdio>
#include <string>
#include <vector>

#include "scsitool/discovery/linux_scsi_device.h"

namespace test {

inline constexpr char kScsiTable[] = "/proc/scsi/scsi";

/// One device as /proc/scsi/scsi shows it, in three lines.
inline std::string tableEntry(const SLinuxScsiDevice& address,
                              const std::string& type = "Direct-Access") {
    char first[80];
    std::snprintf(first, sizeof first, "Host: scsi%d Channel: %02d Id: %02d Lun: %02d\n",
                  address.host, address.channel, address.id, address.lun);
    return first + std::string("  Vendor: VENDOR   Model: MODEL            Rev: 0001\n  Type:   ") +
           type + "                    ANSI  SCSI revision: 05\n";
}

/// The whole of /proc/scsi/scsi with disks at these addresses.
inline std::string tableOf(const std::vector<SLinuxScsiDevice>& addresses) {
    std::string table = "Attached devices:\n";
    for (const SLinuxScsiDevice& address : addresses) {
        table += tableEntry(address);
    }
    return table;
}

/// "host:channel:id:lun".
inline std::string textOf(const SLinuxScsiDevice& address) {
    return std::to_string(address.host) + ":" + std::to_string(address.channel) + ":" +
           std::to_string(address.id) + ":" + std::to_string(address.lun);
}

inline std::vector<std::string> textsOf(const std::vector<SLinuxScsiDevice>& addresses) {
    std::vector<std::string> texts;
    for (const SLinuxScsiDevice& address : addresses) {
        texts.push_back(textOf(address));
    }
    return texts;
}

}  // namespace test

#endif
