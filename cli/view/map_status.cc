#include "cli/view/map_status.h"

#include <sstream>

#include "cli/view/map_lines.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli::view {
namespace {

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

MapStates statesIn(const MapLines& lines) {
    MapStates maps;
    for (const auto& [map, text] : lines) {
        maps[map] = pathsIn(text);
    }
    return maps;
}

}  // namespace

// "mpatha: 0 131072 multipath 2 0 0 0 1 1 A 0 2 2 8:0 A 0 0 1 8:32 F 1 0 1"
MapStates parseMapStatus(const std::vector<std::string>& lines) {
    return statesIn(multipathLinesIn(lines));
}

MapStates askMapStatus(host::Host& host, std::string& failure) {
    return statesIn(askDmsetup(host, "status", failure));
}

}  // namespace cli::view
