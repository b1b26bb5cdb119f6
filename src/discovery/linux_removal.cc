#include <algorithm>
#include <exception>

#include "discovery/scsi_table.h"
#include "scsi/scsi_result.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"
#include "scsitool/kit/context_singleton.h"
#include "scsitool/kit/string_tool.h"
#include "scsitool/tools/string_tool.h"
#include "tools/host_command.h"
#include "tools/trace.h"

using discovery::kScsiTable;
using discovery::kTraceSource;
using qzfi_pdk_4_4::CFiStringTool;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using qzfi_pdk_4_4::V_snprintf;
using tools::traceTo;

namespace {

using ProcessTraceLog =
    qzfi_pdk_4_4::CFiContextSingleton<qzfi_pdk_4_4::CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;

constexpr char kMapDirectory[] = "/dev/mapper/";
constexpr std::size_t kTextBuffer = 255;
constexpr int kNoAdapter = -1;

bool isAt(const CScsiDeviceData& record, const SLinuxScsiDevice& address) {
    return record.m_port == address.host && static_cast<int>(record.m_bus) == address.channel &&
           record.m_target == address.id && record.m_lun == address.lun;
}

void trimIdentity(CScsiDeviceData& record) {
    record.m_vendorId = CStringTool::rtrim(record.m_vendorId, ' ');
    record.m_productId = CStringTool::rtrim(record.m_productId, ' ');
}

void traceRecord(const CLinuxDeviceDiscovery& discovery, const CScsiDeviceData& record) {
    traceTo(discovery.m_traceLog, 3,
            "INFO: iter devices a[%d] b[%d] t[%d] l[%d] vendor[%s], product[%s]", record.m_port,
            static_cast<int>(record.m_bus), record.m_target, record.m_lun,
            record.m_vendorId.c_str(), record.m_productId.c_str());
}

// Takes the records without an address out of the list. Every one that is taken out starts the
// walk again, so that the trace shows the list as it then is.
void dropRecordsWithoutAddress(const CLinuxDeviceDiscovery& discovery,
                               std::vector<CScsiDeviceData*>& records) {
    auto record = records.begin();
    while (record != records.end()) {
        trimIdentity(**record);
        traceRecord(discovery, **record);
        if ((*record)->m_port == kNoAdapter) {
            records.erase(record);
            record = records.begin();
        } else {
            ++record;
        }
    }
}

void traceMatch(const CLinuxDeviceDiscovery& discovery, const SLinuxScsiDevice& address,
                const CScsiDeviceData& record) {
    traceTo(discovery.m_traceLog, 3,
            "INFO: found match comparing devices a[%d,%d] b[%d,%d] t[%d,%d] l[%d,%d]", address.host,
            record.m_port, address.channel, static_cast<int>(record.m_bus), address.id,
            record.m_target, address.lun, record.m_lun);
}

void flushUnusedMaps(const CLinuxDeviceDiscovery& discovery) {
    const std::string command = "/sbin/multipath -F";
    traceTo(discovery.m_traceLog, 3,
            "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices Calling Multipath Stale "
            "Device Path Flushing command [%s].",
            command.c_str());
    const tools::CommandRun run = tools::runCommand(command, discovery.m_traceLog);
    if (run.result != 0) {
        // A map in use cannot be flushed: that is told to the whole process and is no failure.
        traceTo(ProcessTraceLog::instance(false), 2,
                "WARN: FlushMultipathStaleDevices - command [%s] executed with value [%d]",
                command.c_str(), run.result);
    }
    for (const std::string& line : run.output) {
        traceTo(discovery.m_traceLog, 5, "INFO: Mapped Devices in use :%s",
                CFiStringTool::trim(line, " \n\t\r").c_str());
    }
}

}  // namespace

void CLinuxDeviceDiscovery::RemoveDevice(int host, int channel, int id, int lun) {
    const CFiTraceLogFunction function(m_traceLog, "RemoveDevice", kTraceSource);
    traceTo(m_traceLog, 3, "INFO: RemoveDevice [%d,%d,%d,%d]", host, channel, id, lun);
    host::Host& system = host::current();

    char command[kTextBuffer];
    V_snprintf(command, sizeof command, "scsi remove-single-device %d %d %d %d\n", host, channel,
               id, lun);
    if (system.appendFile(kScsiTable, command).openError != 0) {
        // Without the table the removal by sysfs is not tried either.
        traceTo(m_traceLog, 3, "INFO: remove device failed to open /proc/scsi/scsi for: %s\n",
                command);
        return;
    }
    traceTo(m_traceLog, 3, "INFO: removing: %s\n", command);

    char path[kTextBuffer];
    V_snprintf(path, sizeof path, "/sys/class/scsi_device/%d:%d:%d:%d/device/delete", host, channel,
               id, lun);
    if (system.appendFile(path, "1").openError != 0) {
        traceTo(m_traceLog, 2, "WARNING: remove device failed to open %s for device removal", path);
        return;
    }
    traceTo(m_traceLog, 3, "INFO: removing: %s", path);

    char request[kTextBuffer];
    V_snprintf(path, sizeof path, "/sys/class/scsi_host/host%d/scan", host);
    V_snprintf(request, sizeof request, "%d %d %d\n", channel, id, lun);
    if (system.appendFile(path, request).openError != 0) {
        traceTo(m_traceLog, 2, "WARNING: device failed to open %s for device scan %s", path,
                request);
        return;
    }
    traceTo(m_traceLog, 3, "INFO: scaning after remove: %s", request);
}

