#include "cli/picture/power_path.h"

#include <algorithm>
#include <set>
#include <sstream>

#include "cli/hosts/watched_host.h"

namespace cli::picture {
namespace {

constexpr const char* kCommand = "/sbin/powermt display dev=all";
constexpr int kTimeLimitSeconds = 10;
constexpr const char* kHeading = "Pseudo name=";
constexpr const char* kPseudoDevice = "emcpower";
constexpr const char* kDisk = "sd";

// "sdb", "emcpowera": the driver's letters and then the device's.
bool isNamed(const std::string& word, const std::string& driver) {
    return word.size() > driver.size() && word.compare(0, driver.size(), driver) == 0 &&
           std::all_of(word.begin() + static_cast<std::ptrdiff_t>(driver.size()), word.end(),
                       [](char c) { return c >= 'a' && c <= 'z'; });
}

std::string firstWord(const std::string& text) {
    std::string word;
    std::istringstream(text) >> word;
    return word;
}

std::string diskIn(const std::string& line) {
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (isNamed(word, kDisk)) {
            return word;
        }
    }
    return {};
}

}  // namespace

PowerPathMembers powerPathMembersIn(const std::vector<std::string>& lines) {
    const std::string heading = kHeading;
    PowerPathMembers members;
    std::map<std::string, std::set<std::string>> above;  // the pseudo-devices of a disk
    std::string device;
    for (const std::string& line : lines) {
        if (line.compare(0, heading.size(), heading) == 0) {
            device = firstWord(line.substr(heading.size()));
        } else if (const std::string disk = diskIn(line); !disk.empty() &&
                                                          isNamed(device, kPseudoDevice) &&
                                                          above[disk].insert(device).second) {
            members[device].push_back(disk);
        }
    }
    for (auto& [name, disks] : members) {
        disks.erase(std::remove_if(disks.begin(), disks.end(),
                                   [&](const std::string& disk) { return above[disk].size() > 1; }),
                    disks.end());
    }
    return members;
}

PowerPathMembers askPowermt(host::Host& host) {
    const CommandEffect ran = effectOf(kCommand, host.runCommand(kCommand, kTimeLimitSeconds));
    return succeeded(ran) ? powerPathMembersIn(ran.result.lines) : PowerPathMembers();
}

}  // namespace cli::picture
