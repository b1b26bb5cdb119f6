#include "scsitool/host/worker_process.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace host {
namespace {

constexpr std::uint64_t kMillisecondsInSecond = 1000;
constexpr long kNanosecondsInMillisecond = 1'000'000;
constexpr int kFailed = 1;

// Every signal from the fork on until the child has no handler of its parent's any more.
class AllBlocked {
  public:
    AllBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_former);
    }
    ~AllBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }
    AllBlocked(const AllBlocked&) = delete;
    AllBlocked& operator=(const AllBlocked&) = delete;

  private:
    sigset_t m_former = {};
};

void resetSignals() {
    for (int number = 1; number <= SIGRTMAX; ++number) {
        ::signal(number, SIG_DFL);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

// A kernel before 5.9 has no close_range(2).
void closeOthers() {
    constexpr int kFirst = STDERR_FILENO + 1;
    if (::syscall(SYS_close_range, kFirst, ~0U, 0) == 0) {
        return;
    }
    constexpr rlim_t kMost = rlim_t{1} << 20;
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    for (int one = kFirst; one < static_cast<int>(std::min(limit.rlim_cur, kMost)); ++one) {
        ::close(one);
    }
}

// Whoever reads what the parent prints sees its end when the parent ends, whatever becomes of this
// process: it must not hold the pipe.
void leaveDescriptors() {
    closeOthers();
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        if (nowhere < 0 || ::dup2(nowhere, standard) < 0) {
            ::close(standard);
        }
    }
    if (nowhere > STDERR_FILENO) {
        ::close(nowhere);
    }
}

[[noreturn]] void workAndEnd(pid_t parent, const std::function<void()>& work) {
    // A parent that ended before this call is noticed by the number.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != parent) {
        ::_exit(kFailed);
    }
    leaveDescriptors();
    resetSignals();
    try {
        work();
    } catch (...) {
        ::_exit(kFailed);
    }
    // Nothing of the parent's is ended twice: no buffer is written, no object destroyed.
    ::_exit(0);
}

}  // namespace

SharedMemory::SharedMemory(std::size_t bytes) {
    void* const found = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                               MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (found != MAP_FAILED) {
        m_data = static_cast<unsigned char*>(found);
        m_size = bytes;
    }
}

SharedMemory::~SharedMemory() {
    if (m_data != nullptr) {
        ::munmap(m_data, m_size);
    }
}

WorkerProcess::~WorkerProcess() {
    kill();
    hasEnded();
}

WorkerProcess::WorkerProcess(WorkerProcess&& other) noexcept : m_id(std::exchange(other.m_id, 0)) {}

WorkerProcess& WorkerProcess::operator=(WorkerProcess&& other) noexcept {
    std::swap(m_id, other.m_id);
    return *this;
}

int WorkerProcess::start(const std::function<void()>& work) {
    // A caller that ignores the end of its children would never know when a number is somebody
    // else's.
    ::signal(SIGCHLD, SIG_DFL);
    const pid_t parent = ::getpid();
    const AllBlocked blocked;
    const pid_t child = ::fork();
    if (child == 0) {
        workAndEnd(parent, work);
    }
    if (child < 0) {
        return -errno;
    }
    m_id = child;
    return 0;
}

bool WorkerProcess::hasEnded() {
    if (m_id != 0 && ::waitpid(m_id, nullptr, WNOHANG) != 0) {
        m_id = 0;
    }
    return m_id == 0;
}

void WorkerProcess::kill() {
    if (m_id != 0) {
        ::kill(m_id, SIGKILL);
    }
}

std::uint64_t monotonicMilliseconds() {
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * kMillisecondsInSecond +
           static_cast<std::uint64_t>(now.tv_nsec / kNanosecondsInMillisecond);
}

void waitForChange(const std::atomic<std::uint32_t>& word, std::uint32_t seen,
                   unsigned milliseconds) {
    const timespec time = {
        static_cast<time_t>(milliseconds / kMillisecondsInSecond),
        static_cast<long>(milliseconds % kMillisecondsInSecond) * kNanosecondsInMillisecond};
    ::syscall(SYS_futex, &word, FUTEX_WAIT, seen, &time, nullptr, 0);
}

void wakeWaiting(const std::atomic<std::uint32_t>& word) {
    ::syscall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

}  // namespace host
