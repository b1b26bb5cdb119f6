#include <string_view>

#include "discovery/bus_rescan.h"
#include "scsi/scsi_result.h"
#include "scsitool/kit/bounded_string.h"
#include "scsitool/kit/string_tool.h"
#include "tools/host_command.h"
#include "tools/trace.h"

using discovery::AdapterNumbers;
using discovery::kTraceSource;
using discovery::Operation;
using qzfi_pdk_4_4::CFiStringTool;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace {

// Finds the rescan script; empty, after the operator was told, when the host has none.
std::string findRescanScript(const Operation& operation) {
    const auto& log = operation.log;
    std::string path = "/bin/rescan-scsi-bus.sh";
    traceTo(log, 3, "Info:Trying with rescan-scsi-bus.sh");
    if (operation.host.pathExists(path)) {
        return path;
    }
    traceTo(log, 3, "Info: failed to open file[%s]", path.c_str());
    path = "/usr" + path;
    traceTo(log, 3, "Info:Trying with [%s]", path.c_str());
    if (operation.host.pathExists(path)) {
        return path;
    }
    traceTo(log, 3, "Info: failed to open file[%s]", path.c_str());
    traceTo(log, 8,
            "Failed to open rescan script:%s. Snapshot disks will not be visible to the host to "
            "be protected.",
            path.c_str());
    return std::string();
}

int rescanByScript(const Operation& operation, const std::string& scriptArguments) {
    const CFiTraceLogFunction function(operation.log, "RescanScsiMidLayer2_6", kTraceSource);
    return discovery::runRescanScript(operation, " --alltargets --issue-lip -d" + scriptArguments);
}

}  // namespace

int discovery::runRescanScript(const Operation& operation, const std::string& arguments) {
    const CFiTraceLogFunction function(operation.log, "executeRescanScsiScript", kTraceSource);
    const std::string script = findRescanScript(operation);
    if (script.empty()) {
        return scsi::kFailure;
    }
    char command[1024];
    qzfi_pdk_4_4::V_snprintf(command, sizeof command, "%s%s", script.c_str(), arguments.c_str());
    traceTo(operation.log, 3, "Info: Executing [%s]", command);
    const tools::CommandRun run = tools::runCommand(operation.host, command, operation.log);
    if (run.result == 0) {
        return scsi::kSuccess;
    }
    const long status = operation.tool.GetExecPipeWaitPidStatus(run.waitStatus);
    traceTo(operation.log, 1, "Failed to execute script: [%s]. Return code: %ld", command, status);
    for (const std::string& line : run.output) {
        traceTo(operation.log, 2, "Warning: [%s]", line.c_str());
    }
    return scsi::kFailure;
}

int CLinuxDeviceDiscovery::rescanScsiBus(bool /*flag*/, const std::string& scriptArguments) {
    const CFiTraceLogFunction function(m_traceLog, "rescanScsiBus", kTraceSource);
    constexpr std::string_view kOldKernel = "2.4.";
    const Operation operation(m_traceLog, m_scsiTool);
    const std::string release = operation.host.kernelRelease();
    if (release.compare(0, kOldKernel.size(), kOldKernel) == 0) {
        AdapterNumbers adapters;
        discovery::findHostAdapters(operation, adapters);
        traceTo(m_traceLog, 3, "INFO: doing 2.4 kernel SCSI bus scan");
        discovery::rescanByProbing(operation, adapters);
        return scsi::kSuccess;
    }
    traceTo(m_traceLog, 3, "INFO: Doing kernel SCSI bus scan. Release string is [%s]",
            release.c_str());
    return rescanByScript(operation, scriptArguments);
}

int CLinuxDeviceDiscovery::GetHostAdapterList(AdapterNumbers& adapters) {
    discovery::findHostAdapters(Operation(m_traceLog, m_scsiTool), adapters);
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::GetHostAdapterList2_6(std::vector<std::string>& adapters) {
    const CFiTraceLogFunction function(m_traceLog, "GetHostAdapterList2_6", kTraceSource);
    const Operation operation(m_traceLog, m_scsiTool);
    try {
        for (const std::string& line :
             discovery::listedBy(operation, "/bin/ls /sys/class/scsi_host")) {
            adapters.push_back(CFiStringTool::trim(line, " \n\t\r"));
            traceTo(m_traceLog, 3, "INFO: adding adapter %s", adapters.back().c_str());
        }
    } catch (...) {
        traceTo(m_traceLog, 2, "CLinuxDeviceDiscovery::GetHostAdapterList2_6: Exception Occurred");
    }
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::RescanQlogicHBAs(AdapterNumbers& adapters) {
    discovery::rescanQlogicAdapters(Operation(m_traceLog, m_scsiTool), adapters);
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::RescanScsiMidLayer2_4(AdapterNumbers& adapters) {
    discovery::rescanByProbing(Operation(m_traceLog, m_scsiTool), adapters);
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::RescanScsiMidLayer2_6(const std::string& scriptArguments) {
    return rescanByScript(Operation(m_traceLog, m_scsiTool), scriptArguments);
}

int CLinuxDeviceDiscovery::executeRescanScsiScript(const std::string& arguments) {
    return discovery::runRescanScript(Operation(m_traceLog, m_scsiTool), arguments);
}
