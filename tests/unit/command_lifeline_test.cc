// What becomes of a command whose caller ends, and what a command costs its caller. Each caller is
// a process of its own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "host/command_runner.h"
#include "host/descriptor.h"
#include "temporary_directory.h"

namespace {

using host::CommandResult;
using host::Descriptor;
using test::TemporaryDirectory;
using Clock = std::chrono::steady_clock;

constexpr int kAmple = 100;

bool becomesTrue(const std::function<bool()>& condition) {
    const auto limit = Clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (Clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool isLocked(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    return ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool noProcessIsLeft() {
    return becomesTrue([] {
        while (::waitpid(-1, nullptr, WNOHANG | __WALL) > 0) {
        }
        return ::waitpid(-1, nullptr, WNOHANG | __WALL) < 0 && errno == ECHILD;
    });
}

// Whoever loses its parent becomes a child of the test, so that nobody gets away.
class Orphanage {
  public:
    Orphanage() { ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0); }
    ~Orphanage() { ::prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0); }
    Orphanage(const Orphanage&) = delete;
    Orphanage& operator=(const Orphanage&) = delete;
};

// A program and a descendant of it that run until somebody ends them.
CommandResult runLongCommand(const std::string& lock, int timeoutSeconds = kAmple) {
    return host::runProgram({SCSITOOL_RUNNER_HELPER, "wait-with-grandchild", lock}, timeoutSeconds);
}

using Task = std::function<void(const std::string& lock)>;

pid_t startCaller(const Task& task, const std::string& lock) {
    const pid_t caller = ::fork();
    if (caller == 0) {
        const rlimit noCore = {0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        task(lock);
        std::_Exit(0);
    }
    return caller;
}

// The keeper leads the group, whose number the descendant has written down.
pid_t groupOf(const std::string& lock) {
    std::ifstream file(lock);
    pid_t group = -1;
    return file >> group ? group : -1;
}

void askFromAThread(const std::string& lock) {
    std::thread([lock] { runLongCommand(lock); }).join();
}

void exitInAnotherThread(const std::string& lock) {
    std::thread([lock] {
        becomesTrue([&lock] { return groupOf(lock) > 0; });
        std::_Exit(0);
    }).detach();
    runLongCommand(lock);
}

void executeInAnotherThread(const std::string& lock) {
    std::thread([lock] {
        becomesTrue([&lock] { return groupOf(lock) > 0; });
        ::execl(SCSITOOL_RUNNER_HELPER, "runner_helper", "silence", nullptr);
    }).detach();
    runLongCommand(lock);
}

// Other threads that fork without an exec: their children hold every descriptor of that moment.
std::atomic<bool> forksGoOn{true};

void forkMeanwhile(const std::string& lock) {
    ::setpgid(0, 0);
    std::thread([lock] {
        while (groupOf(lock) <= 0) {
            if (::fork() == 0) {
                ::alarm(100);
                for (;;) {
                    ::pause();
                }
            }
        }
        forksGoOn = false;
    }).detach();
    const CommandResult result = runLongCommand(lock);
    becomesTrue([] { return !forksGoOn; });
    std::_Exit(result.waitStatus == SIGKILL && !result.timedOut ? 0 : 1);
}

struct End {
    const char* name;
    Task task;
    int signal;  // 0: it ends by itself
};

const std::vector<End>& ends() {
    static const std::vector<End> all = {
        {"SIGKILL", [](const std::string& lock) { runLongCommand(lock); }, SIGKILL},
        {"SIGTERM", [](const std::string& lock) { runLongCommand(lock); }, SIGTERM},
        {"SIGSEGV", [](const std::string& lock) { runLongCommand(lock); }, SIGSEGV},
        {"SIGKILL while a thread waits", askFromAThread, SIGKILL},
        {"exit of another thread", exitInAnotherThread, 0},
        {"another program in its place", executeInAnotherThread, 0},
        {"SIGKILL while forked children hold its descriptors", forkMeanwhile, SIGKILL},
    };
    return all;
}

TEST(CommandLifeline, CommandAndItsGroupEndWithTheCaller) {
    const Orphanage orphanage;
    for (const End& end : ends()) {
        const TemporaryDirectory directory;
        const std::string lock = directory.file("lock", "");
        const pid_t caller = startCaller(end.task, lock);
        EXPECT_TRUE(becomesTrue([&lock] { return groupOf(lock) > 0; })) << end.name;
        if (end.signal != 0) {
            ::kill(caller, end.signal);
        }
        EXPECT_TRUE(becomesTrue([&lock] { return !isLocked(lock); })) << end.name;
        // What the caller itself has become or has forked.
        ::kill(caller, SIGKILL);
        ::kill(-caller, SIGKILL);
        EXPECT_TRUE(noProcessIsLeft()) << end.name;
    }
}

TEST(CommandLifeline, CommandEndsWhenItsCallerIsKilledAtAnyMoment) {
    const Orphanage orphanage;
    for (int round = 0; round < 200; ++round) {
        const TemporaryDirectory directory;
        const std::string lock = directory.file("lock", "");
        const pid_t caller =
            startCaller([](const std::string& path) { runLongCommand(path); }, lock);
        std::this_thread::sleep_for(std::chrono::microseconds(20 * round));
        ::kill(caller, SIGKILL);
        ASSERT_TRUE(noProcessIsLeft()) << round;
    }
}

// The kernel may end the keeper together with the caller: no code of ours has a part in this.
TEST(CommandLifeline, GroupEndsWithTheKeeper) {
    const Orphanage orphanage;
    for (const Task& task :
         {Task([](const std::string& lock) {
              const CommandResult result = runLongCommand(lock);
              std::_Exit(result.waitStatus == SIGKILL && !result.timedOut ? 0 : 1);
          }),
          Task(forkMeanwhile)}) {
        const TemporaryDirectory directory;
        const std::string lock = directory.file("lock", "");
        const pid_t caller = startCaller(task, lock);
        ASSERT_TRUE(becomesTrue([&lock] { return groupOf(lock) > 0; }));
        ::kill(groupOf(lock), SIGKILL);
        int status = -1;
        EXPECT_EQ(::waitpid(caller, &status, 0), caller);
        EXPECT_EQ(status, 0) << "the caller has to see that its keeper is gone";
        EXPECT_TRUE(becomesTrue([&lock] { return !isLocked(lock); }));
        ::kill(-caller, SIGKILL);
        EXPECT_TRUE(noProcessIsLeft());
    }
}

TEST(CommandLifeline, WhatACommandLeavesBehindOutlivesTheCaller) {
    const Orphanage orphanage;
    const TemporaryDirectory directory;
    const std::string lock = directory.file("lock", "");
    const pid_t caller = startCaller(
        [](const std::string& path) {
            host::runProgram({SCSITOOL_RUNNER_HELPER, "leave-grandchild", path}, kAmple);
        },
        lock);
    ASSERT_EQ(::waitpid(caller, nullptr, 0), caller);
    // A signal on its way would have arrived by then.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(isLocked(lock));
    ::kill(-groupOf(lock), SIGKILL);
    EXPECT_TRUE(noProcessIsLeft());
}

bool refuseSystemCall(int number, int error) {
    sock_filter program[] = {
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<unsigned>(number)},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
    };
    const sock_fprog filter = {4, program};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// Refuses a clone that shares memory, unless it is vfork(2), as an emulator does.
bool refuseSharedMemory() {
    constexpr unsigned kFlags = CLONE_VM | CLONE_VFORK;
    sock_filter program[] = {
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 4, static_cast<unsigned>(SYS_clone)},
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, args)},
        {BPF_ALU | BPF_AND | BPF_K, 0, 0, kFlags},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, CLONE_VM},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EINVAL},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
    };
    const sock_fprog filter = {7, program};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

