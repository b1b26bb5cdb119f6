#include "recording/replay/semaphores.h"

#include <sys/ipc.h>

#include <algorithm>
#include <cerrno>

namespace recording {
namespace {

// Far from what a kernel hands out soon after boot, so that a mix-up of hosts shows at once.
constexpr int kFirstIdentifier = 0x40000000;
constexpr int kLargestValue = 32767;          // SEMVMX
constexpr int kLargestCount = 32000;          // SEMMSL
constexpr std::size_t kMostOperations = 500;  // SEMOPM

struct Attempt {
    int result = 0;  // 0, or the negated errno that ends the call
    bool mustWait = false;
    int value = 0;
};

// All operations or none: what the value would become, or why it cannot.
Attempt attempt(int value, const std::vector<host::SemaphoreOperation>& operations) {
    for (const host::SemaphoreOperation& operation : operations) {
        const int next = value + operation.operation;
        const bool blocked = operation.operation == 0 ? value != 0 : next < 0;
        if (blocked) {
            return operation.noWait ? Attempt{-EAGAIN, false, 0} : Attempt{0, true, 0};
        }
        if (next > kLargestValue) {
            return {-ERANGE, false, 0};
        }
        value = next;
    }
    return {0, false, value};
}

}  // namespace

Semaphores::Semaphores() : m_nextIdentifier(kFirstIdentifier) {}

int Semaphores::open(int key, int count, int flags) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = key == IPC_PRIVATE ? m_identifiers.end() : m_identifiers.find(key);
    if (found == m_identifiers.end()) {
        if (key != IPC_PRIVATE && (flags & IPC_CREAT) == 0) {
            return -ENOENT;
        }
        return create(key, count);
    }
    if ((flags & IPC_CREAT) != 0 && (flags & IPC_EXCL) != 0) {
        return -EEXIST;
    }
    if (count < 0 || count > m_sets[found->second].count) {
        return -EINVAL;
    }
    return found->second;
}

int Semaphores::create(int key, int count) {
    if (count <= 0 || count > kLargestCount) {
        return -EINVAL;
    }
    const int identifier = m_nextIdentifier++;
    m_sets[identifier].count = count;
    if (key != IPC_PRIVATE) {
        m_identifiers[key] = identifier;
    }
    return identifier;
}

bool Semaphores::isHeldByOthers(const Set& set) {
    return std::any_of(set.held.begin(), set.held.end(), [](const auto& holder) {
        return holder.first != std::this_thread::get_id() && holder.second != 0;
    });
}

int Semaphores::waiting() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_waiting;
}

int Semaphores::operate(int identifier, const std::vector<host::SemaphoreOperation>& operations) {
    if (operations.empty()) {
        return -EINVAL;
    }
    if (operations.size() > kMostOperations) {
        return -E2BIG;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto found = m_sets.find(identifier);
    if (found == m_sets.end()) {
        return -EINVAL;
    }
    Set& set = found->second;  // sets are never removed
    for (;;) {
        const Attempt attempted = attempt(set.value, operations);
        if (attempted.result < 0) {
            return attempted.result;
        }
        if (!attempted.mustWait) {
            set.held[std::this_thread::get_id()] += attempted.value - set.value;
            set.value = attempted.value;
            m_changed.notify_all();
            return 0;
        }
        if (!isHeldByOthers(set)) {
            return -EDEADLK;
        }
        ++m_waiting;
        m_changed.wait(lock);
        --m_waiting;
    }
}

}  // namespace recording
