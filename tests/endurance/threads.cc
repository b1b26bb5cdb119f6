// Factories on several threads enumerate at once, each on a host of its own, and write to one trace
// log: each has the map and the lines that it has alone. Built with the thread sanitizer (preset
// "threads") it also shows that they share nothing else.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/memory_host.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;

constexpr std::size_t kThreads = 4;
constexpr std::size_t kDisks = 20;
constexpr int kMostDetail = 9;

// Not atomic on purpose: the log lets in one thread at a time.
struct CountingSink : qzfi_pdk_4_4::CFiTraceSink {
    void write(int /*level*/, const std::string& /*message*/) override { ++lines; }
    std::size_t lines = 0;
};

using Identities = std::map<std::string, std::string>;

// What a thread finds; the same each time, or nothing.
Identities enumerate(const CFiSmartPtr<CFiTraceLog>& log, int times) {
    bench::MemoryHost machine(kDisks);
    const host::Scope scope(machine);
    CFiSmartPtr<CFiTraceLog> own = log;
    Identities first;
    for (int i = 0; i < times; ++i) {
        CUDIDFactory factory;
        factory.registerTraceLog(own);
        Identities found;
        for (const auto& [name, device] : factory.enumerateDeviceMap(true, false, false, "", "")) {
            found[name] = device.uid;
        }
        if (i > 0 && found != first) {
            return {};
        }
        first = found;
    }
    return first;
}

CFiSmartPtr<CFiTraceLog> logInto(const std::shared_ptr<CountingSink>& sink) {
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(sink, kMostDetail);
    return log;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: threads ENUMERATIONS\n", stderr);
        return 2;
    }
    const int times = std::atoi(argv[1]);
    const auto alone = std::make_shared<CountingSink>();
    const Identities expected = enumerate(logInto(alone), times);

    const auto together = std::make_shared<CountingSink>();
    const CFiSmartPtr<CFiTraceLog> log = logInto(together);
    std::vector<Identities> found(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (Identities& one : found) {
        threads.emplace_back([&one, &log, times] { one = enumerate(log, times); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::printf("%d enumerations by each of %zu threads: %zu lines of trace, %zu by one alone\n",
                times, kThreads, together->lines, alone->lines);
    const bool allAlike = std::all_of(
        found.begin(), found.end(),
        [&expected](const Identities& one) { return one == expected && one.size() == kDisks; });
    return allAlike && together->lines == kThreads * alone->lines ? 0 : 1;
}