TEST(CommandLifeline, MemoryIsCopiedWhereItCannotBeShared) {
    const Orphanage orphanage;
    const TemporaryDirectory directory;
    const std::string lock = directory.file("lock", "");
    const pid_t caller = startCaller(
        [](const std::string& path) {
            const bool refused = refuseSharedMemory();
            const CommandResult brief =
                host::runProgram({SCSITOOL_RUNNER_HELPER, "words", "a"}, kAmple);
            const CommandResult missing = host::runProgram({"/nonexistent/program"}, kAmple);
            const CommandResult result = runLongCommand(path, 1);
            std::_Exit(refused && brief.lines == std::vector<std::string>{"[a]"} &&
                               missing.waitStatus == 127 << 8 && result.timedOut
                           ? 0
                           : 1);
        },
        lock);
    int status = -1;
    EXPECT_EQ(::waitpid(caller, &status, 0), caller);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(becomesTrue([&lock] { return !isLocked(lock); }));
    EXPECT_TRUE(noProcessIsLeft());
}

TEST(CommandLifeline, GroupIsMadeWhereNoSessionCanBe) {
    const Orphanage orphanage;
    const TemporaryDirectory directory;
    const std::string lock = directory.file("lock", "");
    const pid_t caller = startCaller(
        [](const std::string& path) {
            const bool refused = refuseSystemCall(SYS_setsid, EPERM);
            const CommandResult result = runLongCommand(path, 1);
            std::_Exit(refused && result.timedOut && groupOf(path) != ::getpgrp() ? 0 : 1);
        },
        lock);
    int status = -1;
    EXPECT_EQ(::waitpid(caller, &status, 0), caller);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(becomesTrue([&lock] { return !isLocked(lock); }));
    EXPECT_TRUE(noProcessIsLeft());
}

