#ifndef SCSITOOL_TESTS_FAULTS_EFFECTS_H
#define SCSITOOL_TESTS_FAULTS_EFFECTS_H

#include <set>
#include <string>

#include "recording/effects/journal.h"
#include "scsitool/host/host.h"

namespace faults {

/// What was done to a host, by its journal, without what takes nothing away.
std::set<std::string> effectsOf(const recording::Journal& journal);

/// Tells whether nobody holds the rescan lock.
bool isLockFree(host::Host& host);

}  // namespace faults

#endif
