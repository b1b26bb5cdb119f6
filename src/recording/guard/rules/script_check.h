#ifndef SCSITOOL_RECORDING_GUARD_RULES_SCRIPT_CHECK_H
#define SCSITOOL_RECORDING_GUARD_RULES_SCRIPT_CHECK_H

#include <optional>
#include <string>
#include <vector>

#include "recording/guard/effect/rescan_options.h"
#include "recording/guard/kernel/answering.h"
#include "recording/guard/kernel/block_devices.h"

namespace recording::guard {

/// What the rescan script makes of a device.
struct ScriptView {
    bool isTaken = true;      ///< gone or changed, by the script's own rule
    std::string genericNode;  ///< of a device that answers as connected; else empty
};

/// Looks at the device at an address as the script does: the live INQUIRY data against what the
/// kernel noted, and a TEST UNIT READY that does not come through. What could not be asked counts
/// as taken.
ScriptView scriptView(Evidence& evidence, BlockDevices& devices, const ScsiAddress& address,
                      const RescanOptions& options);

/// Tells whether TEST UNIT READY does not come through to the disk behind a node. A unit that is
/// merely not ready counts as there, as a passive path does.
bool failsTestUnitReady(Evidence& evidence, const std::string& node);

/// What keeps the rescan script from reading what this host's sg_inq prints.
struct ScriptMisfit {
    std::string scriptVersion;  ///< "of unknown version" where it does not tell
    std::string inqVersion;     ///< the same
    std::string missed;         ///< what the script looks for in vain
};

/// Tries the script's reading on what sg_inq prints for a disk that answers, by its generic node.
/// None when it reads it; on a recorded host also when that does not speak of one of the two.
std::optional<ScriptMisfit> misfitOf(Evidence& evidence, const std::string& script,
                                     const std::string& genericNode);

/// Why the rescan script cannot be trusted with a removal on this host: it cannot read what this
/// host's sg_inq prints for a disk that answers (by its generic node), so that every disk would
/// count as gone. Empty when it can. Reads behind "SCRIPT is".
std::string whyUntrusted(Evidence& evidence, const std::string& script,
                         const std::string& genericNode);

/// What the script compares: whether the kernel's identity of a device is another one than the
/// disk's. An attribute that the kernel does not tell is no difference on a recorded host.
struct KernelIdentity {
    std::string vendor;
    std::string product;
    std::string revision;
    std::string deviceType;
};
bool isChanged(const KernelIdentity& kernel, const Answer& live, bool ignoresRevision,
               bool isRecorded);

}  // namespace recording::guard

#endif
