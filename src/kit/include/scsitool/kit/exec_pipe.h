#ifndef SCSITOOL_KIT_EXEC_PIPE_H
#define SCSITOOL_KIT_EXEC_PIPE_H

#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"

namespace qzfi_pdk_4_4 {

/// The command pipe: runs one host command at a time and collects its output. One object is used
/// by one thread at a time.
class SCSITOOL_EXPORT CFiExecPipeBase : public CFiTraceable {
  public:
    /// Runs a command on the current host, without a shell, and waits for its end. `output` gets
    /// what it printed, one string a line without the line feed (the former content is dropped).
    /// `timeLimit` is in seconds. The last four texts stand for what this kit does not offer
    /// (standard input, a user, a group, a working directory): with one that is not empty nothing
    /// is run and the result is 11. Gives 0 for exit status 0, 5 when the time limit ended the
    /// command and 11 for every other end, a missing program and a signal too. An effect on the
    /// host.
    int Exec(const std::string& command, std::vector<std::string>& output, const std::string& input,
             int timeLimit, const std::string& user, const std::string& group,
             const std::string& directory);

    /// The wait status of the last command as waitpid(2) hands it over: that of signal 9 after a
    /// time-out, 127 << 8 for a command that could not be started, 0 before the first one.
    long getWaitPidStatus() const { return m_waitPidStatus; }

  protected:
    CFiExecPipeBase();
    ~CFiExecPipeBase() override;

  private:
    long m_waitPidStatus = 0;
};

/// The command pipe of POSIX hosts.
class SCSITOOL_EXPORT CFiExecPipePosix : public CFiExecPipeBase {
  public:
    /// `mode` 1 merges standard error into the output; it is the only mode.
    explicit CFiExecPipePosix(int mode);
    ~CFiExecPipePosix() override;
};

}  // namespace qzfi_pdk_4_4

#endif
