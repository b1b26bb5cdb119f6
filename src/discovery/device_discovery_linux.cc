#include "scsitool/discovery/device_discovery_linux.h"

#include <cctype>
#include <memory>
#include <utility>

#include "scsi/scsi_result.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"
#include "tools/line_reader.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiTraceLogFunction;
using qzfi_pdk_4_4::V_sscanf;
using tools::traceTo;

namespace {

constexpr char kSource[] = "device_discovery_linux";
constexpr char kPartitions[] = "/proc/partitions";
constexpr std::size_t kHostNameSize = 255;
constexpr std::size_t kLineBuffer = 255;

constexpr int kSizeRequestFailed = 27;
constexpr int kOpenFailed = 26;
constexpr int kCloseFailed = 25;

using RecordPointer = std::unique_ptr<CScsiDeviceData>;

// A record of which nothing is known yet but its name.
RecordPointer newRecord(const std::string& deviceName, const std::string& hostName) {
    const std::string none;
    return std::make_unique<CScsiDeviceData>(deviceName, none, hostName, 0, 0, 0, -1, none, none,
                                             none, 0);
}

// The list owns the record once it has grown: no record is lost when it cannot.
void append(std::vector<CScsiDeviceData*>& devices, RecordPointer record) {
    devices.push_back(record.get());
    static_cast<void>(record.release());
}

// The handle is one without a trace log: that a device does not open is told by the enumeration
// alone.
bool opens(CScsiDeviceHandle& handle, CScsiDeviceData& record) {
    return handle.open(record, true) != -1;
}

// Keeps a record whose device can be opened; `kind` is "DMP" or "Native".
void keepIfItOpens(CLinuxDeviceDiscovery& discovery, const char* kind, RecordPointer record,
                   std::vector<CScsiDeviceData*>& devices) {
    const char* const path = record->m_deviceName.c_str();
    CScsiDeviceHandle handle;
    if (!opens(handle, *record)) {
        traceTo(discovery.m_traceLog, 3, "INFO: %s device %s deleted.", kind, path);
        return;
    }
    append(devices, std::move(record));
    traceTo(discovery.m_traceLog, 3, "INFO: %s device %s added. %s device enumeration done", kind,
            path, kind);
}

// What gethostname does with a buffer of 255 bytes: a name that does not fit into it together with
// its NUL is cut and refused. False when the name was refused or cannot be read.
bool readHostName(host::Host& host, std::string& name) {
    if (host.hostName(name) < 0) {
        name.clear();
        return false;
    }
    if (name.size() < kHostNameSize) {
        return true;
    }
    name.resize(kHostNameSize - 1);
    return false;
}

// A record of a multipath pseudo-device.
RecordPointer pseudoRecord(const std::string& path, const SDeviceInfo& info,
                           const std::string& hostName) {
    RecordPointer record = newRecord(path, hostName);
    record->m_dmpClaimLevel = info.dmpClaimLevel;
    record->m_busType = 1;
    record->m_multipath = 1;
    return record;
}

// The name in a line of /proc/partitions, at most 8 characters; false for any other line.
bool partitionName(const std::string& line, std::string& name) {
    if (line.find("sd") == std::string::npos) {
        return false;
    }
    int major = 0;
    int minor = 0;
    int blocks = 0;
    char buffer[10] = {};
    constexpr int kItems = 4;
    if (V_sscanf(line.c_str(), line.size() + 1, " %d %d %d %8s", &major, &minor, &blocks, buffer) !=
        kItems) {
        return false;
    }
    name = buffer;
    return true;
}

}  // namespace

CLinuxDeviceDiscovery::CLinuxDeviceDiscovery() = default;
CLinuxDeviceDiscovery::~CLinuxDeviceDiscovery() = default;

std::vector<CScsiDeviceData*> CLinuxDeviceDiscovery::enumerateDevices(
    const std::string& deviceName) {
    const CFiTraceLogFunction function(m_traceLog, "enumerateDevices", kSource);
    std::vector<CScsiDeviceData*> devices;
    const auto passes = [&](const std::string& name) {
        return deviceName.empty() || name == deviceName;
    };
    try {
        DeviceMap pseudoDevices;
        std::string hostName;
        readHostName(host::current(), hostName);
        m_dmpDiscoveryManager.registerTraceLog(m_traceLog);
        m_dmpDiscoveryManager.enumerateDmpDevices(pseudoDevices);
        traceTo(m_traceLog, 3, "INFO: enumerate DMP devices returned [%ld] devices",
                static_cast<long>(pseudoDevices.size()));
        for (const auto& [path, info] : pseudoDevices) {
            if (passes(path)) {
                traceTo(m_traceLog, 3, "dmp: %s", path.c_str());
                keepIfItOpens(*this, "DMP", pseudoRecord(path, info, hostName), devices);
            }
        }
        for (const std::string& path : enumerateNativeDevicePaths()) {
            if (passes(path)) {
                keepIfItOpens(*this, "Native", newRecord(path, hostName), devices);
            }
        }
    } catch (...) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: CLinuxDeviceDiscovery::EnumerateDevices() failed.");
    }
    return devices;
}

