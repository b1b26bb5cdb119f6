#include "scsitool/kit/semaphore.h"

#include "scsitool/host/host.h"

namespace qzfi_pdk_4_4 {

CFiSemaphoreLinux::CFiSemaphoreLinux(int key, int count, int flags)
    : m_key(key), m_count(count), m_flags(flags) {}

CFiSemaphoreLinux::~CFiSemaphoreLinux() = default;

int CFiSemaphoreLinux::identifier(host::Host& host) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto known = m_identifiers.find(host.instance());
    if (known != m_identifiers.end()) {
        return known->second;
    }
    const int opened = host.openSemaphore(m_key, m_count, m_flags);
    const int identifier = opened < 0 ? -1 : opened;
    m_identifiers.emplace(host.instance(), identifier);
    return identifier;
}

CFiSemaphoreLockFunction::CFiSemaphoreLockFunction(CFiSemaphoreLinux& semaphore)
    : m_host(host::current()), m_identifier(semaphore.identifier(m_host)) {
    m_host.operateSemaphore(m_identifier, {{0, true, false}, {1, true, true}});
}

CFiSemaphoreLockFunction::~CFiSemaphoreLockFunction() {
    m_host.operateSemaphore(m_identifier, {{-1, true, true}});
}

}  // namespace qzfi_pdk_4_4
