#include "host/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace host {
namespace {

constexpr int kCannotExecute = 127;
constexpr int kFirstExtraDescriptor = STDERR_FILENO + 1;
constexpr rlim_t kMostDescriptors = rlim_t{1} << 20;

// Nothing of the caller's environment reaches a program that runs as root, and its messages are in
// the language that they are read in.
constexpr const char* kSearchedDirectories[] = {"/sbin/", "/bin/", "/usr/sbin/", "/usr/bin/"};
constexpr const char* kEnvironment[] = {"PATH=/sbin:/bin:/usr/sbin:/usr/bin", "LC_ALL=C", nullptr};

// What the new processes need, laid out before they are cloned: another thread may have held any
// lock at that moment, so nothing between clone and exec allocates, locks or throws.
struct Image {
    const char* const* programs = nullptr;
    char* const* arguments = nullptr;
    int input = -1;
    int output = -1;
    int report = -1;
    int descriptorLimit = 0;
};

// As fork(2), but the end of the new process sends no signal: only a wait for __WALL finds it. All
// arguments are zero, so their order, which differs between architectures, does not matter.
pid_t cloneProcess() {
    return static_cast<pid_t>(::syscall(SYS_clone, 0UL, 0UL, 0UL, 0UL, 0UL));
}

void closeFrom(int first, int limit) {
#ifdef SYS_close_range
    if (::syscall(SYS_close_range, first, ~0U, 0) == 0) {
        return;
    }
#endif
    // A kernel before 5.9.
    for (int descriptor = first; descriptor < limit; ++descriptor) {
        ::close(descriptor);
    }
}

// SIGCHLD too: while it is ignored there is no wait status.
void restoreDefaultSignals() {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number) {
        ::sigaction(number, &action, nullptr);
    }
}

[[noreturn]] void becomeProgram(const Image& image) {
    // The keeper's death takes the program along even when it has left the group.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::dup2(image.input, STDIN_FILENO) >= 0 && ::dup2(image.output, STDOUT_FILENO) >= 0 &&
        ::dup2(image.output, STDERR_FILENO) >= 0) {
        closeFrom(kFirstExtraDescriptor, image.descriptorLimit);
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        for (const char* const* program = image.programs; *program != nullptr; ++program) {
            ::execve(*program, image.arguments, const_cast<char* const*>(kEnvironment));
        }
    }
    ::_exit(kCannotExecute);
}

// Runs with every signal blocked.
[[noreturn]] void keepProgram(const Image& image) {
    ::setsid();
    restoreDefaultSignals();
    const pid_t program = cloneProcess();
    if (program == 0) {
        becomeProgram(image);
    }
    // The keeper must not hold the caller's descriptors (a device, a lock) while the program runs.
    ::dup2(image.report, STDIN_FILENO);
    closeFrom(STDIN_FILENO + 1, image.descriptorLimit);
    int status = kCannotExecute << 8;
    if (program > 0) {
        while (::waitpid(program, &status, __WALL) < 0 && errno == EINTR) {
        }
    }
    const bool reported = ::write(STDIN_FILENO, &status, sizeof status) == sizeof status;
    ::_exit(reported ? 0 : 1);
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

pid_t cloneKeeper(const Image& image) {
    // No handler of the caller may run in the new processes.
    sigset_t all;
    sigset_t former;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &former);
    const pid_t keeper = cloneProcess();
    if (keeper == 0) {
        keepProgram(image);
    }
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return keeper;
}

}  // namespace

ChildProcess::~ChildProcess() {
    kill();
}

bool ChildProcess::start(const std::vector<std::string>& words) {
    Pipe outputPipe;
    Pipe reportPipe;
    Descriptor input;
    if (!canBePassed(words) || !outputPipe.open() || !reportPipe.open()) {
        return false;
    }
    input.reset(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!input.isOpen() || !moveAboveStandard(input)) {
        return false;
    }
    const std::vector<std::string> candidates = candidatesOf(words.front());
    const std::vector<const char*> programs = pointersTo<const char*>(candidates);
    const std::vector<char*> arguments = pointersTo<char*>(words);
    const Image image = {programs.data(),          arguments.data(),         input.get(),
                         outputPipe.writing.get(), reportPipe.writing.get(), descriptorLimit()};
    m_keeper = cloneKeeper(image);
    m_output.reset(outputPipe.reading.release());
    m_report.reset(reportPipe.reading.release());
    return m_keeper > 0;
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