std::vector<CScsiDeviceData*> CLinuxDeviceDiscovery::validateEnumerateDevices(
    std::string deviceName) {
    const CFiTraceLogFunction function(m_traceLog, "validateEnumerateDevices", kSource);
    std::vector<CScsiDeviceData*> devices;
    try {
        std::string hostName;
        readHostName(host::current(), hostName);
        auto record = newRecord(deviceName, hostName);
        CScsiDeviceHandle handle;
        if (opens(handle, *record)) {
            append(devices, std::move(record));
        }
    } catch (...) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: CLinuxDeviceDiscovery::EnumerateDevices() failed.");
    }
    return devices;
}

std::vector<std::string> CLinuxDeviceDiscovery::enumerateNativeDevicePaths() {
    const CFiTraceLogFunction function(m_traceLog, "enumerateNativeDevicePaths", kSource);
    try {
        std::vector<std::string> paths;
        std::string content;
        if (host::current().readFile(kPartitions, content) < 0) {
            traceTo(m_traceLog, 1, "ERROR: failed to open /proc/partitions for reading.");
            return paths;
        }
        traceTo(m_traceLog, 3, "INFO: reading /proc/partitions\n");
        for (const std::string& line : tools::fgetsPieces(content, kLineBuffer)) {
            std::string name;
            if (partitionName(line, name) && IsValidDeviceName(name)) {
                paths.push_back("/dev/" + name);
            }
        }
        return paths;
    } catch (...) {
        throw static_cast<int>(scsi::kFailure);
    }
}

bool CLinuxDeviceDiscovery::IsValidDeviceName(const std::string& name) {
    try {
        if (name.empty()) {
            return true;
        }
        if (name.find("sd") != 0) {
            return false;
        }
        return std::isdigit(static_cast<unsigned char>(name.back())) == 0;
    } catch (...) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: CLinuxDeviceDiscovery::IsValidDeviceName() failed");
        throw static_cast<int>(scsi::kFailure);
    }
}

int CLinuxDeviceDiscovery::getDiskSize(const std::string& path, unsigned long& sizeKB) {
    traceTo(m_traceLog, 6, "libscsitool: DEBUG: Entering CLinuxDeviceDiscovery::getDiskSize()");
    host::Host& host = host::current();
    int result = 0;
    const int descriptor = host.openDevice(path, host::OpenMode::kReadOnly);
    if (descriptor < 0) {
        traceTo(m_traceLog, 1, "ERROR: Device [%s], open failed with error [%d]\n", path.c_str(),
                -descriptor);
        result = kOpenFailed;
    } else {
        std::uint64_t bytes = 0;
        const int answer = host.deviceSize(descriptor, bytes);
        if (answer < 0) {
            traceTo(m_traceLog, 1,
                    "ERROR: ioctl(BLKGETSIZE64) failed for device [%s] with error no [%d]\n",
                    path.c_str(), -answer);
            result = kSizeRequestFailed;
        } else {
            sizeKB = static_cast<unsigned long>(bytes >> 10);
            traceTo(m_traceLog, 3, "Size of disk %s in KB is: [%lu]", path.c_str(), sizeKB);
        }
        if (host.closeDevice(descriptor) < 0) {
            traceTo(m_traceLog, 1, "ERROR: Close failed\n");
            return kCloseFailed;
        }
    }
    traceTo(m_traceLog, 6, "libscsitool: DEBUG: Exiting CLinuxDeviceDiscovery::getDiskSize()");
    return result;
}

int CLinuxDeviceDiscovery::enumerateNativeDevicePathsExt(std::vector<CScsiDeviceData>& devices) {
    const CFiTraceLogFunction function(m_traceLog, "enumerateNativeDevicePathsExt", kSource);
    try {
        std::string hostName;
        if (!readHostName(host::current(), hostName)) {
            traceTo(m_traceLog, 1, "Failed to get the hostname");
            return scsi::kFailure;
        }
        const std::vector<std::string> paths = enumerateNativeDevicePaths();
        if (paths.empty()) {
            traceTo(m_traceLog, 1, "Failed to list any native devices");
            return scsi::kFailure;
        }
        for (const std::string& path : paths) {
            const RecordPointer owned = newRecord(path, hostName);
            CScsiDeviceData& record = *owned;
            unsigned long sizeKb = 0;
            if (getDiskSize(path, sizeKb) == 0) {
                record.m_sizeKb = sizeKb;
            }
            record.m_busType = 1;
            record.m_multipath = 1;
            CScsiDeviceHandle handle;
            if (!opens(handle, record)) {
                traceTo(m_traceLog, 3, "INFO: Native device %s ignored.", path.c_str());
                continue;
            }
            devices.push_back(record);
            traceTo(m_traceLog, 3, "INFO: Native device %s added. Native device enumeration done",
                    path.c_str());
        }
        return scsi::kSuccess;
    } catch (...) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: CLinuxDeviceDiscovery::enumerateNativeDevicePathsExt() "
                "failed.");
        return scsi::kFailure;
    }
}
