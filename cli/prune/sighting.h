#ifndef SCSITOOL_CLI_PRUNE_SIGHTING_H
#define SCSITOOL_CLI_PRUNE_SIGHTING_H

#include <cstdint>
#include <string>
#include <vector>

#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/answering.h"

namespace cli::prune {

/// What tells one disk from another, as the kernel keeps it or as the disk says it now. What is
/// empty was not told.
struct Identity {
    std::string vendor;
    std::string product;
    std::string deviceType;                  ///< SPC's peripheral device type, decimal
    std::vector<std::uint8_t> designators;   ///< of page 0x83
    std::vector<std::uint8_t> serialNumber;  ///< of page 0x80
};

/// What was seen of one SCSI disk, without a verdict.
struct DiskSighting {
    recording::guard::ScsiAddress address;
    bool isThere = true;  ///< the kernel has a device at the address
    std::string shown;    ///< its node ("/dev/sdb"); the address of a disk without a block device
    std::string state;    ///< of the kernel's SCSI device ("running"); empty when it is not told
    recording::guard::Answer answer;    ///< to a standard INQUIRY
    Identity kernel;                    ///< only of a disk that answers
    Identity live;                      ///< only of a disk that answers
    std::vector<std::string> failures;  ///< what could not be found out
};

}  // namespace cli::prune

#endif
