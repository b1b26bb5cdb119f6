// What a running command costs a large caller: a process of the given size rewrites all of its
// memory, first alone and then while a command runs, and prints the time and the minor faults of a
// pass, and how much its resident memory and the system's free memory changed.
#include <sys/mman.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "scsitool/host/linux_host.h"

namespace {

constexpr std::size_t kPage = 4096;
constexpr int kPasses = 4;

struct Cost {
    double milliseconds = 0;
    long faults = 0;
};

long minorFaults() {
    rusage usage = {};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt;
}

Cost rewrite(volatile char* memory, std::size_t size) {
    Cost cost;
    const long faults = minorFaults();
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t place = 0; place < size; place += kPage) {
        memory[place] = static_cast<char>(memory[place] + 1);
    }
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    cost.milliseconds = time.count();
    cost.faults = minorFaults() - faults;
    return cost;
}

long availableMegabytes() {
    std::ifstream file("/proc/meminfo");
    std::string name;
    long kilobytes = 0;
    while (file >> name && name != "MemAvailable:") {
        file.ignore(1000, '\n');
    }
    return file >> kilobytes ? kilobytes / 1024 : -1;
}

void passes(const char* when, volatile char* memory, std::size_t size) {
    for (int pass = 0; pass < kPasses; ++pass) {
        const Cost cost = rewrite(memory, size);
        std::printf("%-16s pass %d: %8.2f ms %8ld minor faults, %6ld MiB available\n", when, pass,
                    cost.milliseconds, cost.faults, availableMegabytes());
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t size = (argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0) << 20;
    if (size == 0) {
        std::fputs("usage: command_cost MEBIBYTES\n", stderr);
        return 2;
    }
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("mmap");
        return 1;
    }
    madvise(memory, size, MADV_NOHUGEPAGE);
    auto* const bytes = static_cast<volatile char*>(memory);
    rewrite(bytes, size);
    passes("alone", bytes, size);
    host::CommandResult result;
    std::thread command([&result] { result = host::linuxHost().runCommand("/bin/sleep 3", 60); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    passes("command runs", bytes, size);
    command.join();
    return result.waitStatus == 0 ? 0 : 1;
}
