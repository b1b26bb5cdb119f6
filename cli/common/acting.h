#ifndef SCSITOOL_CLI_COMMON_ACTING_H
#define SCSITOOL_CLI_COMMON_ACTING_H

#include <string>

#include "cli/common/context.h"
#include "cli/output/report.h"

namespace cli {

/// Adds what an operation did to the host: the members "commands" and "writes" with what came of
/// each, and for people what the commands printed. A dry run has its journal instead.
void addEffects(Report& report, const Context& context);

/// Why a command failed, for a message: how it ended, that its program is not there and what brings
/// it, or that the recording has no answer for it.
std::string failureText(const Context& context, const CommandEffect& effect);

/// The same of the first command with an effect that failed; empty when none failed.
std::string failedCommand(const Context& context);

/// The same for an operation that runs the rescan script and failed: the script may be missing.
std::string scriptFailure(const Context& context);

/// Adds a doubt for each part of a rescan that did not come about: the script is missing or failed,
/// or a command of the multipath layer failed. Nothing is added where nothing was rescanned.
void addRescanDoubts(Report& report, const Context& context);

}  // namespace cli

#endif
