#include "tools/kept.h"

#include <atomic>

namespace tools {
namespace {

struct Kept {
    Kept* next;
    const void* object;
};

// Never freed and without a destructor: an object may be kept while the process is ending.
std::atomic<Kept*> newest{nullptr};

}  // namespace

void keepReachable(const void* object) {
    Kept* const entry = new Kept{newest.load(std::memory_order_relaxed), object};
    while (!newest.compare_exchange_weak(entry->next, entry, std::memory_order_release,
                                         std::memory_order_relaxed)) {
    }
}

}  // namespace tools
