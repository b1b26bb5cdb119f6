#include "cli/base/memory_watch.h"

#include <atomic>

namespace cli {
namespace {

std::atomic<bool> hasFailed{false};

// What the allocation does without a handler as well.
[[noreturn]] void giveUp() {
    hasFailed = true;
    throw std::bad_alloc();
}

}  // namespace

MemoryWatch::MemoryWatch() : m_former(std::set_new_handler(giveUp)) {
    hasFailed = false;
}

MemoryWatch::~MemoryWatch() {
    std::set_new_handler(m_former);
}

bool MemoryWatch::hasRunOut() const {
    return hasFailed;
}

}  // namespace cli
