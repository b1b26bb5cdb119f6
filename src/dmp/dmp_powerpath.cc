#include "scsitool/dmp/dmp_powerpath.h"

#include <string>
#include <string_view>
#include <vector>

#include "dmp/pseudo_device.h"
#include "dmp/read_dir.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/string_tool.h"
#include "tools/host_command.h"
#include "tools/trace.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

constexpr char kSource[] = "dmp_powerpath";
constexpr char kPowermt[] = "/sbin/powermt";
constexpr std::string_view kNodeDirectory = "/dev/";
constexpr std::string_view kNodeName = "emcpower";

// The bare "emcpower" is the driver's control node; a number at the end is a partition's.
bool isPseudoDevice(const std::string& path) {
    const std::size_t bareLength = kNodeDirectory.size() + kNodeName.size();
    return path.size() != bareLength && !(path.size() > bareLength && dmp::endsInDigit(path)) &&
           path.find(kNodeName) != std::string::npos;
}

/// One step of the refresh; the failure line is the command's output between two texts.
struct RefreshStep {
    const char* arguments;
    const char* progressLine;
    const char* failureBegin;
    const char* failureEnd;
};

// The third step's failure speaks of dead devices as the first one's does: what reads the trace
// looks for these words.
constexpr RefreshStep kRefreshSteps[] = {
    {" check force dev=all class=all", "CDmpPowerPathDiscovery: removing dead powerpath devices",
     "CDmpPowerPathDiscovery: removal of dead powerpath devices failed with message [ ", " ]."},
    {" release", "CDmpPowerPathDiscovery: running powermt release (Linux only) ",
     "CDmpPowerPathDiscovery: Linux powermt release failed, some emcpower devices may not have "
     "been reclaimed for later use, error message - [",
     "]."},
    {" config", "CDmpPowerPathDiscovery: running powermt config",
     "CDmpPowerPathDiscovery: removal of dead powerpath devices failed with error [", "]."},
    {" save", "CDmpPowerPathDiscovery: running powermt save",
     "CDmpPowerPathDiscovery: running powerpath save failed with error [ ", "]."},
};

void runStep(host::Host& host, const RefreshStep& step, const CFiSmartPtr<CFiTraceLog>& log) {
    traceTo(log, 3, "%s", step.progressLine);
    const tools::CommandRun run =
        tools::runCommand(host, std::string(kPowermt) + step.arguments, log);
    if (run.result != 0) {
        const std::string text = qzfi_pdk_4_4::CFiStringTool::vec2str(run.output, "");
        traceTo(log, 2, "%s%s%s", step.failureBegin, text.c_str(), step.failureEnd);
    }
}

}  // namespace

CDmpPowerPathDiscovery::CDmpPowerPathDiscovery() = default;
CDmpPowerPathDiscovery::~CDmpPowerPathDiscovery() = default;

int CDmpPowerPathDiscovery::enumerateDmpDevices(DeviceMap& devices) {
    const CFiTraceLogFunction function(m_traceLog, "enumerateDmpDevices", kSource);
    const std::vector<std::string> paths =
        dmp::readDir(host::current(), std::string(kNodeDirectory), std::string(kNodeName));
    // No command is run: the line's command is empty.
    traceTo(m_traceLog, 3, "INFO: enumerating devices using command [%s], lines returned [%ld]", "",
            static_cast<long>(paths.size()));
    for (const std::string& path : paths) {
        if (isPseudoDevice(path)) {
            traceTo(m_traceLog, 3, "INFO: adding powerpath device to the map [%s]", path.c_str());
            dmp::addPseudoDevice(devices, path);
        }
    }
    return 0;
}

int CDmpPowerPathDiscovery::rescan() {
    const CFiTraceLogFunction function(m_traceLog, "rescan", kSource);
    traceTo(m_traceLog, 3, "CDmpPowerPathDiscovery: ExecuteEmcPowerPathCommands() called.");
    host::Host& host = host::current();
    if (!host.pathExists(kPowermt)) {
        traceTo(m_traceLog, 2,
                "CDmpPowerPathDiscovery: WARNING: powermt command (%s) was not found.", kPowermt);
        return 0;
    }
    for (const RefreshStep& step : kRefreshSteps) {
        runStep(host, step, m_traceLog);
    }
    traceTo(m_traceLog, 3, "CDmpPowerPathDiscovery: ExecuteEmcPowerPathCommands() completed.");
    return 0;
}
