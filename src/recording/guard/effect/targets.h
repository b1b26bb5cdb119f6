#ifndef SCSITOOL_RECORDING_GUARD_EFFECT_TARGETS_H
#define SCSITOOL_RECORDING_GUARD_EFFECT_TARGETS_H

#include <string>
#include <variant>
#include <vector>

#include "recording/guard/effect/rescan_options.h"
#include "recording/guard/effect/scsi_address.h"

namespace recording::guard {

/// The device at a SCSI address.
struct DiskAt {
    ScsiAddress address;
};

/// A disk by its kernel name ("sdb").
struct DiskNamed {
    std::string name;
};

/// A device-mapper map by its name, a path below /dev/mapper or its kernel name ("dm-0").
struct MapNamed {
    std::string name;
};

/// Every multipath map that nobody has open; the kernel keeps the others.
struct UnusedMaps {};

/// Whatever the rescan script takes for gone.
struct ScriptRun {
    std::string script;
    RescanOptions options;
};

/// The disks of the iSCSI sessions with a target.
struct Sessions {
    std::string target;  ///< empty: all sessions
};

/// Something is taken away, and the effect does not tell what.
struct Untold {
    std::string what;
};

/// What an effect would take away.
using Target = std::variant<DiskAt, DiskNamed, MapNamed, UnusedMaps, ScriptRun, Sessions, Untold>;
using Targets = std::vector<Target>;

/// What an append would take away: a removal request to /proc/scsi/scsi, anything to a "delete"
/// attribute of sysfs. Empty for an append that takes nothing.
Targets targetsOfAppend(const std::string& path, const std::string& text);

/// The same of a command, split as the host splits it: dmsetup, multipath, iscsiadm with a logout,
/// the rescan script.
Targets targetsOfCommand(const std::string& command);

/// The same of a line for the shell, which is not taken apart: one that names what takes disks
/// away is Untold.
Targets targetsOfShellLine(const std::string& line);

}  // namespace recording::guard

#endif
