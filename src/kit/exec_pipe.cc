#include "scsitool/kit/exec_pipe.h"

#include <utility>

#include "scsitool/host/host.h"

namespace qzfi_pdk_4_4 {
namespace {

constexpr int kExecSuccess = 0;
constexpr int kExecTimedOut = 5;
constexpr int kExecFailed = 11;
constexpr long kNotStarted = 127 << 8;

}  // namespace

CFiExecPipeBase::CFiExecPipeBase() = default;
CFiExecPipeBase::~CFiExecPipeBase() = default;

int CFiExecPipeBase::Exec(const std::string& command, std::vector<std::string>& output,
                          const std::string& input, int timeLimit, const std::string& user,
                          const std::string& group, const std::string& directory) {
    // Running as root what was meant for another user would be worse than not running it.
    if (!input.empty() || !user.empty() || !group.empty() || !directory.empty()) {
        output.clear();
        m_waitPidStatus = kNotStarted;
        return kExecFailed;
    }
    host::CommandResult result = host::current().runCommand(command, timeLimit);
    output = std::move(result.lines);
    m_waitPidStatus = result.waitStatus;
    if (result.timedOut) {
        return kExecTimedOut;
    }
    return result.waitStatus == 0 ? kExecSuccess : kExecFailed;
}

CFiExecPipePosix::CFiExecPipePosix(int /*mode*/) {}
CFiExecPipePosix::~CFiExecPipePosix() = default;

}  // namespace qzfi_pdk_4_4
