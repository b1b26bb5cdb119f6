// The command with all of its threads and workers at once: it waits for the rescan lock longer than
// its patience, has disks asked side by side, and paints on a terminal what it has in hand. Each
// run prints the same, and says once that it waits. Built with the thread sanitizer (preset
// "threads") it also shows that the threads share nothing that they do not guard.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "bench/memory_host.h"
#include "cli/run.h"
#include "scsitool/host/forwarding_host.h"

// The workers are forked while the painter runs, which the sanitizer would end the process for.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "die_after_fork=0";
}

namespace {

constexpr std::size_t kDisks = 60;
constexpr long kAnswer = 3'000'000;  // nanoseconds
constexpr time_t kLockHeld = 4;      // seconds, which is longer than the patience

/// Disks that take some time for an answer, and a rescan lock that another one holds for a while.
class SlowHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        const timespec pause = {0, kAnswer};
        ::nanosleep(&pause, nullptr);
        return ForwardingHost::sendCommand(descriptor, buffer);
    }
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override {
        if (operations.size() > 1) {  // waits for zero and takes it
            const timespec pause = {kLockHeld, 0};
            ::nanosleep(&pause, nullptr);
        }
        return ForwardingHost::operateSemaphore(identifier, operations);
    }
};

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

Result runOnce() {
    bench::MemoryHost disks(kDisks);
    SlowHost machine(disks);
    cli::Surroundings terminal;
    terminal.errIsTerminal = true;
    terminal.width = 80;
    std::ostringstream out;
    std::ostringstream err;
    Result result;
    result.status =
        cli::run({"--jobs", "4", "--deadline", "600", "devices"}, out, err, terminal, machine);
    result.out = out.str();
    result.err = err.str();
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    const int times = argc == 2 ? std::atoi(argv[1]) : 0;
    if (times < 1) {
        std::fputs("usage: command_threads RUNS\n", stderr);
        return 2;
    }
    std::string first;
    for (int i = 0; i < times; ++i) {
        const Result result = runOnce();
        first = i == 0 ? result.out : first;
        const bool hasPainted = result.err.find("\r\033[K") != std::string::npos;
        const bool hasWaited = result.err.find("waiting for the rescan lock") != std::string::npos;
        if (result.status != 0 || result.out != first || !hasPainted || !hasWaited) {
            std::printf("run %d: exit status %d%s%s%s\n%s\n", i + 1, result.status,
                        result.out == first ? "" : ", another output",
                        hasPainted ? "" : ", nothing painted", hasWaited ? "" : ", nothing said",
                        result.err.c_str());
            return 1;
        }
    }
    std::printf("%d runs of the command with its workers, painter and waiting: all alike\n", times);
    return 0;
}
