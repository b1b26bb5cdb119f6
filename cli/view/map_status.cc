#include "cli/view/map_status.h"

#include <sstream>

#include "cli/hosts/watched_host.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli::view {
namespace {

constexpr const char* kCommand = "/usr/sbin/dmsetup status --target multipath";
constexpr int kTimeLimitSeconds = 10;

const char* groupStateOf(const std::string& letter) {
    return letter == "A"   ? "active"
           : letter == "E" ? "enabled"
           : letter == "D" ? "disabled"
                           : nullptr;
}

// A letter behind a device number is the state of that path, any other one that of a group.
PathStates pathsIn(const std::string& text) {
    PathStates paths;
    PathState group;
    std::istringstream words(text);
    std::string former;
    for (std::string word; words >> word; former = word) {
        const char* const groupState = groupStateOf(word);
        if (groupState == nullptr && word != "F") {
            continue;
        }
        const auto number = recording::guard::parseNumber(former, host::DeviceNumber::Kind::kBlock);
        if (number) {
            PathState& path = paths[recording::guard::numberText(*number)] = group;
            path.isActive = word == "A";
        } else if (groupState != nullptr) {
            ++group.group;
            group.groupState = groupState;
        }
    }
    return paths;
}

}  // namespace

// "mpatha: 0 131072 multipath 2 0 0 0 1 1 A 0 2 2 8:0 A 0 0 1 8:32 F 1 0 1"
MapStates parseMapStatus(const std::vector<std::string>& lines) {
    const std::string target = " multipath ";
    MapStates maps;
    for (const std::string& line : lines) {
        const std::size_t name = line.find(": ");
        const std::size_t status = name == std::string::npos ? name : line.find(target, name);
        if (status != std::string::npos) {
            maps[line.substr(0, name)] = pathsIn(line.substr(status + target.size()));
        }
    }
    return maps;
}

MapStates askMapStatus(host::Host& host, std::string& failure) {
    const CommandEffect ran = effectOf(kCommand, host.runCommand(kCommand, kTimeLimitSeconds));
    if (succeeded(ran)) {
        return parseMapStatus(ran.result.lines);
    }
    if (!couldNotStart(ran)) {
        failure = endingText(ran);
    }
    return {};
}

}  // namespace cli::view
