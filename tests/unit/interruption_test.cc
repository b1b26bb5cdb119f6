// What a signal does to the command. It is remembered for good, so each test that sends one does it
// in a process of its own.
#include "scsitool/host/interruption.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "cli/hosts/interruptible_host.h"
#include "cli_harness.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/linux_host.h"

namespace {

using Clock = std::chrono::steady_clock;

using Operations = std::vector<host::SemaphoreOperation>;

constexpr int kNotStarted = 127 << 8;
constexpr std::chrono::seconds kSoon(20);

// Runs what follows in a process of its own, which it ends with 0 when `good` is true.
#define EXPECT_IN_A_PROCESS(good) \
    EXPECT_EXIT(std::_Exit((good) ? 0 : 1), testing::ExitedWithCode(0), "")

bool signalIsRemembered(int number) {
    host::handleInterruptions();
    const bool before = host::interruption() == 0;
    std::raise(number);
    return before && host::interruption() == number;
}

TEST(Interruption, EachOfThreeSignalsAsksToEnd) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_IN_A_PROCESS(signalIsRemembered(number)) << number;
    }
}

TEST(Interruption, SecondSignalEndsTheProcessAtOnce) {
    for (const int second : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EXIT(
            {
                host::handleInterruptions();
                std::raise(SIGINT);
                std::raise(second);
                std::_Exit(0);
            },
            testing::ExitedWithCode(128 + second), "");
    }
}

bool ignoredSignalDoesNothing() {
    std::signal(SIGHUP, SIG_IGN);
    host::handleInterruptions();
    std::raise(SIGHUP);
    std::raise(SIGHUP);
    host::ignoreInterruption();
    std::raise(SIGHUP);
    std::raise(SIGHUP);
    return host::interruption() == 0;
}

TEST(Interruption, SignalThatIsIgnoredStaysIgnored) {
    EXPECT_IN_A_PROCESS(ignoredSignalDoesNothing());
}

bool firstSignalAfterTheWorkDoesNothing() {
    host::handleInterruptions();
    host::ignoreInterruption();
    std::raise(SIGINT);
    return host::interruption() == 0;
}

TEST(Interruption, FirstSignalAfterTheWorkDoesNothing) {
    EXPECT_IN_A_PROCESS(firstSignalAfterTheWorkDoesNothing());
    EXPECT_EXIT(
        {
            firstSignalAfterTheWorkDoesNothing();
            std::raise(SIGTERM);
        },
        testing::ExitedWithCode(128 + SIGTERM), "");
}

bool nothingIsHandledUnasked() {
    struct sigaction before = {};
    struct sigaction after = {};
    ::sigaction(SIGINT, nullptr, &before);
    host::ignoreInterruption();
    ::sigaction(SIGINT, nullptr, &after);
    return before.sa_handler == after.sa_handler && host::interruption() == 0;
}

TEST(Interruption, ProcessThatHasNotAskedForItKeepsItsHandlers) {
    EXPECT_TRUE(nothingIsHandledUnasked());
}

// The signal comes before the call: the worst moment, since nothing is left to interrupt it.

bool noWaitGoesOn() {
    host::Host& machine = host::linuxHost();
    const int set = ::semget(IPC_PRIVATE, 1, 0600);
    ::semctl(set, 0, SETVAL, 1);
    host::handleInterruptions();
    std::raise(SIGINT);
    const auto start = Clock::now();
    machine.sleepSeconds(1000);
    const int lock = machine.operateSemaphore(set, {{0, true, false}, {1, true, true}});
    const host::CommandResult result = machine.runCommand(SCSITOOL_RUNNER_HELPER " silence", 1000);
    const bool soon = Clock::now() - start < kSoon;
    ::semctl(set, 0, IPC_RMID);
    return soon && lock == -EINTR && result.waitStatus == SIGKILL && !result.timedOut;
}

TEST(Interruption, NoWaitOnTheLinuxHostGoesOn) {
    EXPECT_IN_A_PROCESS(noWaitGoesOn());
}