// A step of the start that fails must not start the program at all.
TEST(CommandLifeline, CommandWithoutALifelineIsNotStarted) {
    for (const int number : {static_cast<int>(SYS_prctl), static_cast<int>(SYS_pipe2),
                             static_cast<int>(SYS_fcntl), static_cast<int>(SYS_dup3)}) {
        const TemporaryDirectory directory;
        const std::string lock = directory.file("lock", "");
        const pid_t caller = startCaller(
            [number](const std::string& path) {
                const bool refused = refuseSystemCall(number, EPERM);
                const CommandResult result = runLongCommand(path, 20);
                std::_Exit(refused && result.waitStatus == 127 << 8 ? 0 : 1);
            },
            lock);
        int status = -1;
        EXPECT_EQ(::waitpid(caller, &status, 0), caller);
        EXPECT_EQ(status, 0) << number;
        EXPECT_LT(groupOf(lock), 0) << number;
    }
}

// As a clone with a memory of its own would have it, page by page.
TEST(CommandLifeline, MemoryIsNotCopiedWhileACommandRuns) {
    constexpr std::size_t kSize = std::size_t{64} << 20;
    constexpr std::size_t kPage = 4096;
    const TemporaryDirectory directory;
    const std::string lock = directory.file("lock", "");
    void* const memory =
        ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    ::madvise(memory, kSize, MADV_NOHUGEPAGE);
    const auto faultsOfARewrite = [memory] {
        rusage before = {};
        rusage after = {};
        ::getrusage(RUSAGE_THREAD, &before);
        for (std::size_t place = 0; place < kSize; place += kPage) {
            static_cast<volatile char*>(memory)[place] = 1;
        }
        ::getrusage(RUSAGE_THREAD, &after);
        return after.ru_minflt - before.ru_minflt;
    };
    faultsOfARewrite();
    CommandResult result;
    std::thread asking([&result, &lock] { result = runLongCommand(lock, 2); });
    EXPECT_TRUE(becomesTrue([&lock] { return groupOf(lock) > 0; }));
    EXPECT_LT(faultsOfARewrite(), 100) << "of " << kSize / kPage << " pages";
    ::kill(groupOf(lock), SIGKILL);
    asking.join();
    EXPECT_EQ(result.waitStatus, SIGKILL);
    ::munmap(memory, kSize);
}

}  // namespace
