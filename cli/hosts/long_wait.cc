#include "cli/hosts/long_wait.h"

#include <system_error>
#include <utility>

#include "scsitool/host/interruption.h"

namespace cli {

LongWait::LongWait(std::chrono::milliseconds patience, std::function<void()> speak) {
    try {
        const host::SignalsHeldBack heldBack;
        m_thread =
            std::thread([this, patience, speak = std::move(speak)] { wait(patience, speak); });
    } catch (const std::system_error&) {
        return;  // no thread to be had: the wait is a silent one
    }
}

LongWait::~LongWait() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ends = true;
    }
    m_end.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void LongWait::wait(std::chrono::milliseconds patience, const std::function<void()>& speak) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_end.wait_for(lock, patience, [this] { return m_ends; })) {
        lock.unlock();
        speak();
    }
}

}  // namespace cli
