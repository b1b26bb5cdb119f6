#ifndef SCSITOOL_SCSI_SCSI_CONFIGURATION_H
#define SCSITOOL_SCSI_SCSI_CONFIGURATION_H

#include <cstdint>

#include "scsitool/host/export.h"

/// The tuning settings of a device open.
struct CScsiTuningParams {
    std::uint32_t openRetryDelaySeconds = 3;  ///< "OPEN_DEVICE_RETRY_DELAY_IN_SEC"
    std::uint32_t openRetryAttempts = 8;      ///< "OPEN_DEVICE_RETRY_ATTEMPTS"
};

/// Reads the section "TUNING_PARAMS" of the configuration "devicefi".
class SCSITOOL_EXPORT CScsiConfiguration {
  public:
    /// Overwrites the settings that the configuration of the current host holds; what is missing
    /// or is no number stays as it is. Never throws. Safe for any number of threads.
    static void importTuningSettings(CScsiTuningParams& params);
};

#endif
