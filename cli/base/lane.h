#ifndef SCSITOOL_CLI_BASE_LANE_H
#define SCSITOOL_CLI_BASE_LANE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "scsitool/host/worker_process.h"

namespace cli {

/// A process forked from this one that works items off, one behind the other, while this one does
/// something else. What came of an item waits until it is taken, and the process with it before it
/// hands over the next, so that never more than that is in memory. For one thread.
class Lane {
  public:
    /// Gives the text that is handed over for an item. It runs in the other process; what it throws
    /// leaves the item undone.
    using Work = std::function<std::string(std::size_t item)>;

    /// The longest text that is handed over; the memory costs what is written to it.
    static constexpr std::size_t kLongest = std::size_t{64} << 20;

    /// Begins at once.
    Lane(std::vector<std::size_t> items, Work work, std::size_t longest = kLongest);
    /// Ends the process.
    ~Lane();
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;

    /// Waits for the next of the items, in their order. None for one that was not done: no process
    /// could be had or it has ended, `work` threw, the text was too long, or a signal asks this
    /// process to end.
    std::optional<std::string> take();

  private:
    enum class State : std::uint32_t {
        kFree,   // nothing is there yet, or it was taken
        kDone,   // the text is there
        kUndone  // there is none
    };
    struct Head {
        std::atomic<std::uint32_t> state;
        std::uint64_t length;
    };
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free,
                  "a lock would be one in each process");

    Head& head() const { return *reinterpret_cast<Head*>(m_memory.data()); }
    unsigned char* room() const { return m_memory.data() + sizeof(Head); }
    State state() const { return static_cast<State>(head().state.load()); }
    void tell(State state);

    void work();
    void handOver(const std::optional<std::string>& text);

    const std::vector<std::size_t> m_items;
    const Work m_work;
    const std::size_t m_longest;
    host::SharedMemory m_memory;  // a head, and the text behind it
    host::WorkerProcess m_process;
};

}  // namespace cli

#endif
