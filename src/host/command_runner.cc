#include "host/command_runner.h"

#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "host/child_process.h"
#include "host/output_lines.h"
#include "scsitool/host/interruption.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr int kNotStarted = 127 << 8;
constexpr std::size_t kPieceSize = 65536;
// Whether the keeper is still there has to be looked at now and then.
constexpr Milliseconds kLongestPoll = std::chrono::seconds(1);

enum class Ending { kReported, kTimedOut, kInterrupted, kLost };

int pollTime(Clock::duration left) {
    // Rounded up: a poll that ends just before the limit would be repeated until it is reached.
    const Milliseconds time = std::chrono::ceil<Milliseconds>(left);
    return static_cast<int>(std::clamp(time, Milliseconds(0), kLongestPoll).count());
}

// Reads once; gives the number of bytes, 0 at the end of the output.
std::size_t readPiece(int descriptor, std::size_t most, OutputLines& output) {
    char piece[kPieceSize];
    ssize_t got = 0;
    do {
        got = ::read(descriptor, piece, std::min(most, sizeof piece));
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        return 0;
    }
    output.append(piece, static_cast<std::size_t>(got));
    return static_cast<std::size_t>(got);
}

// Takes what the pipe holds now and no more: a descendant may go on writing for ever.
void readRest(int descriptor, OutputLines& output) {
    int held = 0;
    if (::ioctl(descriptor, FIONREAD, &held) != 0 || held <= 0) {
        return;
    }
    std::size_t left = static_cast<std::size_t>(held);
    std::size_t got = 0;
    while (left > 0 && (got = readPiece(descriptor, left, output)) > 0) {
        left -= got;
    }
}

Ending follow(ChildProcess& child, Clock::time_point limit, OutputLines& output, int& waitStatus) {
    pollfd waited[] = {{child.output(), POLLIN, 0}, {child.report(), POLLIN, 0}};
    pollfd& outputEnd = waited[0];
    const pollfd& reportEnd = waited[1];
    for (;;) {
        const Clock::duration left = limit - Clock::now();
        const int ready = ::poll(waited, 2, pollTime(left));
        if (ready < 0 && errno != EINTR) {
            return Ending::kLost;
        }
        if (interruption() != 0) {
            return Ending::kInterrupted;
        }
        if (ready > 0 && reportEnd.revents != 0) {
            return child.readReport(waitStatus) ? Ending::kReported : Ending::kLost;
        }
        if (ready > 0 && outputEnd.revents != 0 &&
            readPiece(child.output(), kPieceSize, output) == 0) {
            // The program has closed its output and runs on.
            outputEnd.fd = -1;
        }
        if (left <= Clock::duration::zero()) {
            return Ending::kTimedOut;
        }
        if (ready == 0 && child.keeperHasEnded()) {
            return child.readReport(waitStatus) ? Ending::kReported : Ending::kLost;
        }
    }
}

}  // namespace

CommandResult runProgram(const std::vector<std::string>& words, int timeoutSeconds) {
    CommandResult result;
    result.waitStatus = kNotStarted;
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(timeoutSeconds);
    ChildProcess child;
    if (!child.start(words, limit)) {
        return result;
    }
    OutputLines output;
    const Ending ending = follow(child, limit, output, result.waitStatus);
    if (ending == Ending::kReported) {
        child.reap();
    } else {
        child.kill();
        result.waitStatus = SIGKILL;
        result.timedOut = ending == Ending::kTimedOut;
    }
    readRest(child.output(), output);
    result.lines = output.take();
    return result;
}

}  // namespace host
