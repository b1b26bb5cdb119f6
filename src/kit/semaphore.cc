#include "scsitool/kit/semaphore.h"

#include <cerrno>
#include <iterator>
#include <new>

#include "scsitool/host/host.h"

namespace qzfi_pdk_4_4 {
namespace {

// Made when the library is loaded: a lock is taken and given back without an allocation, which
// could fail where nothing may.
const std::vector<host::SemaphoreOperation> kTake = {{0, true, false}, {1, true, true}};
const std::vector<host::SemaphoreOperation> kGive = {{-1, true, true}};

constexpr int kNoSet = -1;

// What semop(2) says of a set that is gone: before the call, or while it waited.
bool saysRemoved(int result) {
    return result == -EINVAL || result == -EIDRM;
}

// A host that only looks on may be a new one for every enumeration.
void forgetHostsThatAreGone(std::map<std::uint32_t, int>& identifiers) {
    for (auto known = identifiers.begin(); known != identifiers.end();) {
        known = host::hostOf(known->first) == nullptr ? identifiers.erase(known) : std::next(known);
    }
}

}  // namespace

CFiSemaphoreLinux::CFiSemaphoreLinux(int key, int count, int flags)
    : m_key(key), m_count(count), m_flags(flags) {}

CFiSemaphoreLinux::~CFiSemaphoreLinux() = default;

int CFiSemaphoreLinux::identifier(host::Host& host, int removed) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto known = m_identifiers.find(host.instance());
    if (known != m_identifiers.end()) {
        if (known->second != removed) {
            return known->second;
        }
        m_identifiers.erase(known);
    }
    const int opened = host.openSemaphore(m_key, m_count, m_flags);
    if (opened < 0) {
        return kNoSet;
    }
    forgetHostsThatAreGone(m_identifiers);
    try {
        m_identifiers.emplace(host.instance(), opened);
    } catch (const std::bad_alloc&) {
        // It is good all the same; the next call asks for it again.
        return opened;
    }
    return opened;
}

CFiSemaphoreLockFunction::CFiSemaphoreLockFunction(CFiSemaphoreLinux& semaphore) noexcept
    : m_host(host::current()), m_identifier(kNoSet), m_taken(false) {
    try {
        m_taken = take(semaphore);
    } catch (...) {
        // A host that has no memory left to take the lock with.
        m_taken = false;
    }
}

bool CFiSemaphoreLockFunction::take(CFiSemaphoreLinux& semaphore) {
    m_identifier = semaphore.identifier(m_host);
    int result = m_host.operateSemaphore(m_identifier, kTake);
    if (saysRemoved(result) && m_identifier != kNoSet) {
        m_identifier = semaphore.identifier(m_host, m_identifier);
        result = m_host.operateSemaphore(m_identifier, kTake);
    }
    return result >= 0;
}

CFiSemaphoreLockFunction::~CFiSemaphoreLockFunction() {
    if (!m_taken) {
        return;
    }
    try {
        m_host.operateSemaphore(m_identifier, kGive);
    } catch (...) {
        // SEM_UNDO gives it back when the process ends.
        return;
    }
}

}  // namespace qzfi_pdk_4_4
