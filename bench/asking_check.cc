// Holds what asking disks side by side brings, and what it costs where it brings nothing, against
// the limits. Both ways are measured in turns, so that whatever else the machine does meanwhile
// meets both.
#include <time.h>

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

struct Case {
    const char* what;
    std::size_t disks;
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

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool holds(const Case& one) {
    bench::MemoryHost memory(one.disks);
    SlowHost machine(memory, one.microseconds);
    std::vector<double> alone;
    std::vector<double> together;
    for (int round = 0; round < one.rounds; ++round) {
        alone.push_back(seconds(machine, {"--jobs", "1", "--deadline", "0"}));
        together.push_back(seconds(machine, {}));
    }
    const double gain = median(alone) / median(together);
    std::printf(
        "%6zu disks that %s: %7.3f s one after the other, %7.3f s side by side, %.2f times"
        " as fast (at least %.2f)\n",
        one.disks, one.what, median(alone), median(together), gain, one.leastGain);
    return gain >= one.leastGain;
}

}  // namespace

int main() {
    constexpr Case kCases[] = {{"take 1 ms an answer", 1000, 1000, 3, 12.0},
                               {"answer at once", 10000, 0, 9, 0.33}};
    int status = 0;
    for (const Case& one : kCases) {
        if (!holds(one)) {
            std::fprintf(stderr, "over the limit: disks that %s\n", one.what);
            status = 1;
        }
    }
    return status;
}
