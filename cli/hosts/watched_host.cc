#include "cli/hosts/watched_host.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "cli/base/text.h"
#include "cli/hosts/long_wait.h"
#include "cli/output/printed_line.h"
#include "scsitool/host/interruption.h"

namespace cli {
namespace {

constexpr int kMissingProgram = 127;

std::string endedHow(const host::CommandResult& result) {
    if (result.timedOut) {
        return "was ended at its time limit";
    }
    if (WIFSIGNALED(result.waitStatus)) {
        return "was killed by signal " + std::to_string(WTERMSIG(result.waitStatus));
    }
    const int status = WEXITSTATUS(result.waitStatus);
    return status == kMissingProgram ? "could not be started"
                                     : "ended with exit status " + std::to_string(status);
}

// In the guard's words, which a line that is left out takes along.
bool isRefusal(const host::CommandResult& result) {
    constexpr const char* kRefused = "refused: ";
    return result.waitStatus == EBUSY << 8 && !result.lines.empty() &&
           result.lines.front().compare(0, std::strlen(kRefused), kRefused) == 0;
}

// A line that is shown in a message; what is longer than anybody reads there is cut.
std::string lastWords(const std::vector<std::string>& lines) {
    constexpr std::size_t kMost = 4096;
    const auto line = std::find_if(lines.rbegin(), lines.rend(), [](const std::string& one) {
        return one.find_first_not_of(" \t\r") != std::string::npos;
    });
    return line == lines.rend() ? std::string() : line->substr(0, kMost);
}

}  // namespace

void WatchedHost::show(const std::string& inHand) const {
    if (m_progress) {
        m_progress(inHand);
    }
}

int WatchedHost::openDevice(const std::string& path, host::OpenMode mode) {
    show(path);
    return ForwardingHost::openDevice(path, mode);
}

host::AppendResult WatchedHost::appendFile(const std::string& path, const std::string& text,
                                           const host::BeforeWrite& beforeWrite) {
    show(path);
    const bool begins = host::interruption() == 0;
    const host::AppendResult result = ForwardingHost::appendFile(path, text, beforeWrite);
    if (begins) {
        m_appends.push_back({path, text, result});
    }
    return result;
}

host::CommandResult WatchedHost::runCommand(const std::string& command, int timeoutSeconds) {
    show(command);
    const bool begins = host::interruption() == 0;
    host::CommandResult result = ForwardingHost::runCommand(command, timeoutSeconds);
    if (begins) {
        keep(command, result);
    }
    return result;
}

void WatchedHost::keep(const std::string& command, const host::CommandResult& result) {
    CommandEffect& effect = m_commands.emplace_back();
    effect.command = command;
    effect.result.waitStatus = result.waitStatus;
    effect.result.timedOut = result.timedOut;
    for (const std::string& line : result.lines) {
        const std::size_t cost = sizeof(std::string) + line.size();
        if (effect.linesLeftOut != 0 || cost > m_outputLeft) {
            ++effect.linesLeftOut;
            continue;
        }
        m_outputLeft -= cost;
        effect.result.lines.push_back(line);
    }
    effect.lastLine = lastWords(result.lines);
    effect.isRefused = isRefusal(result);
}

int WatchedHost::operateSemaphore(int identifier,
                                  const std::vector<host::SemaphoreOperation>& operations) {
    if (!operations.empty() && operations.front().operation == 0) {
        return waitForLock(identifier, operations);
    }
    return ForwardingHost::operateSemaphore(identifier, operations);
}

int WatchedHost::waitForLock(int identifier,
                             const std::vector<host::SemaphoreOperation>& operations) {
    show("waiting for the rescan lock");
    std::optional<LongWait> wait;
    if (m_notice) {
        wait.emplace(m_patience, [this, identifier] {
            m_notice("waiting for the rescan lock, which " + holderOf(identifier) + " holds");
        });
    }
    return ForwardingHost::operateSemaphore(identifier, operations);
}

// Called while the lock is waited for, from another thread.
std::string WatchedHost::holderOf(int identifier) {
    const int process = inner().semaphoreUser(identifier);
    if (process <= 0) {
        return "another process";
    }
    const std::string number = std::to_string(process);
    std::string name = inner().readFile("/proc/" + number + "/comm").content;
    name.erase(std::min(name.find('\n'), name.size()));
    return "process " + number + (name.empty() ? "" : " (" + name + ")");
}

void WatchedHost::sleepSeconds(unsigned seconds) {
    show("pausing " + std::to_string(seconds) + " s");
    ForwardingHost::sleepSeconds(seconds);
}

bool succeeded(const CommandEffect& effect) {
    return !effect.result.timedOut && effect.result.waitStatus == 0;
}

CommandEffect effectOf(const std::string& command, host::CommandResult result) {
    CommandEffect effect;
    effect.command = command;
    effect.lastLine = lastWords(result.lines);
    effect.isRefused = isRefusal(result);
    effect.result = std::move(result);
    return effect;
}

bool couldNotStart(const CommandEffect& effect) {
    return !effect.result.timedOut && effect.result.waitStatus == kMissingProgram << 8 &&
           effect.lastLine.empty();
}

std::string endingText(const CommandEffect& effect) {
    std::string text = visible(effect.command) + " " + endedHow(effect.result);
    const std::string last = printedLine(effect.lastLine).value_or("");
    return last.empty() ? text : text + ": " + visible(last);
}

}  // namespace cli
