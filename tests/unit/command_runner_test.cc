#include "host/command_runner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "host/descriptor.h"
#include "refusing_kernel.h"
#include "temporary_directory.h"

namespace {

using host::CommandResult;
using host::Descriptor;
using host::runProgram;
using test::TemporaryDirectory;
using Lines = std::vector<std::string>;

// Long enough for every command that ends by itself.
constexpr int kAmple = 100;
constexpr int kMissing = 127 << 8;

CommandResult runHelper(std::vector<std::string> words, int timeoutSeconds = kAmple) {
    words.insert(words.begin(), SCSITOOL_RUNNER_HELPER);
    return runProgram(words, timeoutSeconds);
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

bool hasAnyChild() {
    return ::waitpid(-1, nullptr, WNOHANG | __WALL) >= 0 || errno != ECHILD;
}

// Waits until nobody holds the lock on a file any more; false when somebody does for ever.
bool isUnlockedSoon(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        ::sched_yield();
    }
    return true;
}

bool isLocked(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    return ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// Puts a disposition in place and restores the former one.
class DispositionScope {
  public:
    DispositionScope(int number, void (*handler)(int)) : m_number(number) {
        struct sigaction action = {};
        action.sa_handler = handler;
        ::sigaction(number, &action, &m_former);
    }
    ~DispositionScope() { ::sigaction(m_number, &m_former, nullptr); }
    DispositionScope(const DispositionScope&) = delete;
    DispositionScope& operator=(const DispositionScope&) = delete;

  private:
    int m_number;
    struct sigaction m_former = {};
};

TEST(CommandRunner, ThousandRunsLeaveNothingBehind) {
    const std::size_t before = openDescriptors();
    for (int run = 0; run < 1000; ++run) {
        const int status = run % 5;
        ASSERT_EQ(runHelper({"exit", std::to_string(status)}).waitStatus, status << 8) << run;
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(hasAnyChild());
}

TEST(CommandRunner, KeepsExitStatus) {
    for (const int status : {0, 1, 2, 126, 127, 255}) {
        const CommandResult result = runHelper({"exit", std::to_string(status)});
        EXPECT_EQ(result.waitStatus, status << 8);
        EXPECT_FALSE(result.timedOut);
        EXPECT_TRUE(result.lines.empty());
    }
}

TEST(CommandRunner, KeepsEverySignalThatKills) {
    for (int number = 1; number <= 31; ++number) {
        const bool kills = number != SIGCHLD && number != SIGCONT && number != SIGURG &&
                           number != SIGWINCH && !(number >= SIGSTOP && number <= SIGTTOU);
        if (kills) {
            const CommandResult result = runHelper({"signal", std::to_string(number)});
            EXPECT_TRUE(WIFSIGNALED(result.waitStatus)) << number;
            EXPECT_EQ(WTERMSIG(result.waitStatus), number);
            EXPECT_FALSE(result.timedOut);
        }
    }
}

TEST(CommandRunner, SignalThatIsIgnoredByDefaultDoesNotEndTheProgram) {
    for (const int number : {SIGCHLD, SIGCONT, SIGURG, SIGWINCH}) {
        EXPECT_EQ(runHelper({"signal", std::to_string(number)}).waitStatus, 0) << number;
    }
}

TEST(CommandRunner, SurvivesACrash) {
    const CommandResult result = runHelper({"crash"});
    EXPECT_TRUE(WIFSIGNALED(result.waitStatus));
    EXPECT_EQ(WTERMSIG(result.waitStatus), SIGSEGV);
}

TEST(CommandRunner, SurvivesAProgramThatSignalsItsOwnGroup) {
    EXPECT_EQ(runHelper({"kill-own-group"}).waitStatus, SIGTERM);
}

TEST(CommandRunner, TakesExactlyWhatThePipeHoldsAtTheEnd) {
    for (const int lines : {655, 656, 1310, 1311}) {
        const CommandResult result = runHelper({"flood", std::to_string(lines)});
        EXPECT_EQ(result.lines.size(), static_cast<std::size_t>(lines));
    }
}

TEST(CommandRunner, EndsSilenceAtTheTimeLimit) {
    const CommandResult result = runHelper({"silence"}, 1);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.waitStatus, SIGKILL);
    EXPECT_EQ(result.lines, Lines{"before the silence"});
    EXPECT_FALSE(hasAnyChild());
}

TEST(CommandRunner, KillsTheWholeGroupAtTheTimeLimit) {
    const TemporaryDirectory directory;
    const std::string lock = directory.file("lock", "");
    const CommandResult result = runHelper({"wait-with-grandchild", lock}, 1);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.waitStatus, SIGKILL);
    EXPECT_EQ(result.lines.size(), 1U);
    EXPECT_TRUE(isUnlockedSoon(lock));
}

TEST(CommandRunner, KillsAProgramThatHasLeftTheGroup) {
    const TemporaryDirectory directory;
    const std::string lock = directory.file("lock", "");
    const CommandResult result = runHelper({"own-session", lock}, 1);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.waitStatus, SIGKILL);
    EXPECT_TRUE(isUnlockedSoon(lock));
}

