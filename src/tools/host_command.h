#ifndef SCSITOOL_TOOLS_HOST_COMMAND_H
#define SCSITOOL_TOOLS_HOST_COMMAND_H

#include <string>
#include <vector>

#include "scsitool/kit/trace_log.h"

namespace host {
class Host;
}

namespace tools {

/// Results of the command pipe.
inline constexpr int kCommandSucceeded = 0;  ///< exit status 0
inline constexpr int kCommandTimedOut = 5;   ///< the time limit ended the command
inline constexpr int kCommandFailed = 11;    ///< every other end

/// How a host command ended and what it printed.
struct CommandRun {
    int result = kCommandSucceeded;   ///< one of the above
    long waitStatus = 0;              ///< as waitpid(2) hands it over
    std::vector<std::string> output;  ///< one string a line
};

/// Runs a command on the host in hand through a command pipe that shares the trace log, for at
/// most 600 seconds. The command is split at blanks and started without a shell.
CommandRun runCommand(host::Host& host, const std::string& command,
                      const qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log);

}  // namespace tools

#endif
