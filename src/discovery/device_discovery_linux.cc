#include "scsitool/discovery/device_discovery_linux.h"

#include <utility>

#include "discovery/device_records.h"
#include "discovery/native_disks.h"
#include "discovery/operation.h"
#include "scsi/scsi_result.h"
#include "tools/trace.h"

using discovery::kTraceSource;
using discovery::Operation;
using discovery::RecordPointer;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace {

// Keeps a record whose device can be opened; `kind` is "DMP" or "Native".
void keepIfItOpens(const Operation& operation, const char* kind, RecordPointer record,
                   std::vector<CScsiDeviceData*>& devices) {
    const char* const path = record->m_deviceName.c_str();
    CScsiDeviceHandle handle;
    if (!discovery::opens(operation, handle, *record)) {
        traceTo(operation.log, 3, "INFO: %s device %s deleted.", kind, path);
        return;
    }
    discovery::append(devices, std::move(record));
    traceTo(operation.log, 3, "INFO: %s device %s added. %s device enumeration done", kind, path,
            kind);
}

void traceFailedEnumeration(const Operation& operation) {
    traceTo(operation.log, 1,
            "libscsitool: ERROR: CLinuxDeviceDiscovery::EnumerateDevices() failed.");
}

// A record with its size, which stays out of the list when its device cannot be opened.
void addMeasured(const Operation& operation, const std::string& path, const std::string& hostName,
                 std::vector<CScsiDeviceData>& devices) {
    const RecordPointer record = discovery::newRecord(path, hostName);
    unsigned long sizeKb = 0;
    if (discovery::measureDisk(operation, path, sizeKb) == 0) {
        record->m_sizeKb = sizeKb;
    }
    record->m_busType = 1;
    record->m_multipath = 1;
    CScsiDeviceHandle handle;
    if (!discovery::opens(operation, handle, *record)) {
        traceTo(operation.log, 3, "INFO: Native device %s ignored.", path.c_str());
        return;
    }
    devices.push_back(*record);
    traceTo(operation.log, 3, "INFO: Native device %s added. Native device enumeration done",
            path.c_str());
}

}  // namespace

CLinuxDeviceDiscovery::CLinuxDeviceDiscovery() = default;
CLinuxDeviceDiscovery::~CLinuxDeviceDiscovery() = default;

std::vector<CScsiDeviceData*> CLinuxDeviceDiscovery::enumerateDevices(
    const std::string& deviceName) {
    const CFiTraceLogFunction function(m_traceLog, "enumerateDevices", kTraceSource);
    const Operation operation(m_traceLog, m_scsiTool);
    std::vector<CScsiDeviceData*> devices;
    const auto passes = [&](const std::string& name) {
        return deviceName.empty() || name == deviceName;
    };
    try {
        DeviceMap pseudoDevices;
        std::string hostName;
        discovery::readHostName(operation, hostName);
        m_dmpDiscoveryManager.registerTraceLog(m_traceLog);
        m_dmpDiscoveryManager.enumerateDmpDevices(pseudoDevices);
        traceTo(m_traceLog, 3, "INFO: enumerate DMP devices returned [%ld] devices",
                static_cast<long>(pseudoDevices.size()));
        for (const auto& [path, info] : pseudoDevices) {
            if (passes(path)) {
                traceTo(m_traceLog, 3, "dmp: %s", path.c_str());
                keepIfItOpens(operation, "DMP", discovery::pseudoRecord(path, info, hostName),
                              devices);
            }
        }
        for (const std::string& path : discovery::nativeDiskPaths(operation)) {
            if (passes(path)) {
                keepIfItOpens(operation, "Native", discovery::newRecord(path, hostName), devices);
            }
        }
    } catch (...) {
        traceFailedEnumeration(operation);
    }
    return devices;
}

std::vector<CScsiDeviceData*> CLinuxDeviceDiscovery::validateEnumerateDevices(
    std::string deviceName) {
    const CFiTraceLogFunction function(m_traceLog, "validateEnumerateDevices", kTraceSource);
    const Operation operation(m_traceLog, m_scsiTool);
    std::vector<CScsiDeviceData*> devices;
    try {
        std::string hostName;
        discovery::readHostName(operation, hostName);
        RecordPointer record = discovery::newRecord(deviceName, hostName);
        CScsiDeviceHandle handle;
        if (discovery::opens(operation, handle, *record)) {
            discovery::append(devices, std::move(record));
        }
    } catch (...) {
        traceFailedEnumeration(operation);
    }
    return devices;
}

std::vector<std::string> CLinuxDeviceDiscovery::enumerateNativeDevicePaths() {
    return discovery::nativeDiskPaths(Operation(m_traceLog, m_scsiTool));
}

bool CLinuxDeviceDiscovery::IsValidDeviceName(const std::string& name) {
    return discovery::isWholeDiskName(name, m_traceLog);
}

int CLinuxDeviceDiscovery::getDiskSize(const std::string& path, unsigned long& sizeKB) {
    return discovery::measureDisk(Operation(m_traceLog, m_scsiTool), path, sizeKB);
}

int CLinuxDeviceDiscovery::enumerateNativeDevicePathsExt(std::vector<CScsiDeviceData>& devices) {
    const CFiTraceLogFunction function(m_traceLog, "enumerateNativeDevicePathsExt", kTraceSource);
    try {
        const Operation operation(m_traceLog, m_scsiTool);
        std::string hostName;
        if (!discovery::readHostName(operation, hostName)) {
            traceTo(m_traceLog, 1, "Failed to get the hostname");
            return scsi::kFailure;
        }
        const std::vector<std::string> paths = discovery::nativeDiskPaths(operation);
        if (paths.empty()) {
            traceTo(m_traceLog, 1, "Failed to list any native devices");
            return scsi::kFailure;
        }
        for (const std::string& path : paths) {
            addMeasured(operation, path, hostName, devices);
        }
        return scsi::kSuccess;
    } catch (...) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: CLinuxDeviceDiscovery::enumerateNativeDevicePathsExt() "
                "failed.");
        return scsi::kFailure;
    }
}
