#ifndef MINIMAL_KIT_EXEC_PIPE_H
#define MINIMAL_KIT_EXEC_PIPE_H

#include <string>
#include <vector>

#include "scsitool/kit/trace_log.h"

namespace qzfi_pdk_4_4 {

/// Runs nothing: every command fails as one whose program is missing.
class SCSITOOL_EXPORT CFiExecPipeBase : public CFiTraceable {
  public:
    int Exec(const std::string& command, std::vector<std::string>& output, const std::string& input,
             int timeLimit, const std::string& user, const std::string& group,
             const std::string& directory);
    long getWaitPidStatus() const { return 127 << 8; }
};

class SCSITOOL_EXPORT CFiExecPipePosix : public CFiExecPipeBase {
  public:
    explicit CFiExecPipePosix(int /*mode*/) {}
};

}  // namespace qzfi_pdk_4_4

#endif
