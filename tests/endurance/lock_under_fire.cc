// Processes with two threads each enumerate in a loop, and one after the other is killed at a
// random moment. The rescan lock is held by one at a time, nobody waits for the dead, and the
// semaphore ends at zero.
#include <sched.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <random>
#include <thread>

#include "bench/memory_host.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/linux_host.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

constexpr int kSkipped = 77;
constexpr key_t kRescanKey = 1001;
constexpr std::size_t kDisks = 20;
constexpr std::size_t kProcesses = 4;
constexpr unsigned kLongestLife = 4000;     // microseconds
constexpr unsigned kSecondsToAnEnd = 60;    // of all of it, after the last one was killed
constexpr std::size_t kMostIds = 1U << 22;  // PID_MAX_LIMIT

/// What all processes see.
struct Field {
    std::atomic<std::uint64_t> holder;  // process and thread; 0 for nobody
    std::atomic<std::uint64_t> held;    // how often
    std::atomic<std::uint64_t> clashes;
    std::atomic<bool> isOver;
    std::array<std::atomic<bool>, kMostIds> isKilled;  // by process
};

Field* sharedField() {
    void* const memory = ::mmap(nullptr, sizeof(Field), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("mmap");
        std::exit(1);
    }
    return static_cast<Field*>(memory);  // all zeros, which is how it begins
}

/// Disks in memory, and the machine's own semaphore; notes who is between its two operations.
class Contender : public host::ForwardingHost {
  public:
    Contender(host::Host& disks, Field& field, unsigned thread)
        : ForwardingHost(disks),
          m_field(field),
          m_self(static_cast<std::uint64_t>(::getpid()) << 1 | thread) {}

    int openSemaphore(int key, int count, int flags) override {
        return m_machine.openSemaphore(key, count, flags);
    }

    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override {
        const bool takes = operations.size() == 2;
        if (!takes) {
            leave();
        }
        const int result = m_machine.operateSemaphore(identifier, operations);
        if (takes) {
            enter();
        }
        return result;
    }

  private:
    void enter() {
        const std::uint64_t former = m_field.holder.exchange(m_self);
        if (former != 0 && !m_field.isKilled[former >> 1]) {
            ++m_field.clashes;
        }
        ++m_field.held;
    }

    void leave() {
        std::uint64_t expected = m_self;
        if (!m_field.holder.compare_exchange_strong(expected, 0)) {
            ++m_field.clashes;
        }
    }

    host::LinuxHost m_machine;
    Field& m_field;
    const std::uint64_t m_self;
};

void enumerateInALoop(Field& field, unsigned thread) {
    bench::MemoryHost disks(kDisks);
    Contender contender(disks, field, thread);
    const host::Scope scope(contender);
    while (!field.isOver) {
        if (CUDIDFactory().enumerateDeviceMap(true, false, false, "", "").size() != kDisks) {
            ++field.clashes;
        }
    }
}

pid_t start(Field& field) {
    const pid_t child = ::fork();
    if (child == 0) {
        field.isKilled[static_cast<std::size_t>(::getpid())] = false;
        std::thread other([&field] { enumerateInALoop(field, 1); });
        enumerateInALoop(field, 0);
        other.join();
        ::_exit(0);
    }
    if (child < 0) {
        std::perror("fork");
        std::exit(1);
    }
    return child;
}

void killOne(Field& field, pid_t process) {
    field.isKilled[static_cast<std::size_t>(process)] = true;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
}

void fire(Field& field, std::array<pid_t, kProcesses>& processes, unsigned kills, unsigned seed) {
    std::minstd_rand random(seed);
    for (unsigned i = 0; i < kills; ++i) {
        const timespec pause = {0, static_cast<long>(random() % kLongestLife) * 1000};
        ::nanosleep(&pause, nullptr);
        pid_t& victim = processes[random() % processes.size()];
        killOne(field, victim);
        victim = start(field);
    }
}

// False when the lock is not free after all have come to their end.
bool isFree() {
    const int identifier = ::semget(kRescanKey, 1, 0);
    return identifier >= 0 && ::semctl(identifier, 0, GETVAL) == 0 &&
           ::semctl(identifier, 0, GETZCNT) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: lock_under_fire KILLS [SEED]\n", stderr);
        return 2;
    }
    // The lock of this machine is no toy.
    if (::unshare(CLONE_NEWIPC) != 0) {
        std::puts("skipped: it takes root to have a lock of its own");
        return kSkipped;
    }
    const auto kills = static_cast<unsigned>(std::atoi(argv[1]));
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2]))
                                   : static_cast<unsigned>(::time(nullptr));
    Field& field = *sharedField();
    std::array<pid_t, kProcesses> processes = {};
    for (pid_t& process : processes) {
        process = start(field);
    }
    fire(field, processes, kills, seed);

    // Whoever waits for the dead does not come to an end, and SIGALRM is the end of this.
    const std::uint64_t heldThen = field.held;
    ::alarm(kSecondsToAnEnd);
    while (field.held < heldThen + 2 * kProcesses) {
        ::sched_yield();
    }
    field.isOver = true;
    bool allEnded = true;
    for (const pid_t process : processes) {
        int status = 0;
        allEnded = ::waitpid(process, &status, 0) == process && status == 0 && allEnded;
    }
    const std::uint64_t clashes = field.clashes;
    std::printf("%u kills, held %llu times, %llu clashes (seed %u)\n", kills,
                static_cast<unsigned long long>(field.held),
                static_cast<unsigned long long>(clashes), seed);
    if (!allEnded || !isFree()) {
        std::puts(allEnded ? "the lock is not free at the end" : "a process failed");
    }
    return clashes == 0 && allEnded && isFree() ? 0 : 1;
}
