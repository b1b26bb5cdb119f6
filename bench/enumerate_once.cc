// Enumerates N disks once and prints the bytes that the enumeration keeps a device. The instruction
// count of the enumeration is callgrind's, see bench/check.sh.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>

#include "bench/memory_host.h"
#include "scsitool/udid/device_udid_factory.h"

int main(int argc, char** argv) {
    const std::size_t disks = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0;
    if (disks == 0) {
        std::fputs("usage: enumerate_once NUMBER-OF-DISKS\n", stderr);
        return 2;
    }
    bench::MemoryHost memory(disks);
    const host::Scope scope(memory);
    CUDIDFactory factory;
    const std::size_t before = mallinfo2().uordblks;
    const std::size_t found = factory.enumerateDeviceMap(false, false, false, "", "").size();
    const std::size_t kept = mallinfo2().uordblks - before;
    std::printf("%zu %zu\n", found, kept / disks);
    return found == disks ? 0 : 1;
}
