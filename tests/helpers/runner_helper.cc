// A program with as many faces as the tests of the command runner need; the first argument names
// the one to show.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

extern char** environ;

namespace {

// Should a test fail to end a process that waits for ever, this does.
constexpr unsigned kLongestLife = 120;

using Words = std::vector<std::string>;

std::string wordAt(const Words& words, std::size_t place) {
    return place < words.size() ? words[place] : std::string();
}

void writeAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t got = ::write(descriptor, text.data() + done, text.size() - done);
        if (got < 0) {
            std::_Exit(1);
        }
        done += static_cast<std::size_t>(got);
    }
}

[[noreturn]] void waitForEver() {
    ::alarm(kLongestLife);
    for (;;) {
        ::pause();
    }
}

int raiseSignal(const Words& words) {
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::raise(std::atoi(wordAt(words, 0).c_str()));
    return 0;
}

int crash(const Words&) {
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    volatile int* volatile nowhere = nullptr;
    return *nowhere;  // NOLINT(clang-analyzer-core.NullDereference): what this is for
}

int exitWith(const Words& words) {
    return std::atoi(wordAt(words, 0).c_str());
}

// Lines of 100 bytes, the line feed included, that begin with their number.
int flood(const Words& words) {
    const long lines = std::atol(wordAt(words, 0).c_str());
    std::string block;
    for (long line = 0; line < lines; ++line) {
        const std::string number = std::to_string(line);
        block += std::string(10 - number.size(), '0') + number + std::string(89, ' ') + '\n';
        if (block.size() >= 65536) {
            writeAll(STDOUT_FILENO, block);
            block.clear();
        }
    }
    writeAll(STDOUT_FILENO, block);
    return 0;
}

[[noreturn]] void writeForEver(const std::string& piece) {
    ::alarm(kLongestLife);
    std::string block;
    while (block.size() < 65536) {
        block += piece;
    }
    for (;;) {
        writeAll(STDOUT_FILENO, block);
    }
}

int endless(const Words&) {
    writeForEver("x");
}

int endlessLines(const Words&) {
    writeForEver("sixteen letters.\n");
}

int endlessEmptyLines(const Words&) {
    writeForEver("\n");
}

int silence(const Words&) {
    writeAll(STDOUT_FILENO, "before the silence\n");
    waitForEver();
}

int ownSession(const Words& words) {
    if (::setsid() < 0) {
        return 1;
    }
    const int lock = ::open(wordAt(words, 0).c_str(), O_RDWR | O_CLOEXEC);
    ::flock(lock, LOCK_EX);
    waitForEver();
}

int streams(const Words&) {
    for (int pair = 0; pair < 100; ++pair) {
        writeAll(STDOUT_FILENO, "out " + std::to_string(pair) + "\n");
        writeAll(STDERR_FILENO, "error " + std::to_string(pair) + "\n");
    }
    return 0;
}

int binary(const Words&) {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    writeAll(STDOUT_FILENO, bytes);
    return 0;
}

// Each word on a line of its own, with whatever is not printable in hexadecimal.
int echoWords(const Words& words) {
    for (const std::string& word : words) {
        std::string line = "[";
        for (const char c : word) {
            char text[8];
            const bool plain = c > ' ' && c < 0x7F;
            std::snprintf(text, sizeof text, plain ? "%c" : "\\x%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            line += text;
        }
        writeAll(STDOUT_FILENO, line + "]\n");
    }
    return 0;
}

int listDescriptors(const Words&) {
    DIR* const directory = ::opendir("/proc/self/fd");
    if (directory == nullptr) {
        return 1;
    }
    std::vector<int> descriptors;
    while (const dirent* const entry = ::readdir(directory)) {
        const int descriptor = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && descriptor != ::dirfd(directory)) {
            descriptors.push_back(descriptor);
        }
    }
    ::closedir(directory);
    std::sort(descriptors.begin(), descriptors.end());
    for (const int descriptor : descriptors) {
        std::cout << descriptor << '\n';
    }
    return 0;
}

int tellSignals(const Words&) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        for (const char* const name : {"SigBlk:", "SigIgn:", "SigCgt:"}) {
            if (line.compare(0, std::strlen(name), name) == 0) {
                std::cout << line << '\n';
            }
        }
    }
    return 0;
}

int tellEnvironment(const Words&) {
    for (char** variable = environ; *variable != nullptr; ++variable) {
        std::cout << *variable << '\n';
    }
    return 0;
}

int tellInput(const Words&) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/fd/0", target, sizeof target);
    char byte = 0;
    const ssize_t got = ::read(STDIN_FILENO, &byte, 1);
    std::cout << std::string(target, static_cast<std::size_t>(std::max<ssize_t>(length, 0))) << '\n'
              << got << '\n';
    return 0;
}

// Holds a lock on the named file, which the caller can see end with the process, and writes the
// number of the process group into it.
int holdLock(const std::string& path, bool withParent) {
    int ready[2];
    if (::pipe2(ready, O_CLOEXEC) != 0) {
        return 1;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const int lock = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        ::flock(lock, LOCK_EX);
        writeAll(lock, std::to_string(::getpgrp()) + "\n");
        writeAll(ready[1], "!");
        waitForEver();
    }
    char byte = 0;
    if (child < 0 || ::read(ready[0], &byte, 1) != 1) {
        return 1;
    }
    writeAll(STDOUT_FILENO, std::to_string(child) + "\n");
    if (withParent) {
        waitForEver();
    }
    return 0;
}

int leaveGrandchild(const Words& words) {
    return holdLock(wordAt(words, 0), false);
}

int waitWithGrandchild(const Words& words) {
    return holdLock(wordAt(words, 0), true);
}

int leaveFloodingGrandchild(const Words& words) {
    if (::fork() == 0) {
        return endless(words);
    }
    writeAll(STDOUT_FILENO, "the parent ends\n");
    return 0;
}

int closeOutput(const Words& words) {
    writeAll(STDOUT_FILENO, "last words\n");
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    return exitWith(words);
}

int killOwnGroup(const Words&) {
    ::kill(0, SIGTERM);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::map<std::string, int (*)(const Words&)> faces = {
        {"signal", raiseSignal},
        {"crash", crash},
        {"exit", exitWith},
        {"flood", flood},
        {"endless", endless},
        {"endless-lines", endlessLines},
        {"endless-empty-lines", endlessEmptyLines},
        {"silence", silence},
        {"own-session", ownSession},
        {"streams", streams},
        {"binary", binary},
        {"words", echoWords},
        {"descriptors", listDescriptors},
        {"signals", tellSignals},
        {"environment", tellEnvironment},
        {"input", tellInput},
        {"leave-grandchild", leaveGrandchild},
        {"wait-with-grandchild", waitWithGrandchild},
        {"leave-flooding-grandchild", leaveFloodingGrandchild},
        {"close-output", closeOutput},
        {"kill-own-group", killOwnGroup},
    };
    const Words words(argv + std::min(argc, 2), argv + argc);
    const auto face = faces.find(argc > 1 ? argv[1] : "");
    return face != faces.end() ? face->second(words) : 99;
}
