#ifndef SCSITOOL_DISCOVERY_LINUX_SCSI_DEVICE_H
#define SCSITOOL_DISCOVERY_LINUX_SCSI_DEVICE_H

#include <cstdint>

/// One SCSI address as the kernel writes it.
struct SLinuxScsiDevice {
    std::int32_t host;     ///< host adapter number
    std::int32_t channel;  ///< channel
    std::int32_t id;       ///< target id
    std::int32_t lun;      ///< logical unit number
};

#endif
