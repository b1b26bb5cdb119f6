#include "recording/guard/rules/uses.h"

#include <algorithm>
#include <sstream>

namespace recording::guard {
namespace {

using Kind = host::DeviceNumber::Kind;

constexpr const char* kBtrfs = "/sys/fs/btrfs/";
constexpr const char* kTargetCore = "/sys/kernel/config/target/core/";
constexpr const char* kSwaps = "/proc/swaps";
constexpr const char* kLosesDisk =
    "the file system loses its disk, and what is not written yet is lost";

Evidence::Names listOf(Evidence& evidence, const std::string& path) {
    return evidence.list(path).value_or(Evidence::Names());
}

// The path of another process's view may lead elsewhere here: both the text and the number count.
bool isNamed(const DevicePicture& picture, Evidence& evidence, const std::string& path) {
    return !path.empty() && path[0] == '/' &&
           picture.isNamedBy(path, evidence.number(path).value_or(host::DeviceNumber()));
}

// "... File: /dev/sdb  Size: 1024 ..."
std::string labelledFile(const std::string& info) {
    std::istringstream words(info);
    std::string word;
    while (words >> word) {
        if (word == "File:" && words >> word) {
            return word;
        }
    }
    return {};
}

// "... Major: 8 Minor: 16 ..."
host::DeviceNumber labelledNumber(const std::string& info) {
    std::istringstream words(info);
    std::string word;
    std::string major;
    std::string minor;
    while (words >> word) {
        if (word == "Major:") {
            words >> major;
        } else if (word == "Minor:") {
            words >> minor;
        }
    }
    return parseNumber(major + ":" + minor, Kind::kBlock).value_or(host::DeviceNumber());
}

}  // namespace

void addMounts(Uses& uses, const DevicePicture& picture, Processes& processes) {
    for (const Mount& mount : processes.mounts()) {
        const auto number = parseNumber(mount.number, Kind::kBlock).value_or(host::DeviceNumber());
        if (picture.isNamedBy(mount.source, number)) {
            uses.push_back({"mounted at " + mount.point, kLosesDisk});
            return;  // a bind mount more says nothing more
        }
    }
}

void addBtrfs(Uses& uses, const DevicePicture& picture, Evidence& evidence) {
    for (const std::string& fileSystem : listOf(evidence, kBtrfs)) {
        for (const std::string& name : listOf(evidence, kBtrfs + fileSystem + "/devices/")) {
            if (std::find(picture.all.begin(), picture.all.end(), name) != picture.all.end()) {
                uses.push_back({"part of a mounted btrfs file system (" + name + ")", kLosesDisk});
                return;
            }
        }
    }
}

void addSwaps(Uses& uses, const DevicePicture& picture, Evidence& evidence) {
    // A kernel without swap has no such table.
    for (const std::string& swap : parseSwaps(evidence.file(kSwaps).value_or(""))) {
        if (isNamed(picture, evidence, swap)) {
            uses.push_back({"used as swap (" + swap + ")",
                            "what is swapped out there is lost, and its processes with it"});
        }
    }
}

void addWriters(Uses& uses, const DevicePicture& picture, Processes& processes) {
    for (const Writer& writer : processes.writers()) {
        if (picture.isNamedBy(writer.node, writer.number)) {
            uses.push_back({"open for writing in process " + writer.process +
                                (writer.command.empty() ? "" : " (" + writer.command + ")"),
                            "what that process writes is lost"});
        }
    }
}

void addLoops(Uses& uses, const DevicePicture& picture, BlockDevices& devices, Evidence& evidence) {
    for (const std::string& loop : devices.loops()) {
        if (isNamed(picture, evidence, devices.backingFile(loop))) {
            uses.push_back({"under the loop device " + loop, "what stands on that is lost"});
        }
    }
}

void addExports(Uses& uses, const DevicePicture& picture, Evidence& evidence) {
    for (const std::string& adapter : listOf(evidence, kTargetCore)) {
        const std::string folder = kTargetCore + adapter + "/";
        // Files lie in the folder beside the devices.
        const bool isAdapter = adapter.find('_') != std::string::npos;
        for (const std::string& name : isAdapter ? listOf(evidence, folder) : Evidence::Names()) {
            const std::string device = folder + name + "/";
            const std::string info = evidence.file(device + "info").value_or("");
            const std::string path =
                trimmed(firstLine(evidence.file(device + "udev_path").value_or("")));
            if (isNamed(picture, evidence, path) ||
                isNamed(picture, evidence, labelledFile(info)) ||
                picture.isNamedBy("", labelledNumber(info))) {
                uses.push_back({std::string("exported by the kernel's target (")
                                    .append(adapter)
                                    .append("/")
                                    .append(name)
                                    .append(")"),
                                "its initiators lose the disk"});
            }
        }
    }
}

}  // namespace recording::guard
