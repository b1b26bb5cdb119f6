#ifndef SCSITOOL_RECORDING_GUARD_EFFECT_TOOL_TARGETS_H
#define SCSITOOL_RECORDING_GUARD_EFFECT_TOOL_TARGETS_H

#include <string>
#include <vector>

#include "recording/guard/effect/targets.h"

namespace recording::guard {

/// What a run of a tool would take away, from the words behind its name. Every reading of them by
/// which something goes counts.
Targets dmsetupTargets(const std::vector<std::string>& words);
Targets multipathTargets(const std::vector<std::string>& words);
Targets iscsiTargets(const std::vector<std::string>& words);

}  // namespace recording::guard

#endif
