#include "cli/base/lane.h"

#include <malloc.h>

#include <cstring>
#include <utility>

#include "scsitool/host/interruption.h"

namespace cli {
namespace {

constexpr unsigned kPause = 10;  // milliseconds; who waits is woken
constexpr unsigned kMostPausesAtTheEnd = 100;

// One item takes about what the former took: memory that goes back to the kernel in between comes
// back page by page, each of them cleared.
void keepMemory() {
#ifdef __GLIBC__
    constexpr int kItems = 32 << 20;  // bytes, the most that the heap takes
    constexpr int kAll = 1 << 30;
    ::mallopt(M_MMAP_THRESHOLD, kItems);
    ::mallopt(M_TRIM_THRESHOLD, kAll);
#endif
}

}  // namespace

Lane::Lane(std::vector<std::size_t> items, Work work, std::size_t longest)
    : m_items(std::move(items)),
      m_work(std::move(work)),
      m_longest(longest),
      m_memory(sizeof(Head) + longest) {
    if (m_memory.data() != nullptr) {
        m_process.start([this] { this->work(); });
    }
}

// A process that was told to end does so soon, and with it what it has cost is known.
Lane::~Lane() {
    m_process.kill();
    for (unsigned pauses = 0; !m_process.hasEnded() && pauses < kMostPausesAtTheEnd; ++pauses) {
        const auto seen = static_cast<std::uint32_t>(state());
        host::waitForChange(head().state, seen, 1);
    }
}

void Lane::tell(State state) {
    head().state.store(static_cast<std::uint32_t>(state));
    host::wakeWaiting(head().state);
}

void Lane::work() {
    keepMemory();
    for (const std::size_t item : m_items) {
        std::optional<std::string> text;
        try {
            text = m_work(item);
        } catch (...) {
            text.reset();  // who takes it does it itself and hears why
        }
        handOver(text);
    }
}

void Lane::handOver(const std::optional<std::string>& text) {
    for (State now = state(); now != State::kFree; now = state()) {
        host::waitForChange(head().state, static_cast<std::uint32_t>(now), kPause);
    }
    if (!text || text->size() > m_longest) {
        tell(State::kUndone);
        return;
    }
    head().length = text->size();
    std::memcpy(room(), text->data(), text->size());
    tell(State::kDone);
}

std::optional<std::string> Lane::take() {
    if (m_memory.data() == nullptr) {
        return std::nullopt;
    }
    while (state() == State::kFree) {
        // What it handed over last is there before it ends.
        const bool isOver = m_process.hasEnded() || host::interruption() != 0;
        if (isOver && state() == State::kFree) {
            return std::nullopt;
        }
        host::waitForChange(head().state, static_cast<std::uint32_t>(State::kFree), kPause);
    }
    std::optional<std::string> text;
    const std::uint64_t length = head().length;
    if (state() == State::kDone && length <= m_longest) {
        text.emplace(reinterpret_cast<const char*>(room()), length);
    }
    tell(State::kFree);
    return text;
}

}  // namespace cli
