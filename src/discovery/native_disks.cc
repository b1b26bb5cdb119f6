#include "discovery/native_disks.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string_view>

#include "host/open_node.h"
#include "scsi/scsi_result.h"
#include "tools/line_reader.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace discovery {
namespace {

constexpr int kSizeRequestFailed = 27;
constexpr int kOpenFailed = 26;
constexpr int kCloseFailed = 25;

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

void passBlanks(std::string_view& rest) {
    while (!rest.empty() && isBlank(rest.front())) {
        rest.remove_prefix(1);
    }
}

// A whole number with its sign and the blanks before it; false where none stands.
bool passNumber(std::string_view& rest) {
    passBlanks(rest);
    if (!rest.empty() && (rest.front() == '-' || rest.front() == '+')) {
        rest.remove_prefix(1);
    }
    const std::size_t before = rest.size();
    while (!rest.empty() && isDigit(rest.front())) {
        rest.remove_prefix(1);
    }
    return rest.size() != before;
}

// The name in a line of /proc/partitions, at most 8 characters; none of any other line. It is
// what "%d %d %d %8s" takes, which the C library needs ten times as long for.
std::string_view partitionName(std::string_view line) {
    constexpr int kNumbers = 3;  // major, minor, blocks
    constexpr std::size_t kMostCharacters = 8;
    if (line.find("sd") == std::string_view::npos) {
        return {};
    }
    for (int i = 0; i < kNumbers; ++i) {
        if (!passNumber(line)) {
            return {};
        }
    }
    passBlanks(line);
    std::size_t length = 0;
    while (length < std::min(line.size(), kMostCharacters) && !isBlank(line[length])) {
        ++length;
    }
    return line.substr(0, length);
}

int askSize(const Operation& operation, const host::OpenNode& node, const std::string& path,
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
    constexpr std::size_t kLineBuffer = 255;
    const CFiTraceLogFunction function(operation.log, "enumerateNativeDevicePaths", kTraceSource);
    try {
        std::vector<std::string> paths;
        const host::ReadResult file = operation.host.readFile(kDiskList);
        if (file.openError != 0) {
            traceTo(operation.log, 1, "ERROR: failed to open /proc/partitions for reading.");
            return paths;
        }
        traceTo(operation.log, 3, "INFO: reading /proc/partitions\n");
        std::string name;
        tools::forEachPiece(file, kLineBuffer, [&](std::string_view line) {
            name = partitionName(line);
            if (!name.empty() && isWholeDiskName(name, operation.log)) {
                paths.push_back("/dev/" + name);
            }
        });
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
        if (name.compare(0, 2, "sd") != 0) {
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
    host::OpenNode node(operation.host, path, host::OpenMode::kReadOnly);
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