TEST(CommandRunner, TimeLimitOfNothingEndsTheProgramAtOnce) {
    for (const int limit : {0, -1, -2147483647 - 1}) {
        const CommandResult result = runHelper({"silence"}, limit);
        EXPECT_TRUE(result.timedOut) << limit;
        EXPECT_EQ(result.waitStatus, SIGKILL) << limit;
    }
    EXPECT_FALSE(hasAnyChild());
}

TEST(CommandRunner, LargestTimeLimitIsAccepted) {
    EXPECT_EQ(runHelper({"exit", "3"}, 2147483647).waitStatus, 3 << 8);
}

TEST(CommandRunner, DoesNotWaitForAGrandchildThatKeepsThePipe) {
    const TemporaryDirectory directory;
    const std::string lock = directory.file("lock", "");
    const CommandResult result = runHelper({"leave-grandchild", lock});
    EXPECT_EQ(result.waitStatus, 0);
    EXPECT_FALSE(result.timedOut);
    ASSERT_EQ(result.lines.size(), 1U);
    EXPECT_TRUE(isLocked(lock)) << "what a command leaves behind on purpose lives on";
    const pid_t grandchild = std::stoi(result.lines.front());
    EXPECT_EQ(::kill(grandchild, SIGKILL), 0);
    EXPECT_TRUE(isUnlockedSoon(lock));
}

TEST(CommandRunner, DoesNotFollowAGrandchildThatWritesForEver) {
    const CommandResult result = runHelper({"leave-flooding-grandchild"});
    EXPECT_EQ(result.waitStatus, 0);
    EXPECT_FALSE(result.timedOut);
    ASSERT_FALSE(result.lines.empty());
}

TEST(CommandRunner, WaitsForAProgramThatHasClosedItsOutput) {
    const CommandResult result = runHelper({"close-output", "7"});
    EXPECT_EQ(result.waitStatus, 7 << 8);
    EXPECT_EQ(result.lines, Lines{"last words"});
}

TEST(CommandRunner, MixesBothStreamsInTheirOrder) {
    Lines expected;
    for (int pair = 0; pair < 100; ++pair) {
        expected.push_back("out " + std::to_string(pair));
        expected.push_back("error " + std::to_string(pair));
    }
    EXPECT_EQ(runHelper({"streams"}).lines, expected);
}

TEST(CommandRunner, KeepsEveryByte) {
    std::string before;
    std::string after;
    for (int value = 0; value < 256; ++value) {
        if (value != '\n') {
            (value < '\n' ? before : after) += static_cast<char>(value);
        }
    }
    EXPECT_EQ(runHelper({"binary"}).lines, (Lines{before, after}));
}

TEST(CommandRunner, ProgramThatCannotBeExecutedIsMissing) {
    const TemporaryDirectory directory;
    const std::string plain = directory.file("plain", "not a program\n");
    const std::string noInterpreter = directory.file("no-interpreter", "exit 0\n");
    ASSERT_EQ(::chmod(noInterpreter.c_str(), 0755), 0);
    const std::vector<std::vector<std::string>> commands = {
        {"/nonexistent/program"},
        {plain},
        {noInterpreter},
        {directory.path()},
        {""},
        {"/"},
        {"no-such-program-anywhere"},
        {plain + "/below"},
        {std::string(5000, 'a')},
    };
    for (const std::vector<std::string>& words : commands) {
        const CommandResult result = runProgram(words, kAmple);
        EXPECT_EQ(result.waitStatus, kMissing) << words.front();
        EXPECT_FALSE(result.timedOut);
        EXPECT_TRUE(result.lines.empty());
    }
}

