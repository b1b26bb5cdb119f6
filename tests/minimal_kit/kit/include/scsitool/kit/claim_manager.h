#ifndef MINIMAL_KIT_CLAIM_MANAGER_H
#define MINIMAL_KIT_CLAIM_MANAGER_H

#include <string>
#include <vector>

#include "scsitool/kit/trace_log.h"

namespace qzfi_pdk_4_4 {

class CDmpDeviceClaimBase;

/// Knows neither partitions nor claims.
class SCSITOOL_EXPORT CDmpClaimManager {
  public:
    virtual ~CDmpClaimManager();
    virtual void registerClaimModule(CDmpDeviceClaimBase* module);
    virtual void registerTraceLog(CFiSmartPtr<CFiTraceLog>& log);
    virtual std::vector<std::string> getDeviceClaimStrings();
    virtual bool claim(const std::string& deviceName);
    virtual bool isPartition(const std::string& deviceName);
    virtual std::string appendPartitionSuffix(const std::string& deviceName,
                                              unsigned int partition);
    virtual std::string removePartitionSuffix(const std::string& deviceName,
                                              unsigned int& partition);
    virtual void clearLvmDeviceNameList();
};

}  // namespace qzfi_pdk_4_4

#endif
