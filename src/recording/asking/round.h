#ifndef SCSITOOL_RECORDING_ASKING_ROUND_H
#define SCSITOOL_RECORDING_ASKING_ROUND_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "recording/asking/board.h"
#include "scsitool/host/worker_process.h"

namespace recording {

/// How devices are asked side by side.
struct AskingLimits {
    unsigned jobs = 16;      ///< how many at a time
    unsigned deadline = 10;  ///< seconds for each of them; 0 for none
};

/// How far a round is.
struct AskingProgress {
    std::size_t left = 0;  ///< devices without an end
    std::size_t all = 0;
    std::string slowest;       ///< the one that was asked first of those in hand; may be empty
    unsigned slowSeconds = 0;  ///< since when
};

/// Devices, each of which some process forked for that asks, several at a time.
///
/// A device that has been in hand for a while does not count any more: another process takes its
/// place, so that a hundred disks that never answer keep nobody waiting. One that has not come to
/// an end within the deadline is given up. Its process is killed and left behind; nothing ever
/// waits for it. What a process had in hand when it ended by itself is given to another once.
///
/// For one thread. What asks a device must not wait for what another thread of the process holds.
class Round {
  public:
    /// Takes what is to be handed on should the work never come to an end.
    using Draft = std::function<void(const std::string& text)>;
    /// Asks a device, in a process of its own, and gives the text that is handed on.
    using Work = std::function<std::string(const std::string& name, const Draft& draft)>;
    using Told = std::function<void(const AskingProgress&)>;
    enum class End {
        kNone,
        kAnswered,
        kGivenUp,   ///< it did not answer in time, or what came is no answer
        kNotAsked,  ///< no process could be had, or the answers were too long
    };

    /// Begins at once. `told` hears how far it is while somebody waits, and may be empty.
    Round(std::vector<std::string> names, Work work, const AskingLimits& limits, Told told);
    /// Kills the processes that are left.
    ~Round();
    Round(const Round&) = delete;
    Round& operator=(const Round&) = delete;

    /// Waits until each device has come to an end; but where they answer as fast as they can be
    /// asked, only until that is known: the rest is asked while the first are worked on.
    void settle();
    /// Waits until this device has come to an end and tells which.
    End settle(std::size_t item);
    /// What its process gave.
    bool answer(std::size_t item, std::string& text) const { return m_board.result(item, text); }
    /// The last draft of its process.
    bool draft(std::size_t item, std::string& text) const { return m_board.draft(item, text); }
    /// Which end it has come to so far.
    End endOf(std::size_t item) const;
    /// Its answer is none: it counts as given up.
    void giveUp(std::size_t item);

    const std::vector<std::string>& names() const { return m_names; }
    /// The errno of the fork because of which devices were not asked; 0 for none.
    int forkError() const { return m_forkError; }

  private:
    struct Worker {
        host::WorkerProcess process;
        std::size_t seat = 0;
        std::uint64_t since = 0;     // as last seen
        std::uint64_t pardoned = 0;  // what was pardoned to all by then
    };
    enum class Fate : std::uint8_t { kOpen, kLost, kGivenUp, kNotAsked };
    /// What the workers are at, at one moment.
    struct View {
        std::uint64_t now = 0;
        std::size_t active = 0;    // that count
        std::size_t waiting = 0;   // of these, without an item
        std::size_t stuck = 0;     // that do not count
        std::uint64_t oldest = 0;  // since when the one is in hand that was taken first
        std::size_t slowest = 0;   // which that is
    };

    void look();
    bool stays(Worker& worker, View& view);
    std::uint64_t ageOf(Worker& worker, std::uint64_t since) const;
    void giveUpAt(Worker& worker, const Board::Sight& sight);
    void reap();
    void lose(std::size_t item);
    void findLost();
    void startMore(const View& view);
    bool startOne();
    void leaveUnasked();
    void work(std::size_t seat, const std::size_t* first);
    void workOn(std::size_t seat, std::size_t item);
    bool wasInterrupted();
    void wait(std::size_t ended);
    void tell(const View& view);
    bool isWaiting() const;
    void measure();

    const std::vector<std::string> m_names;
    const Work m_work;
    const AskingLimits m_limits;
    const Told m_told;
    const std::uint64_t m_begun;
    Board m_board;
    std::vector<Fate> m_fates;
    std::vector<std::size_t> m_again;  // lost once, to be asked before the rest of the queue
    std::list<Worker> m_workers;
    std::list<Worker> m_leftBehind;
    std::vector<std::size_t> m_freeSeats;
    View m_view;
    std::size_t m_givenUp = 0;
    bool m_isOver = false;
    std::uint64_t m_measuredAt;
    std::size_t m_endedThen = 0;
    std::size_t m_rate;  // devices a millisecond, of late
    std::uint64_t m_toldAt = 0;
    std::uint64_t m_waitedAt = 0;  // when a wait began; 0 outside of any
    std::uint64_t m_pardoned = 0;  // milliseconds that nobody had
    std::uint64_t m_mayForkAt = 0;
    int m_forkError = 0;
};

}  // namespace recording

#endif
