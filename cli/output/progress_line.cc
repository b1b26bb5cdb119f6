#include "cli/output/progress_line.h"

#include <system_error>

#include "cli/base/text.h"
#include "scsitool/host/interruption.h"

namespace cli {
namespace {

constexpr const char* kClearLine = "\r\033[K";
constexpr std::chrono::milliseconds kPause(100);

}  // namespace

ProgressLine::ProgressLine(std::ostream& stream, std::size_t width)
    : ProgressLine(stream, width, &Clock::now) {}

ProgressLine::ProgressLine(std::ostream& stream, std::size_t width, Now now)
    : m_stream(stream), m_room(width > 1 ? width - 1 : 1), m_now(now) {}

ProgressLine::~ProgressLine() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ends = true;
        wipe();
    }
    m_end.notify_all();
    if (m_painter.joinable()) {
        m_painter.join();
    }
}

void ProgressLine::show(const std::string& inHand) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_inHand != inHand) {
        m_inHand = inHand;
        m_since = m_now();
    }
    if (mayPaint()) {
        paint();
    }
    start();
}

void ProgressLine::clear() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_inHand.clear();
    wipe();
}

void ProgressLine::print(const std::string& line) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    wipe();
    m_stream << line << std::endl;
    paint();
}

// Without a thread the line is what it was when something was taken in hand.
void ProgressLine::start() {
    if (m_painter.joinable()) {
        return;
    }
    try {
        const host::SignalsHeldBack heldBack;
        m_painter = std::thread(&ProgressLine::keepPainting, this);
    } catch (const std::system_error&) {
        return;
    }
}

void ProgressLine::keepPainting() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_end.wait_for(lock, kPause, [this] { return m_ends; })) {
        if (mayPaint()) {
            paint();
        }
    }
}

bool ProgressLine::mayPaint() const {
    return m_now() - m_paintedAt >= kPause;
}

void ProgressLine::paint() {
    if (m_inHand.empty()) {
        return;
    }
    const Clock::time_point now = m_now();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - m_since).count();
    std::string line = visible(m_inHand);
    if (seconds > 0) {
        line += " (" + std::to_string(seconds) + " s)";
    }
    line = wrapped(line, m_room).front();
    if (line != m_painted) {
        m_stream << kClearLine << line << std::flush;
        m_painted = line;
        m_paintedAt = now;
    }
}

void ProgressLine::wipe() {
    if (!m_painted.empty()) {
        m_stream << kClearLine << std::flush;
        m_painted.clear();
    }
}

}  // namespace cli
