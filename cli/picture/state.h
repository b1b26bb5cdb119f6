#ifndef SCSITOOL_CLI_PICTURE_STATE_H
#define SCSITOOL_CLI_PICTURE_STATE_H

#include <string>

#include "cli/hosts/answer_watch.h"

namespace cli::picture {

/// How a device is.
enum class Condition {
    kOk,
    kStandby,    ///< it answers, and its port takes no data (ALUA standby or unavailable)
    kNoScsi,     ///< a node that takes no SCSI command: device-mapper's control node, an LVM map
    kOffline,    ///< the kernel has given it up
    kGone,       ///< there is no device behind the node
    kBlocked,    ///< the kernel holds back what is sent to it, and it did not answer
    kNoAnswer,   ///< it opened and did not answer
    kInPart,     ///< it answered, and then its address or a page that it has could not be had
    kNotOpened,  ///< it did not open
    kNotAsked,   ///< nothing was asked of it
};

/// The condition and how a person is told: "ok", "no answer in 10 s", "cannot be opened: read-only
/// file system".
struct State {
    Condition condition = Condition::kOk;
    std::string text = "ok";
};

/// What the kernel says of a SCSI device: the files of the same names in sysfs, empty where it does
/// not tell.
struct KernelState {
    std::string state;
    std::string accessState;
};

/// Judges a device. `deadline` is how many seconds it was waited for.
State stateOf(const SeenAnswer& seen, const KernelState& kernel, unsigned deadline);

/// Tells whether a device has answered, as far as it was asked.
bool isAnswering(Condition condition);

}  // namespace cli::picture

#endif
