#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_SESSIONS_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_SESSIONS_H

#include <string>
#include <vector>

#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/evidence.h"

namespace recording::guard {

/// The addresses of the devices behind the iSCSI sessions with a target; of all sessions when
/// `target` is empty. Names are compared as RFC 3722 has it for ASCII: case does not count.
std::vector<ScsiAddress> addressesOfSessions(Evidence& evidence, const std::string& target);

}  // namespace recording::guard

#endif
