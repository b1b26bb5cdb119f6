#ifndef SCSITOOL_CLI_VIEW_MAP_LINES_H
#define SCSITOOL_CLI_VIEW_MAP_LINES_H

#include <map>
#include <string>
#include <vector>

#include "cli/picture/picture.h"
#include "scsitool/host/host.h"

namespace cli::view {

/// What dmsetup prints of the multipath maps behind their target's name, by the names of the maps.
using MapLines = std::map<std::string, std::string>;

/// Reads "mpatha: 0 131072 multipath ...", a line a map. What does not look like that is left out.
MapLines multipathLinesIn(const std::vector<std::string>& lines);

/// Runs 'dmsetup QUESTION --target multipath', a read. Empty where it is not told, and then
/// `failure` says how the command ended, but for one that is not there.
MapLines askDmsetup(host::Host& host, const std::string& question, std::string& failure);

/// The name that device-mapper has for a map: "/dev/mapper/mpatha" is the map mpatha.
std::string mapNameOf(const picture::Device& map);

}  // namespace cli::view

#endif
