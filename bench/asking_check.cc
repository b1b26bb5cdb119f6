// Holds what asking disks side by side brings, and what it costs where it brings nothing, against
// the limits. Both ways are measured in turns, so that whatever else the machine does meanwhile
// meets both.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "bench/memory_host.h"
#include "cli/run.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostTimes = 4;  // the rounds of a case

/// Disks that take some time for each answer.
class SlowHost : public host::ForwardingHost {
  public:
    SlowHost(host::Host& inner, long microseconds)
        : ForwardingHost(inner), m_pause{0, microseconds * 1000} {}

    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        if (m_pause.tv_nsec != 0) {
            ::nanosleep(&m_pause, nullptr);
        }
        return ForwardingHost::sendCommand(descriptor, buffer);
    }

  private:
    const timespec m_pause;
};

/// Disks that answer as fast as a kernel can: whatever is asked of one enters it once, and comes
/// back with the least that a device can do.
class KernelHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int openDevice(const std::string& path, host::OpenMode mode) override {
        const int node = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        ::close(node);
        return ForwardingHost::openDevice(path, mode);
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        enter();
        return ForwardingHost::sendCommand(descriptor, buffer);
    }
    int addressWords(int descriptor, host::AddressWords& words) override {
        enter();
        return ForwardingHost::addressWords(descriptor, words);
    }

  private:
    static void enter() {
        termios settings;
        ::ioctl(STDIN_FILENO, TCGETS, &settings);
    }
};

struct Case {
    const char* what;
    std::size_t disks;
    bool hasKernel;
    long microseconds;  // an answer
    int rounds;
    double leastGain;  // how many times as fast
};

double seconds(host::Host& machine, std::vector<std::string> options) {
    options.emplace_back("devices");
    std::ostringstream out;
    std::ostringstream err;
    const Clock::time_point begun = Clock::now();
    if (cli::run(options, out, err, {}, machine) != 0 || !err.str().empty()) {
        std::cerr << err.str() << "the command failed\n";
        std::exit(1);
    }
    return std::chrono::duration<double>(Clock::now() - begun).count();
}

// Each run in a process of its own, as a command is one: the memory that one run leaves behind is
// neither a gift to the next nor something that each page of is copied for because workers share
// it.
double secondsApart(host::Host& machine, const std::vector<std::string>& options) {
    int ends[2];
    if (::pipe(ends) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const double result = seconds(machine, options);
        ::_exit(::write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    }
    ::close(ends[1]);
    double result = 0;
    const bool isRead = ::read(ends[0], &result, sizeof result) == sizeof result;
    ::close(ends[0]);
    if (child < 0 || !isRead || ::waitpid(child, nullptr, 0) != child) {
        std::fprintf(stderr, "no run came to its end\n");
        std::exit(1);
    }
    return result;
}

// What else the machine does only makes a run longer.
double shortest(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

bool holds(const Case& one) {
    bench::MemoryHost memory(one.disks);
    KernelHost kernel(memory);
    SlowHost machine(one.hasKernel ? static_cast<host::Host&>(kernel) : memory, one.microseconds);
    std::vector<double> alone;
    std::vector<double> together;
    const auto gain = [&] { return shortest(alone) / shortest(together); };
    // A busy machine needs more rounds for one that nothing disturbed.
    for (int round = 0;
         round < one.rounds || (round < kMostTimes * one.rounds && gain() < one.leastGain);
         ++round) {
        alone.push_back(secondsApart(machine, {"--jobs", "1", "--deadline", "0"}));
        together.push_back(secondsApart(machine, {}));
    }
    std::printf(
        "%6zu disks that %s: %.3f s one after the other, %.3f s side by side, %.2f times"
        " as fast (at least %.2f)\n",
        one.disks, one.what, shortest(alone), shortest(together), gain(), one.leastGain);
    return gain() >= one.leastGain;
}

}  // namespace

int main() {
    constexpr Case kCases[] = {{"take 1 ms an answer", 1000, false, 1000, 3, 12.0},
                               {"answer as fast as a kernel can", 10000, true, 0, 9, 0.9},
                               {"answer in no time", 10000, false, 0, 9, 0.7}};
    int status = 0;
    for (const Case& one : kCases) {
        if (!holds(one)) {
            std::fprintf(stderr, "over the limit: disks that %s\n", one.what);
            status = 1;
        }
    }
    return status;
}
