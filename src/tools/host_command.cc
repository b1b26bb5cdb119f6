#include "tools/host_command.h"

#include "scsitool/host/host.h"
#include "scsitool/kit/exec_pipe.h"

namespace tools {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;

CommandRun runCommand(host::Host& host, const std::string& command,
                      const CFiSmartPtr<CFiTraceLog>& log) {
    constexpr int kMergedOutput = 1;
    constexpr int kTimeLimitSeconds = 600;
    qzfi_pdk_4_4::CFiExecPipePosix pipe(kMergedOutput);
    pipe.registerTraceLog(log);
    // The pipe asks for the current host itself.
    const host::Scope scope(host);
    CommandRun run;
    run.result = pipe.Exec(command, run.output, "", kTimeLimitSeconds, "", "", "");
    run.waitStatus = pipe.getWaitPidStatus();
    return run;
}

}  // namespace tools
