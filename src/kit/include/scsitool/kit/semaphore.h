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

    /// The identifier on this host, -1 when the set cannot be opened there: the next call tries
    /// again. `removed` is an identifier that semop(2) knows no more, because somebody removed the
    /// set: it is forgotten and the set opened anew, unless another thread has done so already.
    int identifier(host::Host& host, int removed = -1);

  private:
    int m_key;
    int m_count;
    int m_flags;
    std::mutex m_mutex;
    std::map<std::uint32_t, int> m_identifiers;  // by the number of the host
};

/// Holds a semaphore as a lock for its lifetime: waits until its value is zero and adds one, in one
/// atomic operation with SEM_UNDO, and takes the one away at the end. A set that was removed is
/// opened anew, once. Whatever fails, the work goes on, without mutual exclusion, and what was not
/// taken is not given back: it may be another process's. Neither end throws or allocates memory
/// but for what the host does.
class SCSITOOL_EXPORT CFiSemaphoreLockFunction {
  public:
    /// Blocks while another holder has the lock. Uses the current host to its end.
    explicit CFiSemaphoreLockFunction(CFiSemaphoreLinux& semaphore) noexcept;
    ~CFiSemaphoreLockFunction();
    CFiSemaphoreLockFunction(const CFiSemaphoreLockFunction&) = delete;
    CFiSemaphoreLockFunction& operator=(const CFiSemaphoreLockFunction&) = delete;

  private:
    bool take(CFiSemaphoreLinux& semaphore);

    host::Host& m_host;
    int m_identifier;
    bool m_taken;
};

}  // namespace qzfi_pdk_4_4

#endif
