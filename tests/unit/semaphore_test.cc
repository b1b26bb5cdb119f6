#include "scsitool/kit/semaphore.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "allocation_failure.h"
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
        return next(opens, m_identifier);
    }
    int operateSemaphore(int identifier,
                         const std::vector<SemaphoreOperation>& operations) override {
        std::string line = "operate " + std::to_string(identifier);
        for (const SemaphoreOperation& operation : operations) {
            line += " (" + std::to_string(operation.operation) + (operation.undo ? " undo" : "") +
                    (operation.noWait ? " nowait" : "") + ")";
        }
        asked.push_back(line);
        return next(results, m_operationResult);
    }
    Lines asked;
    /// What the coming calls give before the fixed results; the last one stays for good.
    std::vector<int> opens;
    std::vector<int> results;

  private:
    static int next(std::vector<int>& answers, int otherwise) {
        if (answers.empty()) {
            return otherwise;
        }
        const int answer = answers.front();
        if (answers.size() > 1) {
            answers.erase(answers.begin());
        }
        return answer;
    }

    int m_identifier;
    int m_operationResult;
};

constexpr char kTaken[] = "operate 42 (0 undo) (1 undo nowait)";
constexpr char kGiven[] = "operate 42 (-1 undo nowait)";

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

// The kernel counts its sets from 0.
TEST(Semaphore, TheFirstSetOfAMachineIsOne) {
    SemaphoreHost host(0);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    { const CFiSemaphoreLockFunction lock(semaphore); }
    EXPECT_EQ(host.asked, (Lines{"open 1001 1 01666", "operate 0 (0 undo) (1 undo nowait)",
                                 "operate 0 (-1 undo nowait)"}));
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

// Whoever looks on at each enumeration puts a new host in place for it.
TEST(Semaphore, HostsThatAreGoneAreForgotten) {
    SemaphoreHost lasting(42);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    semaphore.identifier(lasting);
    for (int identifier = 1; identifier <= 10; ++identifier) {
        SemaphoreHost host(identifier);
        semaphore.identifier(host);
        EXPECT_EQ(semaphore.m_identifiers.size(), 2U);
    }
    semaphore.identifier(lasting);
    EXPECT_EQ(lasting.asked, Lines{"open 1001 1 01666"});
}

TEST(Semaphore, WorkGoesOnWithoutOne) {
    SemaphoreHost host(-ENOSPC, -EINVAL);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    { const CFiSemaphoreLockFunction lock(semaphore); }
    EXPECT_EQ(host.asked, (Lines{"open 1001 1 01666", "operate -1 (0 undo) (1 undo nowait)"}));
    EXPECT_EQ(semaphore.identifier(host), -1);
}

TEST(Semaphore, SetThatCouldNotBeOpenedIsTriedAgainByTheNextLock) {
    SemaphoreHost host(-ENOSPC, -EINVAL);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    { const CFiSemaphoreLockFunction lock(semaphore); }
    host.asked.clear();
    host.opens = {42};
    host.results = {0};
    { const CFiSemaphoreLockFunction lock(semaphore); }
    { const CFiSemaphoreLockFunction lock(semaphore); }
    EXPECT_EQ(host.asked, (Lines{"open 1001 1 01666", kTaken, kGiven, kTaken, kGiven}));
}

// The value may be another process's.
TEST(Semaphore, WhatWasNotTakenIsNotGivenBack) {
    for (const int error : {EACCES, ENOMEM, ENOSPC, ERANGE, EFBIG, E2BIG}) {
        SemaphoreHost host(42, -error);
        const host::Scope scope(host);
        CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
        { const CFiSemaphoreLockFunction lock(semaphore); }
        EXPECT_EQ(host.asked, (Lines{"open 1001 1 01666", kTaken})) << error;
    }
}

TEST(Semaphore, RemovedSetIsOpenedAgain) {
    for (const int error : {EINVAL, EIDRM}) {
        SemaphoreHost host(42);
        const host::Scope scope(host);
        CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
        EXPECT_EQ(semaphore.identifier(host), 42);
        host.asked.clear();
        host.opens = {43};
        host.results = {-error, 0};
        { const CFiSemaphoreLockFunction lock(semaphore); }
        EXPECT_EQ(host.asked,
                  (Lines{kTaken, "open 1001 1 01666", "operate 43 (0 undo) (1 undo nowait)",
                         "operate 43 (-1 undo nowait)"}))
            << error;
        EXPECT_EQ(semaphore.identifier(host), 43);
    }
}

TEST(Semaphore, RemovedSetIsOpenedAgainOnceOnly) {
    SemaphoreHost host(42, -EIDRM);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    { const CFiSemaphoreLockFunction lock(semaphore); }
    EXPECT_EQ(host.asked, (Lines{"open 1001 1 01666", kTaken, "open 1001 1 01666", kTaken}));
}

TEST(Semaphore, RemovedSetThatCannotBeOpenedAgainIsDoneWithout) {
    SemaphoreHost host(42, -EINVAL);
    const host::Scope scope(host);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    EXPECT_EQ(semaphore.identifier(host), 42);
    host.opens = {-EACCES};
    { const CFiSemaphoreLockFunction lock(semaphore); }
    EXPECT_EQ(host.asked.back(), "operate -1 (0 undo) (1 undo nowait)");
    EXPECT_EQ(semaphore.identifier(host), -1);
}

TEST(Semaphore, SetThatAnotherThreadHasOpenedAgainIsNotOpenedOnceMore) {
    SemaphoreHost host(42);
    CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
    EXPECT_EQ(semaphore.identifier(host), 42);
    host.opens = {43};
    EXPECT_EQ(semaphore.identifier(host, 42), 43);
    host.opens = {44};
    EXPECT_EQ(semaphore.identifier(host, 42), 43);
    EXPECT_EQ(host.asked.size(), 2U);
}

/// Has no memory for any operation on its semaphores, or for none behind the first.
class ExhaustedHost : public SemaphoreHost {
  public:
    explicit ExhaustedHost(int operationsLeft)
        : SemaphoreHost(42), m_operationsLeft(operationsLeft) {}
    int operateSemaphore(int identifier,
                         const std::vector<SemaphoreOperation>& operations) override {
        if (m_operationsLeft-- == 0) {
            throw std::bad_alloc();
        }
        return SemaphoreHost::operateSemaphore(identifier, operations);
    }

  private:
    int m_operationsLeft;
};

TEST(Semaphore, HostThatThrowsIsDoneWithout) {
    for (const int operationsLeft : {0, 1}) {
        ExhaustedHost host(operationsLeft);
        const host::Scope scope(host);
        CFiSemaphoreLinux semaphore(kRescanKey, 1, kRescanFlags);
        bool worked = false;
        {
            const CFiSemaphoreLockFunction lock(semaphore);
            worked = true;
        }
        EXPECT_TRUE(worked) << operationsLeft;
    }
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

TEST(Semaphore, SetThatIsRemovedMeanwhileIsMadeAgain) {
    const test::SemaphoreKey key;
    CFiSemaphoreLinux semaphore(key.get(), 1, kRescanFlags);
    const int former = semaphore.identifier(host::linuxHost());
    ASSERT_EQ(::semctl(former, 0, IPC_RMID), 0);
    const CFiSemaphoreLockFunction lock(semaphore);
    const int identifier = semaphore.identifier(host::linuxHost());
    EXPECT_NE(identifier, former);
    EXPECT_EQ(tryToTake(identifier), -EAGAIN);
}

TEST(Semaphore, SetThatIsRemovedUnderAWaitIsMadeAgain) {
    const test::SemaphoreKey key;
    CFiSemaphoreLinux semaphore(key.get(), 1, kRescanFlags);
    const int former = semaphore.identifier(host::linuxHost());
    Holder holder(key.get());
    ASSERT_TRUE(holder.holds());
    std::thread waiting([&semaphore] { const CFiSemaphoreLockFunction lock(semaphore); });
    while (::semctl(former, 0, GETZCNT) == 0) {
        std::this_thread::yield();
    }
    ASSERT_EQ(::semctl(former, 0, IPC_RMID), 0);
    waiting.join();
    const int identifier = semaphore.identifier(host::linuxHost());
    EXPECT_NE(identifier, former);
    EXPECT_EQ(tryToTake(identifier), 0);
}

TEST(Semaphore, IsTakenAndGivenBackWithoutAnAllocation) {
    const test::SemaphoreKey key;
    CFiSemaphoreLinux semaphore(key.get(), 1, kRescanFlags);
    const int identifier = semaphore.identifier(host::linuxHost());
    bool happened = false;
    int whileHeld = 0;
    {
        const test::AllocationFailure failure(0);
        {
            const CFiSemaphoreLockFunction lock(semaphore);
            whileHeld = ::semctl(identifier, 0, GETVAL);
        }
        happened = failure.happened();
    }
    EXPECT_FALSE(happened);
    EXPECT_EQ(whileHeld, 1);
    EXPECT_EQ(::semctl(identifier, 0, GETVAL), 0);
}

TEST(Semaphore, IsOpenedThoughItCannotBeRemembered) {
    const test::SemaphoreKey key;
    CFiSemaphoreLinux semaphore(key.get(), 1, kRescanFlags);
    int identifier = -1;
    {
        const test::AllocationFailure failure(0);
        identifier = semaphore.identifier(host::linuxHost());
    }
    EXPECT_GE(identifier, 0);
    EXPECT_EQ(semaphore.identifier(host::linuxHost()), identifier);
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
