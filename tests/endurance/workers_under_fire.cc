// The command asks disks side by side, some of which never answer, and is killed at a random
// moment. None of its processes is left.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>

#include "bench/memory_host.h"
#include "cli/run.h"
#include "scsitool/host/forwarding_host.h"

namespace {

constexpr std::size_t kDisks = 200;
constexpr int kSilentEvery = 40;
constexpr long kAnswer = 300'000;      // nanoseconds
constexpr unsigned kLongestLife = 80;  // milliseconds
constexpr int kMostPatience = 10'000;  // milliseconds, for what was killed to end
constexpr int kLeastWorkers = 2;       // to be seen in all, a run

/// Disks that take some time for an answer, and some that never give one.
class SickHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        if (descriptor % kSilentEvery == 0) {
            for (;;) {
                ::pause();
            }
        }
        const timespec pause = {0, kAnswer};
        ::nanosleep(&pause, nullptr);
        return ForwardingHost::sendCommand(descriptor, buffer);
    }
};

pid_t startCommand() {
    const pid_t child = ::fork();
    if (child == 0) {
        bench::MemoryHost disks(kDisks);
        SickHost machine(disks);
        std::ostringstream out;
        std::ostringstream err;
        ::_exit(cli::run({"--deadline", "1", "devices"}, out, err, {}, machine) == 3 ? 0 : 1);
    }
    if (child < 0) {
        std::perror("fork");
        std::exit(1);
    }
    return child;
}

// How many processes the command left behind came to this one and ended; -1 when one does not end.
int reapLeftBehind() {
    const timespec once = {0, 1'000'000};
    int reaped = 0;
    for (int waited = 0; waited < kMostPatience;) {
        const pid_t one = ::waitpid(-1, nullptr, WNOHANG);
        if (one < 0 && errno == ECHILD) {
            return reaped;
        }
        if (one > 0) {
            ++reaped;
        } else {
            ::nanosleep(&once, nullptr);
            ++waited;
        }
    }
    return -1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: workers_under_fire KILLS [SEED]\n", stderr);
        return 2;
    }
    const int kills = std::atoi(argv[1]);
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2]))
                                   : static_cast<unsigned>(::time(nullptr));
    std::minstd_rand random(seed);
    // Whatever loses its parent becomes a child of this process.
    if (::prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        std::perror("prctl");
        return 1;
    }
    const int signals[] = {SIGKILL, SIGTERM, SIGINT, SIGHUP};
    long left = 0;
    for (int i = 0; i < kills; ++i) {
        const pid_t command = startCommand();
        const timespec pause = {0, static_cast<long>(random() % kLongestLife) * 1'000'000};
        ::nanosleep(&pause, nullptr);
        ::kill(command, signals[random() % std::size(signals)]);
        ::waitpid(command, nullptr, 0);
        const int reaped = reapLeftBehind();
        if (reaped < 0) {
            std::printf("a process is left after %d kills (seed %u)\n", i + 1, seed);
            return 1;
        }
        left += reaped;
    }
    std::printf("%d kills, %ld workers ended with the command (seed %u)\n", kills, left, seed);
    return left >= kLeastWorkers * kills ? 0 : 1;
}
