#include "host/command_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "host/descriptor.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMissingProgram = 127;
constexpr int kPollMilliseconds = 20;

[[noreturn]] void becomeProgram(char* const* arguments, int output) {
    ::setpgid(0, 0);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::close_range(3, ~0U, 0);
    ::execv(arguments[0], arguments);
    ::_exit(kMissingProgram);
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

void drain(int descriptor, std::string& text) {
    char buffer[65536];
    ssize_t got = 0;
    while ((got = ::read(descriptor, buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<std::size_t>(got));
    }
}

}  // namespace

std::vector<std::string> splitCommand(const std::string& command) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    char quote = '\0';
    for (const char c : command) {
        if (quote != '\0') {
            if (c == quote) {
                quote = '\0';
            } else {
                word += c;
            }
        } else if (c == '\'' || c == '"') {
            quote = c;
            inWord = true;
        } else if (c == ' ') {
            if (inWord) {
                words.push_back(word);
            }
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord) {
        words.push_back(word);
    }
    return words;
}

CommandResult runProgram(const std::vector<std::string>& words, int timeoutSeconds) {
    CommandResult result;
    result.waitStatus = kMissingProgram << 8;
    int ends[2];
    if (words.empty() || ::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return result;
    }
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child < 0) {
        return result;
    }
    if (child == 0) {
        becomeProgram(arguments.data(), writing.get());
    }
    writing.reset();
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(timeoutSeconds);
    std::string text;
    while (::waitpid(child, &result.waitStatus, WNOHANG) == 0) {
        if (Clock::now() >= limit) {
            result.timedOut = true;
            ::kill(-child, SIGKILL);
            ::waitpid(child, &result.waitStatus, 0);
            break;
        }
        pollfd waited = {reading.get(), POLLIN, 0};
        ::poll(&waited, 1, kPollMilliseconds);
        drain(reading.get(), text);
    }
    drain(reading.get(), text);
    result.lines = linesOf(text);
    return result;
}

}  // namespace host
