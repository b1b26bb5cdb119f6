#ifndef SCSITOOL_RECORDING_REPLAY_SEMAPHORES_H
#define SCSITOOL_RECORDING_REPLAY_SEMAPHORES_H

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "scsitool/host/host.h"

namespace recording {

/// System V semaphore sets in memory, of which semaphore 0 alone is used, for the threads of this
/// process. A wait blocks as semop(2) does, except that a thread which nobody could ever wake gets
/// EDEADLK. Results are those of `host::Host`.
class Semaphores {
  public:
    Semaphores();
    /// semget(2): the permission bits of `flags` are not looked at.
    int open(int key, int count, int flags);
    /// semop(2).
    int operate(int identifier, const std::vector<host::SemaphoreOperation>& operations);
    /// How many threads wait just now.
    int waiting();

  private:
    struct Set {
        int count = 0;
        int value = 0;
        /// What each thread has added and not yet taken back.
        std::map<std::thread::id, int> held;
    };

    int create(int key, int count);
    static bool isHeldByOthers(const Set& set);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<int, int> m_identifiers;  // key to identifier
    std::map<int, Set> m_sets;         // identifier to set
    int m_nextIdentifier;
    int m_waiting = 0;
};

}  // namespace recording

#endif
