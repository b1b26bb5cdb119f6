#include "scsitool/dmp/dmp_linux_device_mapper.h"

#include <string_view>

#include "dmp/pseudo_device.h"
#include "dmp/read_dir.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/string_tool.h"
#include "tools/host_command.h"
#include "tools/trace.h"

namespace {

using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

constexpr char kSource[] = "dmp_linux_device_mapper";
constexpr std::string_view kMapDirectory = "/dev/mapper/";

// Only the last two characters are looked at: "mpathap1" is a partition map, "mpathap12" passes.
bool isPartitionMap(const std::string& path) {
    return path.size() > kMapDirectory.size() && dmp::endsInDigit(path) &&
           path[path.size() - 2] == 'p';
}

// LVM joins volume group and volume with a "-"; multipath does not use it by default.
bool isOtherMap(const std::string& path) {
    return path.size() > kMapDirectory.size() && path.find('-') != std::string::npos;
}

}  // namespace

CDmpLinuxDeviceMapper::CDmpLinuxDeviceMapper() = default;
CDmpLinuxDeviceMapper::~CDmpLinuxDeviceMapper() = default;

int CDmpLinuxDeviceMapper::enumerateDmpDevices(DeviceMap& devices) {
    const CFiTraceLogFunction function(m_traceLog, "enumerateDmpDevices", kSource);
    const std::vector<std::string> paths =
        dmp::readDir(host::current(), std::string(kMapDirectory), "");
    traceTo(m_traceLog, 3, "INFO: readdir lines returned [%ld] devices.",
            static_cast<long>(paths.size()));
    // ".", ".." and "control" pass: they cannot be opened as disks and drop out there.
    for (const std::string& path : paths) {
        traceTo(m_traceLog, 3, "Working on device [%s]", path.c_str());
        if (isPartitionMap(path) || isOtherMap(path) ||
            path.find(kMapDirectory) == std::string::npos) {
            continue;
        }
        traceTo(m_traceLog, 3, "INFO: adding device mapper multipath device to the map [%s]",
                path.c_str());
        dmp::addPseudoDevice(devices, path);
    }
    return 0;
}

int CDmpLinuxDeviceMapper::rescan() {
    const CFiTraceLogFunction function(m_traceLog, "rescan", kSource);
    const std::string command = "/sbin/multipath -v0 ";
    traceTo(m_traceLog, 6, "calling command [%s].", command.c_str());
    const tools::CommandRun run = tools::runCommand(host::current(), command, m_traceLog);
    if (run.result != 0) {
        const std::string text = qzfi_pdk_4_4::CFiStringTool::vec2str(run.output, "");
        traceTo(m_traceLog, 1, "Failed to refresh devices with message ==>%s.", text.c_str());
    }
    return run.result;
}

std::vector<std::string> CDmpLinuxDeviceMapper::readDir(std::string directory,
                                                        std::string pattern) {
    return dmp::readDir(host::current(), directory, pattern);
}
