#include "scsitool/kit/semaphore.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/linux_host.h"
#include "semaphore_key.h"

namespace {

using host::SemaphoreOperation;
using qzfi_pdk_4_4::CFiSemaphoreLinux;
using qzfi_pdk_4_4::CFiSemaphoreLockFunction;
using Lines = std::vector<std::string>;

constexpr int kRescanKey = 1001;
constexpr int kRescanFlags = 01666;  // IPC_CREAT and 0666

/// Writes down what is asked of its semaphores and answers with fixed results.
class SemaphoreHost : public host::ForwardingHost {
  public:
    explicit SemaphoreHost(int identifier, int operationResult = 0)
        : ForwardingHost(host::linuxHost()),
          m_identifier(identifier),
          m_operationResult(operationResult) {}
    int openSemaphore(int key, int count, int flags) override {
        char octal[16];
        std::snprintf(octal, sizeof octal, "0%o", static_cast<unsigned>(flags));
        asked.push_back("open " + std::to_string(key) + " " + std::to_string(count) + " " + octal);
        return m_identifier;
    }
    int operateSemaphore(int identifier,
                         const std::vector<SemaphoreOperation>& operations) override {
        std::string line = "operate " + std::to_string(identifier);
        for (const SemaphoreOperation& operation : operations) {
            line += " (" + std::to_string(operation.operation) + (operation.undo ? " undo" : "") +
                    (operation.noWait ? " nowait" : "") + ")";
        }
        asked.push_back(line);
        return m_operationResult;
    }
    Lines asked;

  private:
    int m_identifier;
    int m_operationResult;
};

TEST(Semaphore, IsTakenInOneStepAndGivenBackInOne) {
    SemaphoreHost host(42);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    EXPECT_TRUE(host.asked.empty());
    {
        const CFiSemaphoreLockFunction lock(semaphore);
        EXPECT_EQ(host.asked, (Lines{"open 1001 1 01666", "operate 42 (0 undo) (1 undo nowait)"}));
        host.asked.clear();
    }
    EXPECT_EQ(host.asked, Lines{"operate 42 (-1 undo nowait)"});
}

TEST(Semaphore, IsOpenedOnceOnEachHost) {
    SemaphoreHost first(42);
    SemaphoreHost second(43);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    EXPECT_EQ(semaphore.identifier(first), 42);
    EXPECT_EQ(semaphore.identifier(second), 43);
    EXPECT_EQ(semaphore.identifier(first), 42);
    EXPECT_EQ(semaphore.identifier(second), 43);
    EXPECT_EQ(first.asked, Lines{"open 1001 1 01666"});
    EXPECT_EQ(second.asked, Lines{"open 1001 1 01666"});
}

// A host may stand where another stood in memory before.
TEST(Semaphore, IdentifierIsNeverTakenFromAHostThatIsGone) {
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    for (int identifier = 1; identifier <= 3; ++identifier) {
        SemaphoreHost host(identifier);
        EXPECT_EQ(semaphore.identifier(host), identifier);
    }
}

TEST(Semaphore, WorkGoesOnWithoutOne) {
    SemaphoreHost host(-ENOSPC, -EINVAL);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    { const CFiSemaphoreLockFunction lock(semaphore); }
    EXPECT_EQ(semaphore.identifier(host), -1);
    EXPECT_EQ(host.asked, (Lines{"open 1001 1 01666", "operate -1 (0 undo) (1 undo nowait)",
                                 "operate -1 (-1 undo nowait)"}));
}

TEST(Semaphore, LockIsGivenBackOnTheHostItWasTakenOn) {
    SemaphoreHost host(42);
    SemaphoreHost other(43);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    const host::Scope scope(host);
    auto lock = std::make_unique<CFiSemaphoreLockFunction>(semaphore);
    {
        const host::Scope inner(other);
        lock.reset();
    }
    EXPECT_EQ(host.asked.size(), 3U);
    EXPECT_TRUE(other.asked.empty());
}

TEST(Semaphore, LockIsGivenBackWhenAnExceptionLeavesTheScope) {
    SemaphoreHost host(42);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    EXPECT_THROW(
        {
            const CFiSemaphoreLockFunction lock(semaphore);
            throw 6;
        },
        int);
    EXPECT_EQ(host.asked.back(), "operate 42 (-1 undo nowait)");
}

/// A process that takes the lock and holds it until it is killed.
class Holder {
  public:
    explicit Holder(int key) {
        int ready[2] = {-1, -1};
        if (::pipe(ready) != 0) {
            return;
        }
        m_process = ::fork();
        if (m_process == 0) {
            CFiSemaphoreLinux semaphore(key, 1, kRescanFlags);
            const CFiSemaphoreLockFunction lock(semaphore);
            ::alarm(120);
            if (::write(ready[1], "!", 1) == 1) {
                ::pause();
            }
            ::_exit(1);
        }
        char byte = 0;
        m_holds = ::read(ready[0], &byte, 1) == 1;
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~Holder() { kill(); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    bool holds() const { return m_holds; }
    void kill() {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, nullptr, 0);
            m_process = -1;
        }
    }

  private:
    pid_t m_process = -1;
    bool m_holds = false;
};

int tryToTake(int identifier) {
    return host::linuxHost().operateSemaphore(identifier, {{0, true, true}, {1, true, true}});
}

TEST(Semaphore, KilledHolderReleasesTheLock) {
    const test::SemaphoreKey key;
    CFiSemaphoreLinux semaphore(key.get(), 1, kRescanFlags);
    const int identifier = semaphore.identifier(host::linuxHost());
    ASSERT_GE(identifier, 0);
    Holder holder(key.get());
    ASSERT_TRUE(holder.holds());
    EXPECT_EQ(tryToTake(identifier), -EAGAIN);
    std::thread waiting([&semaphore] { const CFiSemaphoreLockFunction lock(semaphore); });
    holder.kill();
    waiting.join();
    EXPECT_EQ(tryToTake(identifier), 0);
}

TEST(Semaphore, SerialisesThreads) {
    const test::SemaphoreKey key;
    CFiSemaphoreLinux semaphore(key.get(), 1, kRescanFlags);
    // Not atomic on purpose: the lock lets in one thread at a time.
    int inside = 0;
    int most = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                const CFiSemaphoreLockFunction lock(semaphore);
                ++inside;
                most = std::max(most, inside);
                --inside;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(most, 1);
}

}  // namespace
