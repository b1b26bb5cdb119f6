#ifndef SCSITOOL_CLI_OUTPUT_PROGRESS_LINE_H
#define SCSITOOL_CLI_OUTPUT_PROGRESS_LINE_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>

namespace cli {

/// The line on a terminal that says what is in hand and since when. A thread of its own keeps it
/// true, at most ten times a second, so that what hangs in the kernel is named meanwhile.
class ProgressLine {
  public:
    using Clock = std::chrono::steady_clock;
    using Now = Clock::time_point (*)();

    /// `width` is the terminal's. The stream must outlive the line; between `show` and `clear`
    /// nobody else writes to it.
    ProgressLine(std::ostream& stream, std::size_t width);
    ProgressLine(std::ostream& stream, std::size_t width, Now now);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// From now on this is in hand.
    void show(const std::string& inHand);
    /// Nothing is in hand any more and the line is gone: the stream is the caller's.
    void clear();
    /// Writes a line of its own above what is in hand. Any thread may call it.
    void print(const std::string& line);

  private:
    void start();
    void keepPainting();
    void paint();
    bool mayPaint() const;
    void wipe();

    std::ostream& m_stream;
    const std::size_t m_room;
    const Now m_now;
    std::mutex m_mutex;  // over all that follows
    std::condition_variable m_end;
    bool m_ends = false;
    std::string m_inHand;  // empty for nothing
    Clock::time_point m_since;
    Clock::time_point m_paintedAt;
    std::string m_painted;  // what stands on the terminal
    std::thread m_painter;
};

}  // namespace cli

#endif
