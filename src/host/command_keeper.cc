#include "host/command_keeper.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// Two stacks in the caller's memory, which no sanitizer knows as stacks.
#define SCSITOOL_ON_BORROWED_STACK [[gnu::no_sanitize_address]]

namespace host {
namespace {

constexpr int kCannotExecute = 127;
// Where the keeper has what it needs of the caller's descriptors; it closes the others.
constexpr int kReport = 0;
constexpr int kInput = 1;
constexpr int kOutput = 2;

constexpr std::size_t kKernelSignalSetSize = (NSIG - 1) / 8;

// Nothing of the caller's environment reaches a program that runs as root, and its messages are in
// the language that they are read in.
constexpr const char* kEnvironment[] = {"PATH=/sbin:/bin:/usr/sbin:/usr/bin", "LC_ALL=C", nullptr};

// Another thread may hold any lock and the thread's own storage is the caller's, so nothing from
// here on allocates, locks, throws, or is a cancellation point: bare system calls alone.

SCSITOOL_ON_BORROWED_STACK void closeFrom(int first, int limit) {
#ifdef SYS_close_range
    if (::syscall(SYS_close_range, first, ~0U, 0) == 0) {
        return;
    }
#endif
    // A kernel before 5.9.
    for (int descriptor = first; descriptor < limit; ++descriptor) {
        ::syscall(SYS_close, descriptor);
    }
}

// SIGCHLD too: while it is ignored there is no wait status. The kernel's own structure, all of
// whose defaults are 0, since the C library keeps two signals to itself.
SCSITOOL_ON_BORROWED_STACK void restoreDefaultSignals() {
    const std::uint64_t defaults[8] = {};
    for (int number = 1; number < NSIG; ++number) {
        ::syscall(SYS_rt_sigaction, number, defaults, nullptr, kKernelSignalSetSize);
    }
}

SCSITOOL_ON_BORROWED_STACK bool copyDescriptor(int from, int to) {
    return ::syscall(SYS_dup3, from, to, 0) >= 0;
}

SCSITOOL_ON_BORROWED_STACK int becomeProgram(void* memory) {
    const ProgramImage& image = static_cast<const KeeperMemory*>(memory)->image;
    // The keeper's death takes the program along even when it has left the group.
    ::syscall(SYS_prctl, PR_SET_PDEATHSIG, SIGKILL, 0UL, 0UL, 0UL);
    static_assert(kOutput == STDERR_FILENO, "the output is where standard error has to be");
    if (copyDescriptor(kInput, STDIN_FILENO) && copyDescriptor(kOutput, STDOUT_FILENO)) {
        closeFrom(STDERR_FILENO + 1, image.descriptorLimit);
        const std::uint64_t none[2] = {};
        ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, none, nullptr, kKernelSignalSetSize);
        for (const char* const* program = image.programs; *program != nullptr; ++program) {
            ::syscall(SYS_execve, *program, image.arguments, kEnvironment);
        }
    }
    return kCannotExecute;
}

// A group of its own even where no session can be had: what kills the group must never kill the
// caller's.
SCSITOOL_ON_BORROWED_STACK bool leadGroup() {
    return ::syscall(SYS_setsid) >= 0 || ::syscall(SYS_setpgid, 0, 0) == 0;
}

// The caller may have ended before its end was asked for.
SCSITOOL_ON_BORROWED_STACK bool endWithCaller(pid_t caller) {
    return ::syscall(SYS_prctl, PR_SET_PDEATHSIG, SIGKILL, 0UL, 0UL, 0UL) == 0 &&
           ::syscall(SYS_getppid) == caller;
}

// What kills the group when the keeper ends, whatever ends it: a pipe with both ends at the keeper,
// each of which sends SIGKILL to the group when the kernel closes the other one. (The kernel may
// take the keeper together with a caller that runs out of memory or dumps core, because it shares
// its memory: no code of ours runs then.)
class DeadMansPipe {
  public:
    SCSITOOL_ON_BORROWED_STACK bool arm() {
        const long group = ::syscall(SYS_getpid);
        bool armed = ::syscall(SYS_pipe2, m_ends, O_CLOEXEC) == 0;
        for (int place = 0; place < 2 && armed; ++place) {
            armed = ::syscall(SYS_fcntl, m_ends[place], F_SETSIG, SIGKILL) == 0 &&
                    ::syscall(SYS_fcntl, m_ends[place], F_SETOWN, -group) == 0 &&
                    ::syscall(SYS_fcntl, m_ends[place], F_SETFL, O_ASYNC) == 0;
        }
        return armed;
    }
    SCSITOOL_ON_BORROWED_STACK void disarm() const {
        ::syscall(SYS_fcntl, m_ends[0], F_SETFL, 0);
        ::syscall(SYS_fcntl, m_ends[1], F_SETFL, 0);
    }

