#ifndef SCSITOOL_CLI_PRUNE_VERDICT_H
#define SCSITOOL_CLI_PRUNE_VERDICT_H

#include <optional>
#include <string>
#include <vector>

#include "cli/prune/sighting.h"

namespace cli::prune {

/// What a disk or map was found to be.
enum class Finding {
    kLives,         ///< nothing speaks against it; it is never removed
    kOffline,       ///< the kernel has given it up (state offline or transport-offline)
    kNotSupported,  ///< the target says that it has no such logical unit
    kNoDevice,      ///< there is no device behind its node (ENXIO, ENODEV)
    kAnotherDisk,   ///< it answers, and is not the disk that the kernel took it for
    kNoPath,        ///< a map below which every disk is gone
    kUntold,        ///< it could not be opened, asked or told apart; it is never removed
};

struct Verdict {
    Finding finding = Finding::kUntold;
    std::string reason;  ///< what was seen; empty for what lives
};

/// Gone: no disk answers there any more.
bool isGone(Finding finding);
/// Gone or stale: it may be removed when nobody uses it.
bool isRemovable(Finding finding);
/// The finding as the JSON document has it: "offline".
const char* nameOf(Finding finding);

/// Judges a disk by what was seen of it, and by nothing else. A disk that answers is another one
/// when page 0x83 names another logical unit (the strongest kind of name that both pages have
/// decides); where that cannot be compared, when vendor, product or device type differ, then when
/// page 0x80 does. What could not be found out is never a reason to remove.
Verdict judgeDisk(const DiskSighting& disk);

/// One path of a map.
struct PathSighting {
    std::string name;
    /// None for a path that is no SCSI disk of the kernel's, or that cannot be told to be one.
    std::optional<Finding> finding;
    bool isRemoved = false;  ///< the kernel has no such block device any more
};

/// What was seen of one multipath map.
struct MapSighting {
    std::string mapName;
    bool isThere = true;  ///< the kernel has the map, and tells what it stands on
    std::vector<PathSighting> paths;
    std::vector<std::string> failures;
};

/// Judges a map: it is without a path when nothing is below it, or only what is gone.
Verdict judgeMap(const MapSighting& map);

}  // namespace cli::prune

#endif