TEST(CommandRunner, CommandThatCannotBePassedIsMissing) {
    const std::string withNul("a\0b", 3);
    EXPECT_EQ(runProgram({}, kAmple).waitStatus, kMissing);
    EXPECT_EQ(runHelper({"exit", withNul}).waitStatus, kMissing);
    EXPECT_EQ(runHelper({"words", std::string(262144, 'x')}).waitStatus, kMissing);
}

TEST(CommandRunner, NameWithoutADirectoryIsLookedUpInTheFixedOnes) {
    EXPECT_EQ(runProgram({"true"}, kAmple).waitStatus, 0);
    EXPECT_EQ(runProgram({"false"}, kAmple).waitStatus, 1 << 8);
}

TEST(CommandRunner, RelativePathIsRefused) {
    const std::filesystem::path helper(SCSITOOL_RUNNER_HELPER);
    const std::string relative = "./" + std::filesystem::relative(helper).string();
    EXPECT_EQ(runProgram({relative, "exit", "0"}, kAmple).waitStatus, kMissing);
}

TEST(CommandRunner, WordsReachTheProgramAsTheyAre) {
    const std::vector<std::string> words = {"words", "; touch x", "`id`", "$(id)",    "a'b\"c",
                                            "--",    "-rf",       "a\nb", "",         "*",
                                            "|",     "> x",       "\\",   "\xFF\x01", "$PATH"};
    EXPECT_EQ(runHelper(words).lines, (Lines{"[;\\x20touch\\x20x]", "[`id`]", "[$(id)]", "[a'b\"c]",
                                             "[--]", "[-rf]", "[a\\x0ab]", "[]", "[*]", "[|]",
                                             "[>\\x20x]", "[\\]", "[\\xff\\x01]", "[$PATH]"}));
}

TEST(CommandRunner, HostileTargetNameStartsNoSecondProgram) {
    const TemporaryDirectory directory;
    const std::string mark = directory.path() + "/mark";
    const std::string touch = "/bin/touch " + mark;
    const std::vector<std::string> names = {
        ";" + touch,   "\n" + touch + "\n", "`" + touch + "`",  "$(" + touch + ")",
        "|" + touch,   "&&" + touch,        "' ;" + touch,      "\" ;" + touch,
        "-e " + touch, "--exec=" + touch,   "<(" + touch + ")", "x\r" + touch,
    };
    for (const std::string& name : names) {
        const std::string command =
            SCSITOOL_RUNNER_HELPER + std::string(" words -m node -T ") + name + " --login";
        const CommandResult result = runProgram(host::splitCommand(command), kAmple);
        EXPECT_EQ(result.waitStatus, 0) << name;
        EXPECT_GE(result.lines.size(), 4U) << name;
        EXPECT_FALSE(std::filesystem::exists(mark)) << name;
    }
}

TEST(CommandRunner, ClosesEveryDescriptorButTheStandardOnes) {
    std::vector<std::unique_ptr<Descriptor>> inherited;
    for (int copy = 0; copy < 20; ++copy) {
        inherited.push_back(std::make_unique<Descriptor>(::open("/dev/null", O_RDWR)));
    }
    ASSERT_GE(::fcntl(inherited.back()->get(), F_DUPFD, 500), 500);
    EXPECT_EQ(runHelper({"descriptors"}).lines, (Lines{"0", "1", "2"}));
    ::close(500);
}

TEST(CommandRunner, StandardInputIsEmpty) {
    EXPECT_EQ(runHelper({"input"}).lines, (Lines{"/dev/null", "0"}));
}

TEST(CommandRunner, EnvironmentIsFixed) {
    ASSERT_EQ(::setenv("LD_PRELOAD_OF_THE_CALLER", "x", 1), 0);
    EXPECT_EQ(runHelper({"environment"}).lines,
              (Lines{"PATH=/sbin:/bin:/usr/sbin:/usr/bin", "LC_ALL=C"}));
    ::unsetenv("LD_PRELOAD_OF_THE_CALLER");
}

