#include "host/child_process.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "host/command_keeper.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFirstExtraDescriptor = STDERR_FILENO + 1;
constexpr rlim_t kMostDescriptors = rlim_t{1} << 20;
constexpr const char* kSearchedDirectories[] = {"/sbin/", "/bin/", "/usr/sbin/", "/usr/bin/"};

// How long a program that does not come to be executed (its file lies on a disk that hangs) is
// waited for beyond the time limit, and how long once it has been killed.
constexpr Clock::duration kShortestStart = std::chrono::seconds(1);
constexpr Clock::duration kLongestEnd = std::chrono::seconds(1);
constexpr long kLook = 100'000'000;  // nanoseconds

// No handler of the caller may run while its thread shares errno with the keeper, nor in the
// keeper at all.
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_former);
    }
    ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t m_former = {};
};

// Returns early when the kernel has cleared the word, and for no reason.
void waitForChange(const std::atomic<int>& word, int seen) {
    const timespec time = {0, kLook};
    ::syscall(SYS_futex, &word, FUTEX_WAIT, seen, &time, nullptr, 0);
}

// A caller may have closed its standard descriptors; what lands there would be overwritten in the
// child.
bool moveAboveStandard(Descriptor& descriptor) {
    if (descriptor.get() < kFirstExtraDescriptor) {
        descriptor.reset(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, kFirstExtraDescriptor));
    }
    return descriptor.isOpen();
}

struct Pipe {
    Descriptor reading;
    Descriptor writing;

    bool open() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            return false;
        }
        reading.reset(ends[0]);
        writing.reset(ends[1]);
        return moveAboveStandard(reading) && moveAboveStandard(writing);
    }
};

// A name without a directory is looked up in the fixed ones, whatever the caller's PATH says; a
// relative path would depend on where the caller happens to stand.
std::vector<std::string> candidatesOf(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name.front() == '/' ? std::vector<std::string>{name} : std::vector<std::string>{};
    }
    std::vector<std::string> candidates;
    for (const char* const directory : kSearchedDirectories) {
        candidates.push_back(directory + name);
    }
    return candidates;
}

template <class Pointer>
std::vector<Pointer> pointersTo(const std::vector<std::string>& texts) {
    std::vector<Pointer> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<Pointer>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

bool canBePassed(const std::vector<std::string>& words) {
    return !words.empty() && std::none_of(words.begin(), words.end(), [](const std::string& word) {
        return word.find('\0') != std::string::npos;
    });
}

int descriptorLimit() {
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return static_cast<int>(std::min(limit.rlim_cur, kMostDescriptors));
}

}  // namespace

// Everything that keeper and program may still look at when the caller has turned to the next
// thing.
struct ChildProcess::Launch {
    explicit Launch(const std::vector<std::string>& givenWords)
        : words(givenWords),
          candidates(candidatesOf(words.front())),
          programs(pointersTo<const char*>(candidates)),
          arguments(pointersTo<char*>(words)) {}

    const std::vector<std::string> words;
    const std::vector<std::string> candidates;
    const std::vector<const char*> programs;
    const std::vector<char*> arguments;
    KeeperMemory memory;
};

ChildProcess::ChildProcess() = default;

ChildProcess::~ChildProcess() {
    kill();
    const Clock::time_point limit = Clock::now() + kLongestEnd;
    while (programIsStarting() && Clock::now() < limit) {
        waitForChange(m_launch->memory.guest, m_launch->memory.guest);
    }
    if (programIsStarting()) {
        // It hangs in the kernel and will never run again, but the kernel may still write here.
        static_cast<void>(m_launch.release());
    }
}

bool ChildProcess::start(const std::vector<std::string>& words, Clock::time_point limit) {
    Pipe outputPipe;
    Pipe reportPipe;
    Descriptor input;
    if (!canBePassed(words) || !outputPipe.open() || !reportPipe.open()) {
        return false;
    }
    input.reset(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    // Who forks meanwhile may keep the writing end open for ever.
    if (!input.isOpen() || !moveAboveStandard(input) ||
        ::fcntl(reportPipe.reading.get(), F_SETFL, O_NONBLOCK) != 0) {
        return false;
    }
    m_launch = std::make_unique<Launch>(words);
    m_launch->memory.image = {m_launch->programs.data(),
                              m_launch->arguments.data(),
                              input.get(),
                              outputPipe.writing.get(),
                              reportPipe.writing.get(),
                              descriptorLimit(),
                              ::getpid()};
    m_output.reset(outputPipe.reading.release());
    m_report.reset(reportPipe.reading.release());
    const BlockedSignals blocked;
    m_keeper = startKeeper(m_launch->memory);
    waitForProgram(std::max(limit, Clock::now() + kShortestStart));
    return m_keeper > 0 || m_launch->memory.guest != KeeperMemory::kExpected;
}

// Waits until the program is on its own or will never be.
void ChildProcess::waitForProgram(Clock::time_point limit) {
    const std::atomic<int>& guest = m_launch->memory.guest;
    while (m_keeper > 0 && guest != 0 && Clock::now() < limit && !keeperHasEnded()) {
        waitForChange(guest, guest);
    }
}

// Once the keeper has ended, no program comes any more.
bool ChildProcess::programIsStarting() const {
    return m_launch != nullptr && m_launch->memory.guest > 0;
}

bool ChildProcess::keeperHasEnded() {
    if (m_keeper > 0 && ::waitpid(m_keeper, nullptr, WNOHANG | __WALL) == m_keeper) {
        m_keeper = -1;
    }
    return m_keeper <= 0;
}

bool ChildProcess::readReport(int& waitStatus) const {
    int status = 0;
    ssize_t got = 0;
    do {
        got = ::read(m_report.get(), &status, sizeof status);
    } while (got < 0 && errno == EINTR);
    if (got != sizeof status) {
        return false;
    }
    waitStatus = status;
    return true;
}

void ChildProcess::kill() {
    if (m_keeper > 0) {
        // The keeper alone first: it may not lead its group yet, and must not get to it any more.
        ::kill(m_keeper, SIGKILL);
        ::kill(-m_keeper, SIGKILL);
        reap();
    }
}

void ChildProcess::reap() {
    if (m_keeper > 0) {
        while (::waitpid(m_keeper, nullptr, __WALL) < 0 && errno == EINTR) {
        }
        m_keeper = -1;
    }
}

}  // namespace host
