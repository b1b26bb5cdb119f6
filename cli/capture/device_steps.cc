// The steps that ask devices, by the library's own operations as far as it has one.
#include <algorithm>
#include <set>
#include <sstream>

#include "cli/capture/reading.h"
#include "cli/capture/tour.h"
#include "cli/common/asking.h"
#include "cli/doctor/survey.h"
#include "cli/prune/look.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/scsi/scsitool.h"
#include "scsitool/tools/WWPN_discovery.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

constexpr const char* kDev = "/dev/";
constexpr const char* kMaps = "/dev/mapper/";
constexpr const char* kAddresses = "/sys/class/scsi_device/";

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// Nodes that a SCSI command can be sent to, by the names that the kernel and PowerPath give.
bool mayTakeCommands(const std::string& name) {
    for (const char* const start : {"sd", "sr", "sg", "dm-", "emcpower"}) {
        if (startsWith(name, start)) {
            return true;
        }
    }
    return false;
}

void askInventory(CLinuxDeviceDiscovery& discovery) {
    std::map<int, std::vector<int>> targets;
    std::map<int, int> maxLun;
    std::map<int, int> maxTarget;
    std::map<int, int> maxChannel;
    discovery.getDeviceList(false);
    discovery.getDeviceCount();
    discovery.getTargetIds(targets);
    discovery.scanForAdapterMaximums(maxLun, maxTarget, maxChannel);
}

// Whether it opens, also to who claims it alone, and which device it is.
void askNode(host::Host& host, const std::string& path) {
    for (const host::OpenMode mode :
         {host::OpenMode::kReadOnlyNonBlocking, host::OpenMode::kReadOnlyExclusive}) {
        const int descriptor = host.openDevice(path, mode);
        if (descriptor >= 0) {
            host.closeDevice(descriptor);
        }
    }
    host::DeviceNumber number;
    host.deviceNumber(path, number);
}

// The last word of each line below the heading: "   8       16    1048576 sdb".
std::set<std::string> partitionNames(host::Host& host) {
    std::set<std::string> names;
    std::istringstream lines(host.readFile("/proc/partitions").content);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        unsigned major = 0;
        unsigned minor = 0;
        std::string blocks;
        std::string name;
        if (words >> major >> minor >> blocks >> name) {
            names.insert(name);
        }
    }
    return names;
}

// Whatever somebody may point a command at: SCSI nodes, every block device that the kernel has by
// its name there, and the maps.
std::set<std::string> nodesOf(host::Host& host) {
    std::set<std::string> nodes;
    for (const std::string& name : namesIn(host, kDev)) {
        if (mayTakeCommands(name)) {
            nodes.insert(kDev + name);
        }
    }
    for (std::string name : namesIn(host, "/sys/class/block/")) {
        // sysfs has no "/" in a name: "cciss!c0d0" is /dev/cciss/c0d0.
        std::replace(name.begin(), name.end(), '!', '/');
        nodes.insert(kDev + name);
    }
    for (const std::string& address : namesIn(host, kAddresses)) {
        for (const std::string& name :
             namesIn(host, kAddresses + address + "/device/scsi_generic/")) {
            nodes.insert(kDev + name);
        }
    }
    for (const std::string& name : partitionNames(host)) {
        nodes.insert(kDev + name);
    }
    for (const std::string& name : namesIn(host, kMaps)) {
        nodes.insert(kMaps + name);
    }
    return nodes;
}

}  // namespace

std::vector<std::string> tourNodes(host::Host& host) {
    const std::set<std::string> nodes = nodesOf(host);
    return {nodes.begin(), nodes.end()};
}

std::function<void(const std::string& node)> tourInterview() {
    return [size = interviews::size(), volume = interviews::volume(),
            doctor = doctor::interview()](const std::string& node) {
        askNode(host::current(), node);
        size(node);
        volume(node);
        doctor(node);
        prune::askDiskForScript(node);
    };
}

void askLibrary(host::Host& host) {
    std::string name;
    host.hostName(name);
    host.kernelRelease();
    CUDIDFactory factory;
    const DeviceMap devices = factory.enumerateDeviceMap(false, false, false, "", "");
    CLinuxDeviceDiscovery discovery;
    for (const auto& [path, info] : devices) {
        unsigned long size = 0;
        discovery.getDiskSize(path, size);
    }
    std::vector<CScsiDeviceData> disks;
    discovery.enumerateNativeDevicePathsExt(disks);
    askInventory(discovery);
    std::map<std::string, std::vector<int>> drivers;
    std::vector<std::string> adapters;
    discovery.GetHostAdapterList(drivers);
    discovery.GetHostAdapterList2_6(adapters);
    CScsiTool tool;
    tool.GetHostIQN(name);
    WWPN().getWWPN();
}

void askNodes(host::Host& host) {
    CLinuxDeviceDiscovery discovery;
    const std::vector<std::string> disks = discovery.enumerateNativeDevicePaths();
    for (const std::string& path : nodesOf(host)) {
        // Those that the enumeration has are asked already; a silent one would cost its time again.
        if (std::find(disks.begin(), disks.end(), path) == disks.end()) {
            CUDIDFactory().validateDeviceMap(path);
        }
        askNode(host, path);
    }
}

void askLinks(host::Host& host) {
    for (const std::string directory :
         {"/dev/disk/by-id/", "/dev/disk/by-path/", "/dev/disk/by-uuid/", "/dev/disk/by-label/",
          "/dev/disk/by-partuuid/", "/dev/disk/by-partlabel/", kMaps}) {
        for (const std::string& name : namesIn(host, directory)) {
            linkTarget(host, directory + name);
        }
    }
}

}  // namespace cli
