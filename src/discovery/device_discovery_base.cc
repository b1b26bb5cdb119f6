#include "scsitool/discovery/device_discovery_base.h"

#include "discovery/interrogation.h"
#include "scsitool/kit/semaphore.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiSemaphoreLinux;
using qzfi_pdk_4_4::CFiSemaphoreLockFunction;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace {

constexpr char kSource[] = "device_discovery_base";

// The lock that all users of the library on one host share.
constexpr int kSemaphoreKey = 1001;
constexpr int kSemaphoreCount = 1;
constexpr int kSemaphoreFlags = 01666;  // IPC_CREAT, everybody may use it

constexpr discovery::InterrogationWords kRescanWords = {
    "libscsitool: Info: CDeviceDiscoveryBase:: Getting data for disk ",
    "libscsitool: Info: CDeviceDiscoveryBase::rescan FAILED - Remove disk ",
    "libscsitool: ERROR: CDeviceDiscoveryBase::rescan() failed."};
constexpr discovery::InterrogationWords kValidationWords = {
    nullptr, "libscsitool: Info: CDeviceDiscoveryBase:: validateDevice FAILED - Remove disk ",
    "libscsitool: ERROR: CDeviceDiscoveryBase:: validateDevice() failed."};

}  // namespace

CDeviceDiscoveryBase::CDeviceDiscoveryBase() = default;
CDeviceDiscoveryBase::~CDeviceDiscoveryBase() = default;

void CDeviceDiscoveryBase::registerTraceLog(
    qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log) {
    m_traceLog = log;
    m_scsiTool.m_traceLog = log;
    m_dmpDiscoveryManager.registerTraceLog(log);
}

void CDeviceDiscoveryBase::removeDeadDevices(std::vector<CScsiDeviceData*>& /*devices*/,
                                             bool /*removeLun0*/) {}

void CDeviceDiscoveryBase::removeDevice(const std::string& /*devicePath*/) {}

int CDeviceDiscoveryBase::FlushMultipathStaleDevices() {
    return 0;
}

int CDeviceDiscoveryBase::removeStaleDevices(const std::string& /*scriptArguments*/) {
    return 0;
}

std::vector<CScsiDeviceData*> CDeviceDiscoveryBase::rescan(bool withBusRescan, bool busRescanFlag,
                                                           bool /*ignoredFlag*/,
                                                           const std::string& enumerateArgument,
                                                           const std::string& busRescanArgument) {
    const CFiTraceLogFunction function(m_traceLog, "rescan", kSource);
    static CFiSemaphoreLinux m_deviceSemaphore(kSemaphoreKey, kSemaphoreCount, kSemaphoreFlags);
    const CFiSemaphoreLockFunction lock(m_deviceSemaphore);
    traceTo(m_traceLog, 3, "libscsitool: Info: CDeviceDiscoveryBase::rescan().");
    traceTo(m_traceLog, 3, "Acquring lock .");
    traceTo(m_traceLog, 3, "Got the lock .");
    const auto enumerate = [&] {
        if (withBusRescan) {
            rescanScsiBus(busRescanFlag, busRescanArgument);
            m_dmpDiscoveryManager.rescan();
        }
        return enumerateDevices(enumerateArgument);
    };
    std::vector<CScsiDeviceData*> devices =
        discovery::interrogate(enumerate, m_scsiTool, m_traceLog, kRescanWords);
    traceTo(m_traceLog, 3, "Releasing the lock .");
    traceTo(m_traceLog, 3, "libscsitool: DEBUG : CDeviceDiscoveryBase::rescan Exit.");
    return devices;
}

std::vector<CScsiDeviceData*> CDeviceDiscoveryBase::validateDevice(std::string deviceName) {
    const CFiTraceLogFunction function(m_traceLog, "validateDevice", kSource);
    const auto enumerate = [&] { return validateEnumerateDevices(deviceName); };
    return discovery::interrogate(enumerate, m_scsiTool, m_traceLog, kValidationWords);
}