TEST(CommandRunner, ProgramStartsWithDefaultSignals) {
    const DispositionScope ignoredPipe(SIGPIPE, SIG_IGN);
    const DispositionScope ignoredQuit(SIGQUIT, SIG_IGN);
    sigset_t blocked;
    sigset_t former;
    ::sigfillset(&blocked);
    ::pthread_sigmask(SIG_SETMASK, &blocked, &former);
    const CommandResult result = runHelper({"signals"});
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
    EXPECT_EQ(result.lines, (Lines{"SigBlk:\t0000000000000000", "SigIgn:\t0000000000000000",
                                   "SigCgt:\t0000000000000000"}));
}

TEST(CommandRunner, LeavesTheCallersSignalsAlone) {
    const DispositionScope handler(SIGUSR1, [](int) {});
    const DispositionScope ignoredPipe(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t former;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR2);
    ::pthread_sigmask(SIG_SETMASK, &blocked, &former);
    std::array<struct sigaction, 32> before = {};
    for (int number = 1; number < 32; ++number) {
        ::sigaction(number, nullptr, &before.at(static_cast<std::size_t>(number)));
    }
    runHelper({"exit", "0"});
    runProgram({"/nonexistent/program"}, kAmple);
    runHelper({"silence"}, 0);
    for (int number = 1; number < 32; ++number) {
        struct sigaction after = {};
        ::sigaction(number, nullptr, &after);
        EXPECT_EQ(after.sa_handler, before.at(static_cast<std::size_t>(number)).sa_handler)
            << number;
    }
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, &former, &mask);
    for (int number = 1; number < 32; ++number) {
        EXPECT_EQ(::sigismember(&mask, number), number == SIGUSR2 ? 1 : 0) << number;
    }
}

TEST(CommandRunner, KeepsTheStatusWhenTheCallerIgnoresItsChildren) {
    const DispositionScope ignored(SIGCHLD, SIG_IGN);
    EXPECT_EQ(runHelper({"exit", "3"}).waitStatus, 3 << 8);
    EXPECT_TRUE(runHelper({"silence"}, 0).timedOut);
    EXPECT_FALSE(hasAnyChild());
}

std::atomic<int> endsSeen{0};

TEST(CommandRunner, KeepsTheStatusWhenTheCallerReapsEveryChild) {
    endsSeen = 0;
    const DispositionScope reaper(SIGCHLD, [](int) {
        ++endsSeen;
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    });
    for (int run = 0; run < 20; ++run) {
        ASSERT_EQ(runHelper({"exit", "3"}).waitStatus, 3 << 8);
    }
    EXPECT_EQ(endsSeen, 0) << "a command's end is no business of the caller's handlers";
}

TEST(CommandRunner, IsNotDisturbedByInterruptions) {
    static std::atomic<int> interruptions;
    interruptions = 0;
    const DispositionScope handler(SIGALRM, [](int) { ++interruptions; });
    const itimerval often = {{0, 300}, {0, 300}};
    const itimerval never = {};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &often, nullptr), 0);
    const CommandResult result = runHelper({"flood", "100000"});
    ::setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_EQ(result.waitStatus, 0);
    EXPECT_EQ(result.lines.size(), 100000U);
    EXPECT_GT(interruptions, 0);
}

