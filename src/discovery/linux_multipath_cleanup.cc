#include <exception>

#include "discovery/operation.h"
#include "scsi/scsi_result.h"
#include "scsitool/kit/context_singleton.h"
#include "scsitool/kit/string_tool.h"
#include "tools/host_command.h"
#include "tools/trace.h"

using discovery::kTraceSource;
using discovery::Operation;
using qzfi_pdk_4_4::CFiStringTool;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace {

using ProcessTraceLog =
    qzfi_pdk_4_4::CFiContextSingleton<qzfi_pdk_4_4::CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;

constexpr char kMapDirectory[] = "/dev/mapper/";
constexpr char kMapRemoval[] = "CLinuxDeviceDiscovery::removeDevice";

void removeMap(const Operation& operation, const std::string& devicePath) {
    const std::string command = "/usr/sbin/dmsetup remove " + devicePath;
    traceTo(operation.log, 3, "%s - Executing command:[%s]", kMapRemoval, command.c_str());
    const tools::CommandRun run = tools::runCommand(operation.host, command, operation.log);
    const long status = operation.tool.GetExecPipeWaitPidStatus(run.waitStatus);
    if (status != 0) {
        const std::string output = CFiStringTool::vec2str(run.output, "");
        traceTo(operation.log, 2, "%s - command  failed [%s] with output [%s]", kMapRemoval,
                command.c_str(), output.c_str());
        traceTo(operation.log, 2, "%s - Return code: %d", kMapRemoval, static_cast<int>(status));
    }
}

void flushUnusedMaps(const Operation& operation) {
    const std::string command = "/sbin/multipath -F";
    traceTo(operation.log, 3,
            "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices Calling Multipath Stale "
            "Device Path Flushing command [%s].",
            command.c_str());
    const tools::CommandRun run = tools::runCommand(operation.host, command, operation.log);
    if (run.result != 0) {
        // A map in use cannot be flushed: that is told to the whole process and is no failure.
        traceTo(ProcessTraceLog::instance(false), 2,
                "WARN: FlushMultipathStaleDevices - command [%s] executed with value [%d]",
                command.c_str(), run.result);
    }
    for (const std::string& line : run.output) {
        traceTo(operation.log, 5, "INFO: Mapped Devices in use :%s",
                CFiStringTool::trim(line, " \n\t\r").c_str());
    }
}

int flushWhereTheDaemonRuns(const Operation& operation) {
    const std::string command = "/sbin/pidof -x multipathd";
    traceTo(operation.log, 3,
            "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - calling command [%s].",
            command.c_str());
    const tools::CommandRun daemon = tools::runCommand(operation.host, command, operation.log);
    if (daemon.result != 0) {
        traceTo(operation.log, 1,
                "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - command  [%s] "
                "failed  with output [%s]",
                command.c_str(), CFiStringTool::vec2str(daemon.output, "").c_str());
        return daemon.result;
    }
    if (daemon.output.empty()) {
        traceTo(operation.log, 3,
                "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices multipathd daemon "
                "not running");
        return scsi::kSuccess;
    }
    traceTo(operation.log, 3,
            "INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices multipath unused/stale "
            "device maps");
    if (operation.host.isDirectory(kMapDirectory)) {
        flushUnusedMaps(operation);
    }
    return scsi::kSuccess;
}

}  // namespace

void CLinuxDeviceDiscovery::removeDevice(const std::string& devicePath) {
    const CFiTraceLogFunction function(m_traceLog, "removeDevice", kTraceSource);
    const auto traceException = [&](const char* text) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: %s Failed to remove device [%s]. Exception: [%s]", kMapRemoval,
                devicePath.c_str(), text);
    };
    try {
        if (devicePath.empty()) {
            traceTo(m_traceLog, 2, "%s: - Device Path is NULL. Will not execute dmsetup command",
                    kMapRemoval);
        } else if (devicePath.find(kMapDirectory) != std::string::npos) {
            removeMap(Operation(m_traceLog, m_scsiTool), devicePath);
        }
    } catch (const std::exception& exception) {
        traceException(exception.what());
    } catch (...) {
        traceException("unknown exception");
    }
}

int CLinuxDeviceDiscovery::FlushMultipathStaleDevices() {
    try {
        return flushWhereTheDaemonRuns(Operation(m_traceLog, m_scsiTool));
    } catch (...) {
        traceTo(m_traceLog, 2,
                "CLinuxDeviceDiscovery::FlushMultipathStaleDevices: Exception Occurred");
        return scsi::kFailure;
    }
}
