#ifndef SCSITOOL_TESTS_SEMAPHORE_KEY_H
#define SCSITOOL_TESTS_SEMAPHORE_KEY_H

#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

namespace test {

/// A key that no other process uses; the set goes away with the test.
class SemaphoreKey {
  public:
    SemaphoreKey() : m_key(0x5C000000 | (::getpid() & 0x00FFFFFF)) { remove(); }
    ~SemaphoreKey() { remove(); }
    SemaphoreKey(const SemaphoreKey&) = delete;
    SemaphoreKey& operator=(const SemaphoreKey&) = delete;
    int get() const { return m_key; }

  private:
    void remove() const {
        const int identifier = ::semget(m_key, 1, 0);
        if (identifier >= 0) {
            ::semctl(identifier, 0, IPC_RMID);
        }
    }
    int m_key;
};

}  // namespace test

#endif