void CLinuxDeviceDiscovery::removeDeadDevices(std::vector<CScsiDeviceData*>& devices,
                                              bool removeLun0) {
    const CFiTraceLogFunction function(m_traceLog, "removeDeadDevices", kTraceSource);
    traceTo(m_traceLog, 3, "removeDeadDevices : removeLun0 = %d", static_cast<int>(removeLun0));
    const std::vector<SLinuxScsiDevice> inventory = getDeviceList(true);
    dropRecordsWithoutAddress(*this, devices);
    for (const SLinuxScsiDevice& address : inventory) {
        const auto match =
            std::find_if(devices.begin(), devices.end(),
                         [&](const CScsiDeviceData* record) { return isAt(*record, address); });
        if (match != devices.end()) {
            traceMatch(*this, address, **match);
            continue;
        }
        traceTo(m_traceLog, 3, "INFO: removing device a[%d] b[%d] t[%d] l[%d]", address.host,
                address.channel, address.id, address.lun);
        if (address.lun != 0 || removeLun0) {
            RemoveDevice(address.host, address.channel, address.id, address.lun);
        } else {
            // LUN 0 is often the array's controller, by which its other units are found.
            traceTo(m_traceLog, 3, "INFO: Device is not removed as LUN=0 and removeLun0 = false");
        }
    }
    rescanScsiBus(false, "");
}

void CLinuxDeviceDiscovery::removeDevice(const std::string& devicePath) {
    constexpr char kName[] = "CLinuxDeviceDiscovery::removeDevice";
    const CFiTraceLogFunction function(m_traceLog, "removeDevice", kTraceSource);
    const auto traceException = [&](const char* text) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: %s Failed to remove device [%s]. Exception: [%s]", kName,
                devicePath.c_str(), text);
    };
    try {
        if (devicePath.empty()) {
            traceTo(m_traceLog, 2, "%s: - Device Path is NULL. Will not execute dmsetup command",
                    kName);
            return;
        }
        if (devicePath.find(kMapDirectory) == std::string::npos) {
            return;
        }
        const std::string command = "/usr/sbin/dmsetup remove " + devicePath;
        traceTo(m_traceLog, 3, "%s - Executing command:[%s]", kName, command.c_str());
        const tools::CommandRun run = tools::runCommand(command, m_traceLog);
        const long status = m_scsiTool.GetExecPipeWaitPidStatus(run.waitStatus);
        if (status != 0) {
            const std::string output = CFiStringTool::vec2str(run.output, "");
            traceTo(m_traceLog, 2, "%s - command  failed [%s] with output [%s]", kName,
                    command.c_str(), output.c_str());
            traceTo(m_traceLog, 2, "%s - Return code: %d", kName, static_cast<int>(status));
        }
    } catch (const std::exception& exception) {
        traceException(exception.what());
    } catch (...) {
        traceException("unknown exception");
    }
}

int CLinuxDeviceDiscovery::removeStaleDevices(const std::string& scriptArguments) {
    const CFiTraceLogFunction function(m_traceLog, "removeStaleDevices", kTraceSource);
    return executeRescanScsiScript(" --remove --flush -d" + scriptArguments);
}

int CLinuxDeviceDiscovery::FlushMultipathStaleDevices() {
    try {
        const std::string command = "/sbin/pidof -x multipathd";
        traceTo(m_traceLog, 3,
                "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - calling command [%s].",
                command.c_str());
        const tools::CommandRun daemon = tools::runCommand(command, m_traceLog);
        if (daemon.result != 0) {
            traceTo(m_traceLog, 1,
                    "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - command  [%s] "
                    "failed  with output [%s]",
                    command.c_str(), CFiStringTool::vec2str(daemon.output, "").c_str());
            return daemon.result;
        }
        if (daemon.output.empty()) {
            traceTo(m_traceLog, 3,
                    "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices multipathd daemon "
                    "not running");
            return scsi::kSuccess;
        }
        traceTo(m_traceLog, 3,
                "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices multipath unused/stale "
                "device maps");
        if (host::current().isDirectory(kMapDirectory)) {
            flushUnusedMaps(*this);
        }
        return scsi::kSuccess;
    } catch (...) {
        traceTo(m_traceLog, 2,
                "CLinuxDeviceDiscovery::FlushMultipathStaleDevices: Exception Occurred");
        return scsi::kFailure;
    }
}
