#include "cli/base/stopwatch.h"

#include <chrono>

namespace cli {
namespace {

std::int64_t now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(time).count();
}

}  // namespace

Stopwatch::Stopwatch() : m_begun(now()) {}

unsigned Stopwatch::passed() const {
    return static_cast<unsigned>(now() - m_begun);
}

}  // namespace cli
