#ifndef SCSITOOL_CLI_VIEW_MAP_STATUS_H
#define SCSITOOL_CLI_VIEW_MAP_STATUS_H

#include <map>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace cli::view {

/// What device-mapper's multipath target says of a path.
struct PathState {
    bool isActive = false;  ///< else failed
    unsigned group = 0;     ///< the path group that it belongs to, from 1; 0 where that is not told
    std::string groupState;  ///< "active", "enabled" or "disabled"; empty where that is not told
};

/// The same of the paths of one map, by "major:minor".
using PathStates = std::map<std::string, PathState>;

/// The same of all maps, by their names.
using MapStates = std::map<std::string, PathStates>;

/// Reads what 'dmsetup status --target multipath' prints: a line a map, in which each path is
/// followed by A or F, and each group of paths is led by A, E or D. What does not look like that is
/// left out.
MapStates parseMapStatus(const std::vector<std::string>& lines);

/// Asks for it; empty where it is not told, and then `failure` says how the command ended, but for
/// one that is not there. A read: nothing is flushed.
MapStates askMapStatus(host::Host& host, std::string& failure);

}  // namespace cli::view

#endif
