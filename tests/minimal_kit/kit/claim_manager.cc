#include "scsitool/kit/claim_manager.h"

namespace qzfi_pdk_4_4 {

CDmpClaimManager::~CDmpClaimManager() = default;
void CDmpClaimManager::registerClaimModule(CDmpDeviceClaimBase* /*module*/) {}
void CDmpClaimManager::registerTraceLog(CFiSmartPtr<CFiTraceLog>& /*log*/) {}
std::vector<std::string> CDmpClaimManager::getDeviceClaimStrings() {
    return {};
}
bool CDmpClaimManager::claim(const std::string& /*deviceName*/) {
    return false;
}
bool CDmpClaimManager::isPartition(const std::string& /*deviceName*/) {
    return false;
}
std::string CDmpClaimManager::appendPartitionSuffix(const std::string& deviceName,
                                                    unsigned int /*partition*/) {
    return deviceName;
}
std::string CDmpClaimManager::removePartitionSuffix(const std::string& deviceName,
                                                    unsigned int& partition) {
    partition = 0;
    return deviceName;
}
void CDmpClaimManager::clearLvmDeviceNameList() {}

}  // namespace qzfi_pdk_4_4