bool nothingBeginsAnyMore() {
    recording::Journal journal;
    recording::RecordedHost machine({}, journal);
    cli::InterruptibleHost host(machine);
    host::handleInterruptions();
    std::raise(SIGTERM);
    host::CommandBuffer buffer = {};
    host::AddressWords words;
    host::SgIoRequest request;
    std::uint64_t size = 0;
    host.sleepSeconds(1000);
    return host.openDevice("/dev/sda", host::OpenMode::kReadOnly) == -EINTR &&
           host.sendCommand(3, buffer) == -EINTR && host.addressWords(3, words) == -EINTR &&
           host.sgIo(3, request) == -EINTR && host.deviceSize(3, size) == -EINTR &&
           host.readFile("/proc/scsi/scsi").openError == EINTR &&
           host.appendFile("/proc/scsi/scsi", "x", {}).openError == EINTR &&
           host.runCommand("/bin/true", 1).waitStatus == kNotStarted &&
           host.runShell("true") == kNotStarted && journal.lines().empty();
}

TEST(InterruptibleHost, NothingBeginsAnyMore) {
    EXPECT_IN_A_PROCESS(nothingBeginsAnyMore());
}

const Operations kLock = {{0, true, false}, {1, true, true}};
const Operations kUnlock = {{-1, true, true}};

bool heldLockIsGivenBack() {
    recording::Journal journal;
    recording::RecordedHost machine({}, journal);
    cli::InterruptibleHost host(machine);
    const int set = host.openSemaphore(1001, 1, 01000);
    const bool taken = host.operateSemaphore(set, kLock) == 0;
    host::handleInterruptions();
    std::raise(SIGINT);
    return taken && host.operateSemaphore(set, kUnlock) == 0 &&
           host.operateSemaphore(set, kUnlock) == -EINTR;
}

bool lockOfSomebodyElseIsNotGivenBack() {
    recording::Journal journal;
    recording::RecordedHost machine({}, journal);
    const int set = machine.openSemaphore(1001, 1, 01000);
    machine.operateSemaphore(set, kLock);
    cli::InterruptibleHost host(machine);
    host::handleInterruptions();
    std::raise(SIGINT);
    return host.operateSemaphore(set, kLock) == -EINTR &&
           host.operateSemaphore(set, kUnlock) == -EINTR &&
           machine.operateSemaphore(set, kUnlock) == 0;
}

TEST(InterruptibleHost, OnlyALockThatIsHeldIsGivenBack) {
    EXPECT_IN_A_PROCESS(heldLockIsGivenBack());
    EXPECT_IN_A_PROCESS(lockOfSomebodyElseIsNotGivenBack());
}

// A machine on which a signal comes while it looks for a program, or while a command runs.
class SignalledHost : public host::ForwardingHost {
  public:
    SignalledHost(host::Host& inner, bool early) : ForwardingHost(inner), m_early(early) {
        host::handleInterruptions();
    }
    bool pathExists(const std::string& /*path*/) override {
        if (m_early) {
            std::raise(SIGTERM);
        }
        return true;
    }
    host::CommandResult runCommand(const std::string& /*command*/, int /*time*/) override {
        std::raise(SIGTERM);
        return {{"half a line"}, SIGKILL, false};
    }

  private:
    bool m_early;
};

bool commandTells(std::vector<std::string> arguments, const std::string& message, bool json) {
    recording::Journal journal;
    recording::RecordedHost machine({}, journal);
    SignalledHost live(machine, arguments.back() == "iqn");
    if (json) {
        arguments.emplace_back("--json");
    }
    const test::CliResult result = test::runCli(arguments, live);
    const bool told = result.status == 128 + SIGTERM && journal.lines().empty() &&
                      result.err == "scsitool: " + message + "\n";
    if (!json) {
        return told && result.out.empty();
    }
    const auto document = result.json();
    return told && document["scsitool"]["exit_status"] == 128 + SIGTERM &&
           document["error"] == message && !document.contains("result") &&
           document.contains("commands") != (arguments.front() == "--dry-run");
}

TEST(InterruptedCommand, TellsWhatHadBeenDone) {
    for (const bool json : {false, true}) {
        EXPECT_IN_A_PROCESS(commandTells({"iscsi", "rescan"},
                                         "interrupted by SIGTERM; done until then: /sbin/iscsiadm "
                                         "-m session -R was killed by signal 9: half a line",
                                         json));
        EXPECT_IN_A_PROCESS(
            commandTells({"iscsi", "iqn"}, "interrupted by SIGTERM; nothing had been done", json));
        EXPECT_IN_A_PROCESS(commandTells({"--dry-run", "iscsi", "iqn"},
                                         "interrupted by SIGTERM; nothing had been done", json))
            << "a dry run";
    }
}

}  // namespace
