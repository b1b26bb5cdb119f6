#ifndef SCSITOOL_CLI_COMMON_ACTING_H
#define SCSITOOL_CLI_COMMON_ACTING_H

#include <string>

#include "cli/common/context.h"
#include "cli/output/report.h"

namespace cli {

/// Adds what an operation did to the host: the members "commands" and "writes" with what came of
/// each, and for people what the commands printed. A dry run has its journal instead.
void addEffects(Report& report, const Context& context);

/// How the first command with an effect that failed ended, for a message; empty when none failed.
std::string failedCommand(const WatchedHost& host);

/// The same for an operation that runs the rescan script and failed: the script may be missing.
std::string scriptFailure(const WatchedHost& host);

}  // namespace cli

#endif
