#ifndef SCSITOOL_DMP_DMP_DISCOVERY_MANAGER_H
#define SCSITOOL_DMP_DMP_DISCOVERY_MANAGER_H

#include <vector>

#include "scsitool/dmp/dmp_discovery_base.h"
#include "scsitool/host/export.h"
#include "scsitool/kit/claim_manager.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"

/// Asks the multipath modules in the order of their registration. The PowerPath module is
/// registered first and the device-mapper module second, so a path that both know is the
/// device-mapper's in the end. Used by one thread at a time.
class SCSITOOL_EXPORT CDmpDiscoveryManager : public virtual qzfi_pdk_4_4::CDmpClaimManager,
                                             public virtual qzfi_pdk_4_4::CFiTraceable {
  public:
    CDmpDiscoveryManager();
    /// The modules are not deleted: whoever registered one may still hold it.
    ~CDmpDiscoveryManager() override;
    CDmpDiscoveryManager(const CDmpDiscoveryManager&) = delete;
    CDmpDiscoveryManager& operator=(const CDmpDiscoveryManager&) = delete;

    /// Appends a module and gives it the present trace log; null is ignored.
    virtual void registerDiscoveryModule(CDmpDiscoveryBase* module);
    /// Gives the trace log to the claim manager, then to every module.
    void registerTraceLog(qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log) override;
    /// Collects the pseudo-devices of all modules; what a module gives is ignored. Gives 0.
    virtual int enumerateDmpDevices(DeviceMap& devices);
    /// Has every module refresh; what a module gives is ignored. Gives 0.
    virtual int rescan();

  private:
    // A pointer that is no variable would take the base's operation and leave the modules out: it
    // does not compile.
    using qzfi_pdk_4_4::CFiTraceable::registerTraceLog;

    std::vector<CDmpDiscoveryBase*> m_modules;
};

#endif
