#ifndef SCSITOOL_HOST_COMMAND_RUNNER_H
#define SCSITOOL_HOST_COMMAND_RUNNER_H

#include <string>
#include <vector>

#include "host/host.h"

namespace host {

/// Splits a command at blanks; single and double quotes group and are dropped. A quote that is not
/// closed reaches to the end.
std::vector<std::string> splitCommand(const std::string& command);

/// Runs a program without a shell in a process group of its own, with every descriptor but 0, 1
/// and 2 closed and standard error merged into the output, and waits for its end. At the time
/// limit the whole group is killed.
CommandResult runProgram(const std::vector<std::string>& words, int timeoutSeconds);

}  // namespace host

#endif
