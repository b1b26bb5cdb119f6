#ifndef SCSITOOL_CLI_HOSTS_LONG_WAIT_H
#define SCSITOOL_CLI_HOSTS_LONG_WAIT_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace cli {

/// Speaks up once when its owner waits for longer than a while.
class LongWait {
  public:
    /// `speak` is called on a thread of its own when the object still stands after the patience;
    /// an object that ends meanwhile waits until it has spoken. It must not throw.
    LongWait(std::chrono::milliseconds patience, std::function<void()> speak);
    ~LongWait();
    LongWait(const LongWait&) = delete;
    LongWait& operator=(const LongWait&) = delete;

  private:
    void wait(std::chrono::milliseconds patience, const std::function<void()>& speak);

    std::mutex m_mutex;
    std::condition_variable m_end;
    bool m_ends = false;
    std::thread m_thread;
};

}  // namespace cli

#endif
