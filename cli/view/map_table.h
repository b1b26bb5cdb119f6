#ifndef SCSITOOL_CLI_VIEW_MAP_TABLE_H
#define SCSITOOL_CLI_VIEW_MAP_TABLE_H

#include <map>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace cli::view {

/// How device-mapper's multipath target was told to treat one map.
struct MapTable {
    std::string features;  ///< how many words, then these: "0", "1 queue_if_no_path"
    std::string handler;   ///< the hardware handler, the same way: "0", "1 alua"
    /// How a path is chosen in the group of each path, by "major:minor": "service-time 0".
    std::map<std::string, std::string> policies;
};

/// The same of all maps, by their names.
using MapTables = std::map<std::string, MapTable>;

/// Reads what 'dmsetup table --target multipath' prints, a line a map. A line that does not look
/// like that, or ends early, is left out.
MapTables parseMapTables(const std::vector<std::string>& lines);

/// Asks for it; empty where it is not told, and then `failure` says how the command ended, but for
/// one that is not there. A read: nothing is changed.
MapTables askMapTables(host::Host& host, std::string& failure);

}  // namespace cli::view

#endif
