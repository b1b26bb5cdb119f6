#ifndef SCSITOOL_HOST_WORKER_PROCESS_H
#define SCSITOOL_HOST_WORKER_PROCESS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "scsitool/host/export.h"

/// Processes that a program forks from itself to do something that may never end: a request to a
/// dead disk holds its process in uninterruptible sleep, where not even SIGKILL is noticed. Nothing
/// here waits for one.
namespace host {

/// Memory that a process shares with those that it forks, all zeros at first. It costs what is
/// written to.
class SCSITOOL_EXPORT SharedMemory {
  public:
    /// `data` is null when there is no such memory.
    explicit SharedMemory(std::size_t bytes);
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    unsigned char* data() const { return m_data; }
    std::size_t size() const { return m_size; }

  private:
    unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
};

/// One forked process. It has no descriptor of its parent's (its standard ones are /dev/null), no
/// handler for a signal, none blocked, and no other way to reach the world than shared memory and
/// what it opens itself; it ends with its parent. Movable; for one thread.
class SCSITOOL_EXPORT WorkerProcess {
  public:
    WorkerProcess() = default;
    /// Kills it, and waits for nothing.
    ~WorkerProcess();
    WorkerProcess(WorkerProcess&& other) noexcept;
    WorkerProcess& operator=(WorkerProcess&& other) noexcept;

    /// Forks a process that does `work` and ends. 0 or a negated errno. Other threads of the caller
    /// are not there in it: `work` must not wait for what one of them holds. It ends with the
    /// thread that started it.
    ///
    /// It sets SIGCHLD to SIG_DFL for the whole process, and leaves it so: under SIG_IGN the kernel
    /// reaps a child by itself, and its number may by then be another process's. A program that
    /// handles SIGCHLD starts no worker.
    int start(const std::function<void()>& work);
    /// Tells whether it has ended, and reaps it; true also when none was started.
    bool hasEnded();
    /// Sends SIGKILL. A process in uninterruptible sleep stays all the same.
    void kill();
    /// Its number, 0 once it has ended.
    int id() const { return m_id; }

  private:
    int m_id = 0;
};

/// Milliseconds of a clock that no one sets and that all processes have in common.
SCSITOOL_EXPORT std::uint64_t monotonicMilliseconds();

/// Waits while a word in shared memory reads `seen`, until another process wakes, and at most that
/// long; it may also come back for no reason.
SCSITOOL_EXPORT void waitForChange(const std::atomic<std::uint32_t>& word, std::uint32_t seen,
                                   unsigned milliseconds);
/// Wakes whoever waits for a word.
SCSITOOL_EXPORT void wakeWaiting(const std::atomic<std::uint32_t>& word);

}  // namespace host

#endif
