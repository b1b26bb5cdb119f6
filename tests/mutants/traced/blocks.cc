#include "tests/mutants/traced/blocks.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>

// What the linker puts around the program.
extern "C" const char __ehdr_start __attribute__((visibility("hidden")));
extern "C" const char etext;

namespace {

constexpr std::uint32_t kMost = 1U << 20;

struct Noted {
    std::atomic<std::uint32_t> count;
    std::uint32_t offsets[kMost];
    // One for each byte of the program: whether its block stands among the offsets.
    std::atomic<bool> seen[1];
};

Noted* g_noted = nullptr;

std::uintptr_t address(const void* place) {
    return reinterpret_cast<std::uintptr_t>(place);
}

std::uintptr_t programSize() {
    return address(&etext) - address(&__ehdr_start);
}

}  // namespace

namespace traced {

void watch() {
    const std::size_t size = sizeof(Noted) + programSize();
    // A file with a name: a test looks for the shared memory of the code by its having none.
    const int file = memfd_create("traced", MFD_CLOEXEC);
    if (file < 0)
        return;
    if (ftruncate(file, static_cast<off_t>(size)) == 0) {
        // Shared, so that a forked process is seen.
        void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        g_noted = memory == MAP_FAILED ? nullptr : static_cast<Noted*>(memory);
    }
    close(file);
}

std::vector<std::uint32_t> take() {
    if (g_noted == nullptr)
        return {};
    const std::uint32_t count = g_noted->count.exchange(0);
    const std::vector<std::uint32_t> blocks(g_noted->offsets,
                                            g_noted->offsets + (count < kMost ? count : kMost));
    for (const std::uint32_t offset : blocks)
        g_noted->seen[offset] = false;
    return blocks;
}

}  // namespace traced

// Called at the begin of each block of what is compiled with -fsanitize-coverage=trace-pc.
extern "C" void __sanitizer_cov_trace_pc();
extern "C" void __sanitizer_cov_trace_pc() {
    if (g_noted == nullptr)
        return;
    const std::uintptr_t offset = address(__builtin_return_address(0)) - address(&__ehdr_start);
    if (offset >= programSize() || g_noted->seen[offset].exchange(true))
        return;
    const std::uint32_t place = g_noted->count++;
    if (place < kMost)
        g_noted->offsets[place] = static_cast<std::uint32_t>(offset);
}
