#include <cctype>

#include "discovery/bus_rescan.h"
#include "discovery/inventory.h"
#include "scsitool/kit/bounded_string.h"
#include "scsitool/kit/string_tool.h"
#include "tools/host_command.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiStringTool;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace discovery {
namespace {

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

void addAdaptersOfDriver(const Operation& operation, const std::string& driver,
                         AdapterNumbers& adapters) {
    for (const std::string& line : listedBy(operation, "/bin/ls /proc/scsi/" + driver)) {
        for (const int number : numbersIn(line)) {
            traceTo(operation.log, 3, "INFO: adding: %s - %d\n", driver.c_str(), number);
            adapters[driver].push_back(number);
        }
    }
}

void rescanQlogicAdapter(const Operation& operation, const std::string& driver, int number) {
    constexpr unsigned kLoopScanSeconds = 3;
    char name[8];
    qzfi_pdk_4_4::V_snprintf(name, sizeof name, "%d", number);
    const std::string path = "/proc/scsi/" + driver + "/" + name;
    const auto announce = [&] {
        traceTo(operation.log, 3, "INFO: low-level rescanning qlogic hba: %s\n", path.c_str());
    };
    if (operation.host.appendFile(path, "scsi-qlascan\n", announce).openError != 0) {
        traceTo(operation.log, 2, "Warning: adapter device failed to open for: %s\n", path.c_str());
        return;
    }
    operation.host.sleepSeconds(kLoopScanSeconds);
}

}  // namespace

std::vector<std::string> listedBy(const Operation& operation, const std::string& command) {
    traceTo(operation.log, 3, "INFO: sending command: %s", command.c_str());
    // What a failing listing has printed is used all the same.
    return tools::runCommand(operation.host, command, operation.log).output;
}

void findHostAdapters(const Operation& operation, AdapterNumbers& adapters) {
    const CFiTraceLogFunction function(operation.log, "GetHostAdapterList", kTraceSource);
    try {
        for (const std::string& line : listedBy(operation, "/bin/ls /proc/scsi")) {
            for (const char* const driver : kFibreChannelDrivers) {
                if (line.find(driver) != std::string::npos) {
                    addAdaptersOfDriver(operation, driver, adapters);
                }
            }
        }
    } catch (...) {
        traceTo(operation.log, 2, "CLinuxDeviceDiscovery::GetHostAdapterList: Exception Occurred");
    }
}

void rescanQlogicAdapters(const Operation& operation, const AdapterNumbers& adapters) {
    const CFiTraceLogFunction function(operation.log, "RescanQlogicHBAs", kTraceSource);
    for (const auto& [driver, numbers] : adapters) {
        if (driver.find("qla") == std::string::npos) {
            continue;
        }
        for (const int number : numbers) {
            rescanQlogicAdapter(operation, driver, number);
        }
    }
}

void rescanByProbing(const Operation& operation, const AdapterNumbers& adapters) {
    const CFiTraceLogFunction function(operation.log, "RescanScsiMidLayer2_4", kTraceSource);
    try {
        rescanQlogicAdapters(operation, adapters);
        AdapterMap maxLun;
        for (const auto& [driver, numbers] : adapters) {
            for (const int number : numbers) {
                maxLun[number] = 0;
            }
        }
        AdapterMap maxId = maxLun;
        AdapterMap maxChannel = maxLun;
        // Without the maxima the first addresses of every adapter are still worth a try.
        raiseMaximums(operation, maxLun, maxId, maxChannel);
        probeForDevices(operation, maxLun, maxId, maxChannel);
    } catch (...) {
        // Whatever was found by then is found by the enumeration that follows.
    }
}

}  // namespace discovery
