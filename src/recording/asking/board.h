#ifndef SCSITOOL_RECORDING_ASKING_BOARD_H
#define SCSITOOL_RECORDING_ASKING_BOARD_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "scsitool/host/worker_process.h"

namespace recording {

/// What a process and its workers have in common: the queue of the items to be worked on, by their
/// numbers, who is on which since when, and what came of each. A worker takes items and puts
/// results there without a word to anybody, so that one that hangs holds up no other and what it
/// did before is not lost. Whoever reads checks everything: a worker may write anything here.
class Board {
  public:
    static constexpr std::size_t kSeats = 4096;  ///< as many workers, dead ones included
    static constexpr std::size_t kLargestResult = std::size_t{1} << 20;

    enum class State : std::uint32_t {
        kOpen,     ///< nothing came of it (yet)
        kDone,     ///< there is a result
        kTooLong,  ///< the result was too long to be put here
    };
    /// What a worker is at.
    struct Sight {
        bool hasItem = false;
        bool hasLeft = false;  ///< it takes no item any more
        std::size_t item = 0;
        std::uint64_t since = 0;  ///< of the item in hand, or of the last one (milliseconds)
    };

    explicit Board(std::size_t items);
    /// False when there was no memory for it: nothing else may be called then.
    bool isThere() const { return m_memory.data() != nullptr; }

    /// For workers. Takes the next item of the queue; false when there is none.
    bool take(std::size_t seat, std::size_t& item);
    /// Takes this item, which is not in the queue any more.
    void takeAgain(std::size_t seat, std::size_t item);
    /// Puts down what has come of the item in hand so far, in place of what was put down before; it
    /// is what is left of a worker that hangs. A text that there is no room for is let go.
    void putDraft(std::size_t item, const std::string& text);
    /// Puts down what came of the item in hand and ends it.
    void put(std::size_t seat, std::size_t item, const std::string& result);

    /// For the other one. A worker is about to sit down.
    void seat(std::size_t seat);
    Sight at(std::size_t seat) const;
    /// How many items of the queue were taken.
    std::size_t taken() const;
    /// How many came to an end.
    std::size_t ended() const;
    State state(std::size_t item) const;
    /// False for a result that is none.
    bool result(std::size_t item, std::string& result) const;
    /// What was put down last of an item before it ended. False for none.
    bool draft(std::size_t item, std::string& text) const;
    /// All of the memory that is shared, for a test of what a worker may write there.
    unsigned char* shared() const { return m_memory.data(); }
    /// Waits until that many items have ended, but not long; may come back early.
    void waitFor(std::size_t ended, unsigned milliseconds);

  private:
    using Word = std::atomic<std::uint32_t>;
    using Long = std::atomic<std::uint64_t>;
    static_assert(Word::is_always_lock_free && Long::is_always_lock_free,
                  "a lock would be one in each process");

    struct Head {
        Word next;   // item of the queue
        Word ended;  // items
        Word wakeAt;
        Long used;  // bytes of results
    };
    struct Slot {
        Word state;
        std::uint32_t length;
        std::uint64_t offset;
        Long draft;  // offset and length in one, for it changes while it is read
    };
    struct Seat {
        Long since;
        Word item;  // its number and kFirst, or one of the others
    };
    static constexpr std::uint32_t kBetween = 0;
    static constexpr std::uint32_t kLeft = 1;
    static constexpr std::uint32_t kFirst = 2;

    void sit(std::size_t seat, std::uint32_t item);
    bool reserve(std::size_t length, std::size_t& offset);
    bool read(std::size_t offset, std::size_t length, std::string& text) const;

    const std::size_t m_items;
    const std::size_t m_room;  // for results, in bytes
    host::SharedMemory m_memory;
    Head* m_head = nullptr;
    Seat* m_seats = nullptr;
    Slot* m_slots = nullptr;
    unsigned char* m_results = nullptr;
};

}  // namespace recording

#endif
