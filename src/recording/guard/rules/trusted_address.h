#ifndef SCSITOOL_RECORDING_GUARD_RULES_TRUSTED_ADDRESS_H
#define SCSITOOL_RECORDING_GUARD_RULES_TRUSTED_ADDRESS_H

#include <string>

#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/evidence.h"

namespace recording::guard {

/// Why an address that the inventory has and no record has is not to be trusted; empty when it is.
/// A record's address comes from the kernel's address word, which keeps eight bits of host number
/// and LUN; the inventory takes two characters each of channel, target and LUN from
/// /proc/scsi/scsi. Reads behind "ADDRESS is".
std::string whyNotTrusted(Evidence& evidence, const ScsiAddress& address);

}  // namespace recording::guard

#endif
