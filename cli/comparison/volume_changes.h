#ifndef SCSITOOL_CLI_COMPARISON_VOLUME_CHANGES_H
#define SCSITOOL_CLI_COMPARISON_VOLUME_CHANGES_H

#include <string>
#include <vector>

#include "cli/comparison/host_volumes.h"

namespace cli::comparison {

/// One thing that is otherwise than before. Both volumes are of the snapshots that were compared.
struct VolumeChange {
    enum class Kind {
        kGone,
        kNew,
        kRemapped,   ///< an address leads to another volume
        kOtherUdid,  ///< the logical unit's name is the same
        kShrunk,
        kGrown,
        kFewerPaths,  ///< or fewer of them answer
        kMorePaths,
        kRenamed,        ///< none of its former names is left
        kOtherRevision,  ///< of the array's firmware
    };
    Kind kind = Kind::kNew;
    const HostVolume* before = nullptr;  ///< null where it is new
    const HostVolume* after = nullptr;   ///< null where it is gone
    std::string address;                 ///< of a remapped one
};

/// "fewer-paths": a kind's name in tables and documents. It does not change.
const char* nameOf(VolumeChange::Kind kind);

/// All changes, those of one kind together and the ones to be looked at first before others, in the
/// order of the snapshots. A volume is the same when its UDID is, or else the name of its logical
/// unit; one that tells neither, when its name at the host is. Addresses are a host's own: those of
/// two hosts are not compared.
std::vector<VolumeChange> compare(const HostVolumes& before, const HostVolumes& after);

}  // namespace cli::comparison

#endif
