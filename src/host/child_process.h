#ifndef SCSITOOL_HOST_CHILD_PROCESS_H
#define SCSITOOL_HOST_CHILD_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <memory>
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
/// The keeper and the whole group end with the thread that started them, SIGKILL included.
///
/// The program starts with /dev/null as standard input, the output pipe as standard output and
/// standard error, no other descriptor, every signal at its default and none blocked, and a fixed
/// environment. Working directory, limits and rights are the caller's.
///
/// One thread uses the object, from `start` on: that whose end is the program's.
class ChildProcess {
  public:
    using Clock = std::chrono::steady_clock;

    ChildProcess();
    /// Kills the whole group unless the keeper has been reaped.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Starts the program, and waits until it is executed, at most until `limit`; false when that
    /// is not possible at all (no word, a word with a NUL, no more descriptors or processes, no
    /// lifeline). A
    /// program that cannot be executed starts and ends with exit status 127. Signals are blocked
    /// meanwhile, as posix_spawn(3) does it.
    bool start(const std::vector<std::string>& words, Clock::time_point limit);

    /// The reading end of the output pipe.
    int output() const { return m_output.get(); }
    /// Becomes readable when the program has ended.
    int report() const { return m_report.get(); }
    /// Takes the program's wait status; false when there is none (yet). Does not block.
    bool readReport(int& waitStatus) const;

    /// Tells whether the keeper has ended, and reaps it. That one which was killed left no report:
    /// the pipe's end alone does not tell, for a child that another thread forked may hold it.
    bool keeperHasEnded();
    /// Kills the keeper, the program and all of their group, and reaps the keeper.
    void kill();
    /// Reaps the keeper, which ends by itself after its report.
    void reap();

  private:
    struct Launch;

    void waitForProgram(Clock::time_point limit);
    bool programIsStarting() const;

    pid_t m_keeper = -1;
    Descriptor m_output;
    Descriptor m_report;
    std::unique_ptr<Launch> m_launch;
};

}  // namespace host

#endif