TEST(CommandRunner, FailuresLeaveNothingBehind) {
    const std::size_t before = openDescriptors();
    for (int run = 0; run < 20; ++run) {
        runProgram({}, kAmple);
        runProgram({"/nonexistent/program"}, kAmple);
        runHelper({"silence"}, 0);
        runHelper({"crash"});
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(hasAnyChild());
}

TEST(CommandRunner, RunsFromSeveralThreadsAtOnce) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([thread, &wrong] {
            for (int run = 0; run < 25; ++run) {
                const std::string word = std::to_string(thread) + "-" + std::to_string(run);
                const CommandResult result = runHelper({"words", word});
                wrong += result.waitStatus != 0 || result.lines != Lines{"[" + word + "]"};
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_FALSE(hasAnyChild());
}

// What follows spoils the process, so each stands in a process of its own.

bool worksWithoutStandardDescriptors() {
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        ::close(descriptor);
    }
    return runHelper({"words", "a"}).lines == Lines{"[a]"} &&
           runHelper({"descriptors"}).lines == Lines{"0", "1", "2"} && ::fcntl(0, F_GETFD) < 0 &&
           ::fcntl(1, F_GETFD) < 0;
}

TEST(CommandRunnerDeathTest, WorksWithoutStandardDescriptors) {
    EXPECT_EXIT(std::_Exit(worksWithoutStandardDescriptors() ? 0 : 1), testing::ExitedWithCode(0),
                "");
}

// Room for no descriptor, for one, and so on: each step of the start fails once.
bool failsWithoutDescriptors() {
    ::syscall(SYS_close_range, 3, ~0U, 0);
    const std::size_t before = openDescriptors();
    bool good = true;
    for (rlim_t room = 0; room < 5; ++room) {
        const rlimit limit = {3 + room, 100};
        ::setrlimit(RLIMIT_NOFILE, &limit);
        good = good && runHelper({"exit", "0"}).waitStatus == kMissing;
    }
    const rlimit ample = {100, 100};
    ::setrlimit(RLIMIT_NOFILE, &ample);
    return good && openDescriptors() == before && !hasAnyChild() &&
           runHelper({"exit", "0"}).waitStatus == 0;
}

TEST(CommandRunnerDeathTest, FailsWithoutDescriptors) {
    EXPECT_EXIT(std::_Exit(failsWithoutDescriptors() ? 0 : 1), testing::ExitedWithCode(0), "");
}

bool closesDescriptorsWithoutCloseRange() {
    const rlimit limit = {1024, 1024};
    ::setrlimit(RLIMIT_NOFILE, &limit);
    ::dup2(STDERR_FILENO, 700);
    ::dup2(STDERR_FILENO, 1023);
    return test::refuse(SYS_close_range, ENOSYS) &&
           runHelper({"descriptors"}).lines == Lines{"0", "1", "2"};
}

TEST(CommandRunnerDeathTest, ClosesDescriptorsOnAKernelWithoutCloseRange) {
    EXPECT_EXIT(std::_Exit(closesDescriptorsWithoutCloseRange() ? 0 : 1),
                testing::ExitedWithCode(0), "");
}

bool failsWithoutProcesses() {
    const std::size_t before = openDescriptors();
    return test::refuse(SYS_clone, EAGAIN) && runHelper({"exit", "0"}).waitStatus == kMissing &&
           openDescriptors() == before;
}

TEST(CommandRunnerDeathTest, FailsWhenNoProcessCanBeStarted) {
    EXPECT_EXIT(std::_Exit(failsWithoutProcesses() ? 0 : 1), testing::ExitedWithCode(0), "");
}

// A process that once held this much takes long to clone, so these come last.

TEST(CommandRunnerFlood, KeepsAFloodWhole) {
    constexpr std::size_t kLines = 200000;
    const CommandResult result = runHelper({"flood", std::to_string(kLines)});
    EXPECT_EQ(result.waitStatus, 0);
    ASSERT_EQ(result.lines.size(), kLines);
    for (std::size_t line = 0; line < kLines; ++line) {
        ASSERT_EQ(result.lines[line].size(), 99U) << line;
        ASSERT_EQ(std::stoul(result.lines[line]), line);
    }
}

TEST(CommandRunnerFlood, ReadsToItsEndWhatItDoesNotKeep) {
    const CommandResult result = runHelper({"flood", "1500000"});
    EXPECT_EQ(result.waitStatus, 0);
    EXPECT_GT(result.lines.size(), 200000U);
    EXPECT_LT(result.lines.size(), 1500000U);
}

#ifdef __SANITIZE_ADDRESS__
constexpr bool kMemoryCanBeMeasured = false;
#elif defined(__has_feature)
constexpr bool kMemoryCanBeMeasured = !__has_feature(address_sanitizer);
#else
constexpr bool kMemoryCanBeMeasured = true;
#endif

// The highest memory of this process so far, in bytes.
std::size_t peakMemory() {
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

bool takesBoundedMemory(const std::string& face) {
    const std::size_t before = peakMemory();
    const CommandResult result = runHelper({face}, 1);
    const std::size_t grown = peakMemory() - before;
    return result.timedOut && result.waitStatus == SIGKILL && !result.lines.empty() &&
           (!kMemoryCanBeMeasured || grown < std::size_t{80} << 20);
}

TEST(CommandRunnerFlood, EndsEndlessOutputAtTheTimeLimitInBoundedMemory) {
    for (const char* const face : {"endless", "endless-lines", "endless-empty-lines"}) {
        EXPECT_EXIT(std::_Exit(takesBoundedMemory(face) ? 0 : 1), testing::ExitedWithCode(0), "")
            << face;
    }
}

}  // namespace
