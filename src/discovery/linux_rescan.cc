#include <cctype>
#include <string_view>

#include "discovery/scsi_table.h"
#include "scsi/scsi_result.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"
#include "scsitool/kit/string_tool.h"
#include "tools/host_command.h"
#include "tools/trace.h"

using discovery::kTraceSource;
using qzfi_pdk_4_4::CFiStringTool;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using qzfi_pdk_4_4::V_snprintf;
using tools::traceTo;

namespace {

using AdapterNumbers = std::map<std::string, std::vector<int>>;

constexpr const char* kFibreChannelDrivers[] = {"qla2100", "qla2xxx", "qla2200",
                                                "qla2300", "qla2400", "lpfc"};

// The adapter numbers in a line of a driver's directory: its words that begin with a digit.
std::vector<int> numbersIn(const std::string& line) {
    std::vector<int> numbers;
    // A NUL ends the line, as it ends any text that the C library splits.
    for (const std::string& word : CFiStringTool::tokenize(line.c_str(), " ")) {
        int number = 0;
        if (std::isdigit(static_cast<unsigned char>(word.front())) != 0 &&
            qzfi_pdk_4_4::V_sscanf(word.c_str(), word.size(), "%d", &number) == 1) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

std::vector<std::string> listed(const std::string& command,
                                const CLinuxDeviceDiscovery& discovery) {
    traceTo(discovery.m_traceLog, 3, "INFO: sending command: %s", command.c_str());
    // What a failing listing has printed is used all the same.
    return tools::runCommand(command, discovery.m_traceLog).output;
}

void addAdaptersOfDriver(const CLinuxDeviceDiscovery& discovery, const std::string& driver,
                         AdapterNumbers& adapters) {
    for (const std::string& line : listed("/bin/ls /proc/scsi/" + driver, discovery)) {
        for (const int number : numbersIn(line)) {
            traceTo(discovery.m_traceLog, 3, "INFO: adding: %s - %d\n", driver.c_str(), number);
            adapters[driver].push_back(number);
        }
    }
}

// Finds the rescan script; empty, after the operator was told, when the host has none.
std::string findRescanScript(const CLinuxDeviceDiscovery& discovery) {
    const auto& log = discovery.m_traceLog;
    std::string path = "/bin/rescan-scsi-bus.sh";
    traceTo(log, 3, "Info:Trying with rescan-scsi-bus.sh");
    if (host::current().pathExists(path)) {
        return path;
    }
    traceTo(log, 3, "Info: failed to open file[%s]", path.c_str());
    path = "/usr" + path;
    traceTo(log, 3, "Info:Trying with [%s]", path.c_str());
    if (host::current().pathExists(path)) {
        return path;
    }
    traceTo(log, 3, "Info: failed to open file[%s]", path.c_str());
    traceTo(log, 8,
            "Failed to open rescan script:%s. Snapshot disks will not be visible to the host to "
            "be protected.",
            path.c_str());
    return std::string();
}

}  // namespace

int CLinuxDeviceDiscovery::rescanScsiBus(bool /*flag*/, const std::string& scriptArguments) {
    const CFiTraceLogFunction function(m_traceLog, "rescanScsiBus", kTraceSource);
    constexpr std::string_view kOldKernel = "2.4.";
    const std::string release = host::current().kernelRelease();
    if (release.compare(0, kOldKernel.size(), kOldKernel) == 0) {
        AdapterNumbers adapters;
        GetHostAdapterList(adapters);
        traceTo(m_traceLog, 3, "INFO: doing 2.4 kernel SCSI bus scan");
        return RescanScsiMidLayer2_4(adapters);
    }
    traceTo(m_traceLog, 3, "INFO: Doing kernel SCSI bus scan. Release string is [%s]",
            release.c_str());
    return RescanScsiMidLayer2_6(scriptArguments);
}

int CLinuxDeviceDiscovery::GetHostAdapterList(AdapterNumbers& adapters) {
    const CFiTraceLogFunction function(m_traceLog, "GetHostAdapterList", kTraceSource);
    try {
        for (const std::string& line : listed("/bin/ls /proc/scsi", *this)) {
            for (const char* const driver : kFibreChannelDrivers) {
                if (line.find(driver) != std::string::npos) {
                    addAdaptersOfDriver(*this, driver, adapters);
                }
            }
        }
    } catch (...) {
        traceTo(m_traceLog, 2, "CLinuxDeviceDiscovery::GetHostAdapterList: Exception Occurred");
    }
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::GetHostAdapterList2_6(std::vector<std::string>& adapters) {
    const CFiTraceLogFunction function(m_traceLog, "GetHostAdapterList2_6", kTraceSource);
    try {
        for (const std::string& line : listed("/bin/ls /sys/class/scsi_host", *this)) {
            adapters.push_back(CFiStringTool::trim(line, " \n\t\r"));
            traceTo(m_traceLog, 3, "INFO: adding adapter %s", adapters.back().c_str());
        }
    } catch (...) {
        traceTo(m_traceLog, 2, "CLinuxDeviceDiscovery::GetHostAdapterList2_6: Exception Occurred");
    }
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::RescanQlogicHBAs(AdapterNumbers& adapters) {
    const CFiTraceLogFunction function(m_traceLog, "RescanQlogicHBAs", kTraceSource);
    constexpr unsigned kLoopScanSeconds = 3;
    host::Host& host = host::current();
    for (const auto& [driver, numbers] : adapters) {
        if (driver.find("qla") == std::string::npos) {
            continue;
        }
        for (const int number : numbers) {
            char name[8];
            V_snprintf(name, sizeof name, "%d", number);
            const std::string path = "/proc/scsi/" + driver + "/" + name;
            if (host.appendFile(path, "scsi-qlascan\n").openError != 0) {
                traceTo(m_traceLog, 2, "Warning: adapter device failed to open for: %s\n",
                        path.c_str());
                continue;
            }
            traceTo(m_traceLog, 3, "INFO: low-level rescanning qlogic hba: %s\n", path.c_str());
            host.sleepSeconds(kLoopScanSeconds);
        }
    }
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::RescanScsiMidLayer2_4(AdapterNumbers& adapters) {
    const CFiTraceLogFunction function(m_traceLog, "RescanScsiMidLayer2_4", kTraceSource);
    try {
        RescanQlogicHBAs(adapters);
        std::map<int, int> maxLun;
        for (const auto& [driver, numbers] : adapters) {
            for (const int number : numbers) {
                maxLun[number] = 0;
            }
        }
        std::map<int, int> maxId = maxLun;
        std::map<int, int> maxChannel = maxLun;
        // Without the maxima the first addresses of every adapter are still worth a try.
        scanForAdapterMaximums(maxLun, maxId, maxChannel);
        scanForNewDevices(maxLun, maxId, maxChannel);
    } catch (...) {
        // Whatever was found by then is found by the enumeration that follows.
    }
    return scsi::kSuccess;
}

int CLinuxDeviceDiscovery::RescanScsiMidLayer2_6(const std::string& scriptArguments) {
    const CFiTraceLogFunction function(m_traceLog, "RescanScsiMidLayer2_6", kTraceSource);
    return executeRescanScsiScript(" --alltargets --issue-lip -d" + scriptArguments);
}

int CLinuxDeviceDiscovery::executeRescanScsiScript(const std::string& arguments) {
    const CFiTraceLogFunction function(m_traceLog, "executeRescanScsiScript", kTraceSource);
    const std::string script = findRescanScript(*this);
    if (script.empty()) {
        return scsi::kFailure;
    }
    char command[1024];
    V_snprintf(command, sizeof command, "%s%s", script.c_str(), arguments.c_str());
    traceTo(m_traceLog, 3, "Info: Executing [%s]", command);
    const tools::CommandRun run = tools::runCommand(command, m_traceLog);
    if (run.result == 0) {
        return scsi::kSuccess;
    }
    const long status = m_scsiTool.GetExecPipeWaitPidStatus(run.waitStatus);
    traceTo(m_traceLog, 1, "Failed to execute script: [%s]. Return code: %ld", command, status);
    for (const std::string& line : run.output) {
        traceTo(m_traceLog, 2, "Warning: [%s]", line.c_str());
    }
    return scsi::kFailure;
}
