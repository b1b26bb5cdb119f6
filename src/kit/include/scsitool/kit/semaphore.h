#ifndef SCSITOOL_KIT_SEMAPHORE_H
#define SCSITOOL_KIT_SEMAPHORE_H

#include <cstdint>
#include <map>
#include <mutex>

#include "scsitool/host/export.h"

namespace host {
class Host;
}

namespace qzfi_pdk_4_4 {

/// A System V semaphore set that is found by its key. The identifier belongs to the host it was
/// opened on: the set is opened once on each host that the object is used on. The set is never
/// removed. Safe for any number of threads.
class SCSITOOL_EXPORT CFiSemaphoreLinux {
  public:
    /// `key`, `count` and `flags` are those of semget(2); nothing is opened yet.
    CFiSemaphoreLinux(int key, int count, int flags);
    ~CFiSemaphoreLinux();
    CFiSemaphoreLinux(const CFiSemaphoreLinux&) = delete;
    CFiSemaphoreLinux& operator=(const CFiSemaphoreLinux&) = delete;

    /// The identifier on this host, -1 when the set could not be opened there.
    int identifier(host::Host& host);

  private:
    int m_key;
    int m_count;
    int m_flags;
    std::mutex m_mutex;
    std::map<std::uint64_t, int> m_identifiers;
};

/// Holds a semaphore as a lock for its lifetime: waits until its value is zero and adds one, in one
/// atomic operation with SEM_UNDO, and takes the one away at the end. The result is not examined:
/// without a semaphore the work goes on without mutual exclusion.
class SCSITOOL_EXPORT CFiSemaphoreLockFunction {
  public:
    /// Blocks while another holder has the lock. Uses the current host to its end.
    explicit CFiSemaphoreLockFunction(CFiSemaphoreLinux& semaphore);
    ~CFiSemaphoreLockFunction();
    CFiSemaphoreLockFunction(const CFiSemaphoreLockFunction&) = delete;
    CFiSemaphoreLockFunction& operator=(const CFiSemaphoreLockFunction&) = delete;

  private:
    host::Host& m_host;
    int m_identifier;
};

}  // namespace qzfi_pdk_4_4

#endif