  private:
    int m_ends[2] = {-1, -1};
};

// Not a clone with a copy of the memory either; the keeper is suspended until the program has been
// executed. `guest` is set before the program runs and cleared by the kernel.
SCSITOOL_ON_BORROWED_STACK pid_t startProgram(KeeperMemory& memory) {
    return ::clone(becomeProgram, memory.programStack + KeeperMemory::kStackSize,
                   CLONE_VM | CLONE_VFORK | CLONE_PARENT_SETTID | CLONE_CHILD_CLEARTID, &memory,
                   &memory.guest, nullptr, &memory.guest);
}

// No program will come, and the kernel has nobody to wake for.
SCSITOOL_ON_BORROWED_STACK void letCallerGoOn(KeeperMemory& memory) {
    memory.guest = 0;
    ::syscall(SYS_futex, &memory.guest, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

// The keeper must not hold the caller's descriptors (a device, a lock) while the program runs.
SCSITOOL_ON_BORROWED_STACK bool keepDescriptors(const ProgramImage& image) {
    const bool kept = copyDescriptor(image.report, kReport) &&
                      copyDescriptor(image.input, kInput) && copyDescriptor(image.output, kOutput);
    closeFrom(kOutput + 1, image.descriptorLimit);
    return kept;
}

SCSITOOL_ON_BORROWED_STACK bool keepProgram(KeeperMemory& memory) {
    const ProgramImage& image = memory.image;
    DeadMansPipe deadMansPipe;
    restoreDefaultSignals();
    if (!leadGroup() || !endWithCaller(image.caller) || !keepDescriptors(image) ||
        !deadMansPipe.arm()) {
        return false;
    }
    const pid_t program = startProgram(memory);
    ::syscall(SYS_close, kInput);
    ::syscall(SYS_close, kOutput);
    int status = kCannotExecute << 8;
    if (program > 0) {
        ::syscall(SYS_wait4, program, &status, __WALL, nullptr);
    } else {
        letCallerGoOn(memory);
    }
    deadMansPipe.disarm();
    return ::syscall(SYS_write, kReport, &status, sizeof status) == sizeof status;
}

SCSITOOL_ON_BORROWED_STACK int runKeeper(void* memory) {
    return keepProgram(*static_cast<KeeperMemory*>(memory)) ? 0 : 1;
}

// It ends at a clone that shares memory and is neither a thread nor vfork(2).
bool runsInValgrind() {
    static const char* const preloaded = std::getenv("LD_PRELOAD");
    return preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr;
}

// With a copy of the memory, which no program enters.
pid_t startKeeperApart(KeeperMemory& memory) {
    const auto keeper = static_cast<pid_t>(::syscall(SYS_clone, 0UL, 0UL, 0UL, 0UL, 0UL));
    if (keeper == 0) {
        ::_exit(runKeeper(&memory));
    }
    if (keeper > 0) {
        memory.guest = 0;
    }
    return keeper;
}

}  // namespace

pid_t startKeeper(KeeperMemory& memory) {
    if (!runsInValgrind()) {
        const pid_t keeper = ::clone(runKeeper, memory.keeperStack + KeeperMemory::kStackSize,
                                     CLONE_VM | CLONE_SYSVSEM, &memory);
        // What emulates the kernel may not know this clone either.
        if (keeper > 0 || errno != EINVAL) {
            return keeper;
        }
    }
    return startKeeperApart(memory);
}

}  // namespace host
