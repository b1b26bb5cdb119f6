#include "scsitool/scsi/scsi_configuration.h"

#include <string>

#include "scsitool/kit/configuration.h"

void CScsiConfiguration::importTuningSettings(CScsiTuningParams& params) {
    using qzfi_pdk_4_4::CFiConfiguration;
    using qzfi_pdk_4_4::CFiConfigurationPathTool;
    try {
        std::string directory;
        std::string file;
        CFiConfigurationPathTool::getConfigFileInfo("devicefi", directory, file);
        CFiConfiguration configuration;
        configuration.importConfig(directory, file);
        if (configuration.openSection("TUNING_PARAMS", 1) != 0) {
            return;
        }
        configuration.getIntegerValue("OPEN_DEVICE_RETRY_DELAY_IN_SEC",
                                      params.openRetryDelaySeconds);
        configuration.getIntegerValue("OPEN_DEVICE_RETRY_ATTEMPTS", params.openRetryAttempts);
    } catch (...) {
        // A device is opened whatever the configuration is worth: the defaults stand.
        return;
    }
}
