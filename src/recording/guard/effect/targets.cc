#include "recording/guard/effect/targets.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "recording/guard/effect/tool_targets.h"
#include "scsitool/host/command_words.h"

namespace recording::guard {
namespace {

using Words = std::vector<std::string>;

constexpr const char* kScsiTable = "/proc/scsi/scsi";
constexpr const char* kRemoval = "scsi remove-single-device";
constexpr const char* kScript = "rescan-scsi-bus";

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

std::string baseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

Words split(const std::string& text, char separator) {
    Words parts;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

// The kernel skips one character between the numbers and takes what it cannot read for 0: only
// the one form that leaves no doubt is taken apart.
Targets removalRequest(const std::string& text) {
    std::string numbers = text.substr(std::strlen(kRemoval));
    numbers.erase(numbers.find_last_not_of('\n') + 1);
    std::replace(numbers.begin(), numbers.end(), ' ', ':');
    const auto address = parseAddress(numbers.empty() ? numbers : numbers.substr(1));
    if (address && numbers[0] == ':' && address->lun <= UINT32_MAX) {
        return {DiskAt{*address}};
    }
    return {Untold{"the request '" + text + "' names no address of four plain numbers"}};
}

// /sys/class/scsi_device/H:C:T:L/device/delete, /sys/bus/scsi/devices/H:C:T:L/delete,
// /sys/block/NAME/device/delete and whatever else leads to one of them.
Targets deleteAttribute(const std::string& path) {
    Words parts = split(path, '/');
    parts.pop_back();
    const bool overDevice = !parts.empty() && parts.back() == "device";
    if (overDevice) {
        parts.pop_back();
    }
    const std::string owner = parts.empty() ? "" : parts.back();
    if (const auto address = parseAddress(owner)) {
        return {DiskAt{*address}};
    }
    if (overDevice && parts.size() > 1 && parts[parts.size() - 2] == "block") {
        return {DiskNamed{owner}};
    }
    return {Untold{"which disk " + path + " takes away is not in its name"}};
}

Targets scriptTargets(const std::string& script, const Words& words) {
    const RescanOptions options = parseRescanOptions(words);
    return options.takesNothing() ? Targets() : Targets{ScriptRun{script, options}};
}

bool isShell(const std::string& program) {
    static const std::array<const char*, 8> kShells = {"sh",   "bash",  "dash",    "env",
                                                       "sudo", "nohup", "timeout", "xargs"};
    return std::find(kShells.begin(), kShells.end(), program) != kShells.end();
}

}  // namespace

Targets targetsOfAppend(const std::string& path, const std::string& text) {
    if (path == kScsiTable && beginsWith(text, kRemoval)) {
        return removalRequest(text);
    }
    return beginsWith(path, "/sys/") && baseName(path) == "delete" ? deleteAttribute(path)
                                                                   : Targets();
}

Targets targetsOfCommand(const std::string& command) {
    const Words words = host::splitCommand(command);
    if (words.empty()) {
        return {};
    }
    const std::string program = baseName(words.front());
    const Words arguments(words.begin() + 1, words.end());
    if (program == "dmsetup") {
        return dmsetupTargets(arguments);
    }
    if (program == "multipath") {
        return multipathTargets(arguments);
    }
    if (program == "iscsiadm") {
        return iscsiTargets(arguments);
    }
    if (beginsWith(program, kScript)) {
        return scriptTargets(words.front(), arguments);
    }
    return isShell(program) ? targetsOfShellLine(command) : Targets();
}

Targets targetsOfShellLine(const std::string& line) {
    // The one line for the shell that the library has.
    const std::string start = "/bin/echo \"";
    const std::string end = std::string("\" >  ") + kScsiTable;
    if (beginsWith(line, start) && line.size() > start.size() + end.size() &&
        line.compare(line.size() - end.size(), end.size(), end) == 0) {
        const std::string text = line.substr(start.size(), line.size() - start.size() - end.size());
        if (text.find_first_of("\"`$\\") == std::string::npos) {
            return targetsOfAppend(kScsiTable, text);
        }
    }
    static const std::array<const char*, 6> kSigns = {
        kScript, "dmsetup", "multipath", "iscsiadm", "remove-single-device", "/delete"};
    for (const char* sign : kSigns) {
        if (line.find(sign) != std::string::npos) {
            return {Untold{"a line for the shell that names " + std::string(sign) +
                           " is not taken apart"}};
        }
    }
    return {};
}

}  // namespace recording::guard
