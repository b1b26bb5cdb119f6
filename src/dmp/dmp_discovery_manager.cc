#include "scsitool/dmp/dmp_discovery_manager.h"

#include <memory>

#include "scsitool/dmp/dmp_linux_device_mapper.h"
#include "scsitool/dmp/dmp_powerpath.h"
#include "tools/kept.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;
using tools::traceTo;

CDmpDiscoveryManager::CDmpDiscoveryManager()
    : m_modules{tools::kept(std::make_unique<CDmpPowerPathDiscovery>()),
                tools::kept(std::make_unique<CDmpLinuxDeviceMapper>())} {}

CDmpDiscoveryManager::~CDmpDiscoveryManager() = default;

void CDmpDiscoveryManager::registerDiscoveryModule(CDmpDiscoveryBase* module) {
    if (module == nullptr) {
        return;
    }
    module->registerTraceLog(m_traceLog);
    m_modules.push_back(module);
}

void CDmpDiscoveryManager::registerTraceLog(CFiSmartPtr<CFiTraceLog>& log) {
    qzfi_pdk_4_4::CDmpClaimManager::registerTraceLog(log);
    m_traceLog = log;
    for (CDmpDiscoveryBase* const module : m_modules) {
        traceTo(m_traceLog, 3, "INFO: registering trace log on discovery module");
        module->registerTraceLog(m_traceLog);
    }
}

int CDmpDiscoveryManager::enumerateDmpDevices(DeviceMap& devices) {
    traceTo(m_traceLog, 3, "INFO: CDmpDiscoveryManager::enumerateDmpDevices %ld modules registered",
            static_cast<long>(m_modules.size()));
    for (CDmpDiscoveryBase* const module : m_modules) {
        module->enumerateDmpDevices(devices);
    }
    return 0;
}

int CDmpDiscoveryManager::rescan() {
    for (CDmpDiscoveryBase* const module : m_modules) {
        module->rescan();
    }
    return 0;
}
