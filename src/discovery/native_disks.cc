#include "discovery/native_disks.h"

#include <cctype>

#include "discovery/open_node.h"
#include "scsi/scsi_result.h"
#include "scsitool/kit/bounded_string.h"
#include "tools/line_reader.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace discovery {
namespace {

constexpr int kSizeRequestFailed = 27;
constexpr int kOpenFailed = 26;
constexpr int kCloseFailed = 25;

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
    if (qzfi_pdk_4_4::V_sscanf(line.c_str(), line.size() + 1, " %d %d %d %8s", &major, &minor,
                               &blocks, buffer) != kItems) {
        return false;
    }
    name = buffer;
    return true;
}

int askSize(const Operation& operation, const OpenNode& node, const std::string& path,
            unsigned long& sizeKb) {
    std::uint64_t bytes = 0;
    const int answer = operation.host.deviceSize(node.descriptor(), bytes);
    if (answer < 0) {
        traceTo(operation.log, 1,
                "ERROR: ioctl(BLKGETSIZE64) failed for device [%s] with error no [%d]\n",
                path.c_str(), -answer);
        return kSizeRequestFailed;
    }
    sizeKb = static_cast<unsigned long>(bytes >> 10);
    traceTo(operation.log, 3, "Size of disk %s in KB is: [%lu]", path.c_str(), sizeKb);
    return scsi::kSuccess;
}

}  // namespace

std::vector<std::string> nativeDiskPaths(const Operation& operation) {
    constexpr char kPartitions[] = "/proc/partitions";
    constexpr std::size_t kLineBuffer = 255;
    const CFiTraceLogFunction function(operation.log, "enumerateNativeDevicePaths", kTraceSource);
    try {
        std::vector<std::string> paths;
        const host::ReadResult file = operation.host.readFile(kPartitions);
        if (file.openError != 0) {
            traceTo(operation.log, 1, "ERROR: failed to open /proc/partitions for reading.");
            return paths;
        }
        traceTo(operation.log, 3, "INFO: reading /proc/partitions\n");
        for (const std::string& line : tools::fgetsPieces(file, kLineBuffer)) {
            std::string name;
            if (partitionName(line, name) && isWholeDiskName(name, operation.log)) {
                paths.push_back("/dev/" + name);
            }
        }
        return paths;
    } catch (...) {
        throw static_cast<int>(scsi::kFailure);
    }
}

bool isWholeDiskName(const std::string& name, const TraceLog& log) {
    try {
        if (name.empty()) {
            return true;
        }
        if (name.find("sd") != 0) {
            return false;
        }
        return std::isdigit(static_cast<unsigned char>(name.back())) == 0;
    } catch (...) {
        traceTo(log, 1, "libscsitool: ERROR: CLinuxDeviceDiscovery::IsValidDeviceName() failed");
        throw static_cast<int>(scsi::kFailure);
    }
}

int measureDisk(const Operation& operation, const std::string& path, unsigned long& sizeKb) {
    traceTo(operation.log, 6, "libscsitool: DEBUG: Entering CLinuxDeviceDiscovery::getDiskSize()");
    OpenNode node(operation.host, path, host::OpenMode::kReadOnly);
    int result = kOpenFailed;
    if (node.isOpen()) {
        result = askSize(operation, node, path, sizeKb);
        if (node.close() < 0) {
            traceTo(operation.log, 1, "ERROR: Close failed\n");
            return kCloseFailed;
        }
    } else {
        traceTo(operation.log, 1, "ERROR: Device [%s], open failed with error [%d]\n", path.c_str(),
                -node.descriptor());
    }
    traceTo(operation.log, 6, "libscsitool: DEBUG: Exiting CLinuxDeviceDiscovery::getDiskSize()");
    return result;
}

}  // namespace discovery
