// Enumerates a thousand devices over and over in one process: memory and descriptors stay where
// they are.
#include <dirent.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>

#include "bench/memory_host.h"
#include "scsitool/host/host.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

constexpr std::size_t kDisks = 1000;
constexpr int kWarmUp = 20;
constexpr std::size_t kMostGrowth = 16384;  // bytes in use, in all

std::size_t descriptors() {
    std::size_t count = 0;
    DIR* const folder = ::opendir("/proc/self/fd");
    while (folder != nullptr && ::readdir(folder) != nullptr) {
        ++count;
    }
    ::closedir(folder);
    return count;
}

void enumerate(CUDIDFactory& factory, int times) {
    for (int i = 0; i < times; ++i) {
        if (factory.enumerateDeviceMap(false, false, false, "", "").size() != kDisks) {
            std::puts("an enumeration lacks a device");
            std::exit(1);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: long_run ENUMERATIONS\n", stderr);
        return 2;
    }
    bench::MemoryHost machine(kDisks);
    const host::Scope scope(machine);
    CUDIDFactory factory;
    enumerate(factory, kWarmUp);
    const std::size_t bytesThen = ::mallinfo2().uordblks;
    const std::size_t openThen = descriptors();
    enumerate(factory, std::atoi(argv[1]));
    const std::size_t bytes = ::mallinfo2().uordblks;
    const std::size_t open = descriptors();
    std::printf(
        "%s enumerations of %zu devices: %zu bytes in use before and %zu after, %zu and %zu"
        " descriptors\n",
        argv[1], kDisks, bytesThen, bytes, openThen, open);
    return bytes <= bytesThen + kMostGrowth && open == openThen ? 0 : 1;
}
