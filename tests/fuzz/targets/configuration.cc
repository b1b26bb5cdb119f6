// The configuration file, and how a device is opened by what it says.
#include "scsitool/kit/configuration.h"

#include <string>

#include "invariants.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/scsi/scsi_configuration.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qzfi_pdk_4_4::CFiConfiguration;
    using qzfi_pdk_4_4::CFiConfigurationPathTool;
    std::string directory;
    std::string file;
    CFiConfigurationPathTool::getConfigFileInfo("devicefi", directory, file);
    recording::RecordedHostData machine;
    machine.files[directory + "/" + file] = std::string(reinterpret_cast<const char*>(data), size);
    recording::Journal journal;
    recording::RecordedHost host(std::move(machine), journal);
    const host::Scope scope(host);

    CFiConfiguration configuration;
    fuzz::demand(configuration.importConfig(directory, file) == 0, "a file that is there is read");
    const unsigned value = 7;
    for (const char* section : {"TUNING_PARAMS", "", "a"}) {
        const int opened = configuration.openSection(section, 0);
        for (const char* key : {"OPEN_DEVICE_RETRY_ATTEMPTS", "", "k"}) {
            unsigned read = value;
            const int found = configuration.getIntegerValue(key, read);
            fuzz::demand(found == 0 || read == value, "a number that is none changes nothing");
            fuzz::demand(found == 0 || found == 6, "a key is there or not");
        }
        fuzz::demand(opened == 0 || opened == 6, "a section is there or not");
    }
    CScsiTuningParams once;
    CScsiTuningParams again;
    CScsiConfiguration::importTuningSettings(once);
    CScsiConfiguration::importTuningSettings(again);
    fuzz::demand(once.openRetryAttempts == again.openRetryAttempts &&
                     once.openRetryDelaySeconds == again.openRetryDelaySeconds,
                 "the settings are the same twice");
    return 0;
}
