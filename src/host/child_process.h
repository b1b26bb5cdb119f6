#ifndef SCSITOOL_HOST_CHILD_PROCESS_H
#define SCSITOOL_HOST_CHILD_PROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "host/descriptor.h"

namespace host {

/// One program run without a shell, behind a keeper process.
///
/// The calling process belongs to somebody else: it may ignore SIGCHLD, or reap every child in a
/// handler, and either would lose the program's wait status. So a keeper stands in between. It is
/// cloned without a termination signal, which hides it from both, starts the program as its own
/// child, waits for it and reports the wait status through a pipe. The keeper leads a session of
/// its own: the program has no terminal to ask anything on, and the number of its process group
/// stays the keeper's until this object has reaped it, so that a group is never killed by mistake.
///
/// The program starts with /dev/null as standard input, the output pipe as standard output and
/// standard error, no other descriptor, every signal at its default and none blocked, and a fixed
/// environment. Working directory, limits and rights are the caller's.
class ChildProcess {
  public:
    ChildProcess() = default;
    /// Kills the whole group unless `reap` was called.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Starts the program; false when that is not possible at all (no word, a word with a NUL, no
    /// more descriptors or processes). A program that cannot be executed starts and ends with exit
    /// status 127.
    bool start(const std::vector<std::string>& words);

    /// The reading end of the output pipe.
    int output() const { return m_output.get(); }
    /// Becomes readable when the program has ended.
    int report() const { return m_report.get(); }
    /// Takes the program's wait status; false when the keeper died without reporting one.
    bool readReport(int& waitStatus) const;

    /// Kills the keeper, the program and all of their group, and reaps the keeper.
    void kill();
    /// Reaps the keeper, which ends by itself after its report.
    void reap();

  private:
    pid_t m_keeper = -1;
    Descriptor m_output;
    Descriptor m_report;
};

}  // namespace host

#endif
