#include "scsitool/host/worker_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <new>
#include <thread>

namespace {

using Word = std::atomic<std::uint32_t>;

/// A word that processes have in common.
class SharedWord {
  public:
    SharedWord() : m_memory(4096) {}
    Word& operator*() { return *reinterpret_cast<Word*>(m_memory.data()); }

  private:
    host::SharedMemory m_memory;
};

template <class Condition>
bool soon(const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

[[noreturn]] void hang() {
    for (;;) {
        ::pause();
    }
}

std::uint32_t openDescriptors() {
    std::uint32_t count = 0;
    DIR* const listing = ::opendir("/proc/self/fd");
    while (const dirent* const entry = ::readdir(listing)) {
        count += entry->d_name[0] != '.' ? 1U : 0U;
    }
    ::closedir(listing);
    return count - 1;  // the listing's own
}

TEST(SharedMemory, IsZeroAndSeenByTheWorkerAndItsParent) {
    SharedWord word;
    EXPECT_EQ(*word, 0U);
    host::WorkerProcess worker;
    ASSERT_EQ(worker.start([&] { *word = 7; }), 0);
    EXPECT_TRUE(soon([&] { return *word == 7; }));
    EXPECT_TRUE(soon([&] { return worker.hasEnded(); }));
    EXPECT_EQ(worker.id(), 0);
}

TEST(SharedMemory, TellsWhenThereIsNone) {
    const host::SharedMemory memory(~std::size_t{0} / 2);
    EXPECT_EQ(memory.data(), nullptr);
    EXPECT_EQ(memory.size(), 0U);
}

TEST(WorkerProcess, HasNoDescriptorButThreeThatLeadNowhere) {
    SharedWord word;
    host::WorkerProcess worker;
    ASSERT_EQ(worker.start([&] {
        const bool printsNowhere = ::write(STDOUT_FILENO, "x", 1) == 1 && ::isatty(1) == 0;
        *word = printsNowhere ? openDescriptors() + 100 : 1;
    }),
              0);
    EXPECT_TRUE(soon([&] { return *word != 0; }));
    EXPECT_EQ(*word, 103U);
}

TEST(WorkerProcess, ThatHangsHoldsNoPipeOfItsParent) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    SharedWord word;
    host::WorkerProcess worker;
    ASSERT_EQ(worker.start([&] {
        *word = 1;
        hang();
    }),
              0);
    ASSERT_TRUE(soon([&] { return *word == 1; }));
    ::close(ends[1]);
    char byte = 0;
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    EXPECT_EQ(::read(ends[0], &byte, 1), 0) << "the end of the pipe, not EAGAIN";
    ::close(ends[0]);
}

TEST(WorkerProcess, KeepsNoHandlerAndNoMaskOfItsParent) {
    struct sigaction former = {};
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    ::sigaction(SIGUSR1, &ignored, &former);
    sigset_t blocked;
    sigset_t mask;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &mask);
    SharedWord word;
    host::WorkerProcess worker;
    ASSERT_EQ(worker.start([&] {
        struct sigaction now = {};
        sigset_t none;
        ::sigaction(SIGUSR1, nullptr, &now);
        ::pthread_sigmask(SIG_SETMASK, nullptr, &none);
        *word = now.sa_handler == SIG_DFL && ::sigismember(&none, SIGUSR2) == 0 ? 1 : 2;
    }),
              0);
    EXPECT_TRUE(soon([&] { return *word != 0; }));
    EXPECT_EQ(*word, 1U);
    ::sigaction(SIGUSR1, nullptr, &ignored);
    EXPECT_EQ(ignored.sa_handler, SIG_IGN) << "the parent keeps its own";
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(::sigismember(&blocked, SIGUSR2), 1);
    ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    ::sigaction(SIGUSR1, &former, nullptr);
}

TEST(WorkerProcess, EndsWithItsParent) {
    SharedWord word;
    const pid_t parent = ::fork();
    if (parent == 0) {
        host::WorkerProcess worker;
        worker.start([&] {
            *word = static_cast<std::uint32_t>(::getpid());
            hang();
        });
        while (*word == 0) {
            ::usleep(1000);
        }
        ::_exit(0);  // no destructor kills it
    }
    ASSERT_EQ(::waitpid(parent, nullptr, 0), parent);
    ASSERT_NE(*word, 0U);
    const auto worker = static_cast<pid_t>(static_cast<std::uint32_t>(*word));
    EXPECT_TRUE(soon([&] { return ::kill(worker, 0) != 0 && errno == ESRCH; }));
}

TEST(WorkerProcess, IsKilledAndReapedWithoutAWait) {
    host::WorkerProcess worker;
    EXPECT_TRUE(worker.hasEnded()) << "none was started";
    ASSERT_EQ(worker.start(hang), 0);
    EXPECT_FALSE(worker.hasEnded());
    worker.kill();
    EXPECT_TRUE(soon([&] { return worker.hasEnded(); }));
}

TEST(WorkerProcess, IsKilledWithItsOwner) {
    int id = 0;
    {
        host::WorkerProcess first;
        ASSERT_EQ(first.start(hang), 0);
        id = first.id();
        host::WorkerProcess second(std::move(first));
        EXPECT_EQ(second.id(), id);
    }
    int status = 0;
    // Unless the owner could reap it already.
    const bool isReaped = ::waitpid(id, &status, 0) < 0;
    EXPECT_TRUE(isReaped || (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL));
}

TEST(WorkerProcess, ThatThrowsEnds) {
    host::WorkerProcess worker;
    ASSERT_EQ(worker.start([] { throw std::bad_alloc(); }), 0);
    EXPECT_TRUE(soon([&] { return worker.hasEnded(); }));
}

TEST(WorkerProcess, IsReapedWhereItsParentIgnoresTheEndOfChildren) {
    void (*const former)(int) = ::signal(SIGCHLD, SIG_IGN);
    host::WorkerProcess worker;
    ASSERT_EQ(worker.start([] {}), 0);
    EXPECT_TRUE(soon([&] { return worker.hasEnded(); }));
    ::signal(SIGCHLD, former);
}

TEST(WaitForChange, ComesBackWhenTheWordIsAnotherAndAtTheLatestInTime) {
    SharedWord word;
    const std::uint64_t begun = host::monotonicMilliseconds();
    host::waitForChange(*word, 1, 10000);
    EXPECT_LT(host::monotonicMilliseconds() - begun, 5000U) << "the word does not read that";
    host::waitForChange(*word, 0, 20);
    EXPECT_GE(host::monotonicMilliseconds() - begun, 20U);
}

TEST(WaitForChange, IsWokenByAnotherProcess) {
    SharedWord word;
    host::WorkerProcess worker;
    const std::uint64_t begun = host::monotonicMilliseconds();
    ASSERT_EQ(worker.start([&] {
        ::usleep(20000);
        *word = 1;
        host::wakeWaiting(*word);
    }),
              0);
    host::waitForChange(*word, 0, 10000);
    EXPECT_LT(host::monotonicMilliseconds() - begun, 5000U);
}

}  // namespace
