// What a plug-in does with the library, on every sample host.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "scsitool/hosts/recorded_host.h"
#include "scsitool/kit/context_singleton.h"
#include "scsitool/scsi/scsitool.h"
#include "scsitool/tools/WWPN_discovery.h"
#include "scsitool/udid/device_status.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/explanation.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;
using ProcessTraceLog = qzfi_pdk_4_4::CFiContextSingleton<CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;

struct Sink : qzfi_pdk_4_4::CFiTraceSink {
    void write(int /*level*/, const std::string& message) override { text += message; }
    std::string text;
};

// A generator of the plug-in's own, which it owns itself.
struct OwnGenerator : CUdidGenerator {
    OwnGenerator() : CUdidGenerator("OWN", "GENERATOR") {}
    std::string getUniqueDeviceID(CScsiDeviceData* /*device*/) override { return "BODY"; }
};

int useFactory(CFiSmartPtr<CFiTraceLog>& log) {
    OwnGenerator own;
    CUDIDFactory factory;
    factory.askFirst({&own});
    factory.registerTraceLog(log);
    const udid::StatusWatch watch;
    const DeviceMap devices = factory.enumerateDeviceMap(true, false, false, "", "");
    for (const auto& entry : devices) {
        factory.getCachedUniqueDeviceID(entry.first.c_str(), true);
        factory.validateDeviceMap(entry.first);
        textOf(watch.statusOf(entry.first));
    }
    for (const auto& record : factory.records()) {
        udid::explain(factory, *record);
    }
    factory.removeStaleDevices("");
    return static_cast<int>(devices.size());
}

void useDiscovery(CFiSmartPtr<CFiTraceLog>& log) {
    CLinuxDeviceDiscovery discovery;
    discovery.registerTraceLog(log);
    std::vector<CScsiDeviceData*> devices = discovery.rescan(false, false, false, "", "");
    const std::vector<CScsiDeviceData*> owned = devices;
    discovery.removeDeadDevices(devices, true);
    for (CScsiDeviceData* const device : owned) {
        delete device;
    }
    std::vector<CScsiDeviceData> disks;
    discovery.enumerateNativeDevicePathsExt(disks);
    discovery.FlushMultipathStaleDevices();
}

void useTools() {
    CScsiTool tool;
    std::string name;
    tool.GetHostIQN(name);
    WWPN().getWWPN();
}

}  // namespace

/// Uses the library on every sample in the folder and gives how many devices there were.
extern "C" __attribute__((visibility("default"))) int enumerateSamples(const char* folder,
                                                                       int leaks) {
    int found = 0;
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(std::make_shared<Sink>(), 9);
    ProcessTraceLog::registerInstance(log);
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".json") {
            hosts::RecordedHost host(entry.path());
            const host::Scope scope(host);
            found += useFactory(log);
            useDiscovery(log);
            useTools();
        }
    }
    ProcessTraceLog::registerInstance({});
    if (leaks != 0) {
        static_cast<void>(new std::string(1000, 'x'));
    }
    return found;
}
