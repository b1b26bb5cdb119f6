#include "scsitool/host/linux_host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/descriptor.h"
#include "temporary_directory.h"

namespace {

using namespace std::string_literals;
using host::AppendResult;
using host::LinuxHost;
using host::OpenMode;
using test::TemporaryDirectory;

std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

TEST(LinuxHost, ReadsFilesOfProc) {
    LinuxHost linuxHost;
    const host::ReadResult status = linuxHost.readFile("/proc/self/status");
    EXPECT_EQ(status.error(), 0);
    EXPECT_NE(status.content.find("Name:"), std::string::npos);
}

TEST(LinuxHost, ReadsFilesOfSysfs) {
    if (::access("/sys/kernel", F_OK) != 0) {
        GTEST_SKIP() << "no sysfs is mounted, as in a chroot that packages are built in";
    }
    LinuxHost linuxHost;
    const host::ReadResult attribute = linuxHost.readFile("/sys/kernel/uevent_seqnum");
    EXPECT_EQ(attribute.error(), 0);
    EXPECT_FALSE(attribute.content.empty());
}

TEST(LinuxHost, ReadsNoFileBeyondItsLimit) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("large", "");
    constexpr off_t kLimit = off_t{64} << 20;
    LinuxHost linuxHost;
    ASSERT_EQ(::truncate(path.c_str(), kLimit), 0);
    const host::ReadResult whole = linuxHost.readFile(path);
    EXPECT_EQ(whole.error(), 0);
    EXPECT_EQ(whole.content.size(), static_cast<std::size_t>(kLimit));
    ASSERT_EQ(::truncate(path.c_str(), kLimit + 1), 0);
    const host::ReadResult cut = linuxHost.readFile(path);
    EXPECT_EQ(cut.openError, 0);
    EXPECT_EQ(cut.readError, EFBIG);
    EXPECT_GE(cut.content.size(), static_cast<std::size_t>(kLimit));
}

TEST(LinuxHost, IsNotHeldUpByAFifo) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/fifo";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    LinuxHost machine;
    host::Host& linuxHost = machine;
    EXPECT_EQ(linuxHost.readFile(path).openError, EINVAL);
    EXPECT_NE(linuxHost.appendFile(path, "x").openError, 0);
    const host::Descriptor bothEnds(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(linuxHost.readFile(path).openError, EINVAL);
    EXPECT_EQ(linuxHost.appendFile(path, "x").openError, EINVAL);
}

TEST(LinuxHost, ReadsAndAppendsToFilesOnly) {
    LinuxHost machine;
    host::Host& linuxHost = machine;
    EXPECT_EQ(linuxHost.readFile("/dev/zero").openError, EINVAL);
    EXPECT_EQ(linuxHost.appendFile("/dev/null", "x").openError, EINVAL);
}

// SCSI_IOCTL_SEND_COMMAND has the number of FIBMAP, which answers 0 for a file.
TEST(LinuxHost, ARegularFileTakesNoCommand) {
    const TemporaryDirectory directory;
    LinuxHost linuxHost;
    host::CommandBuffer buffer = {};
    buffer[8] = 0x12;
    const host::CommandBuffer sent = buffer;
    for (const std::string& content : {std::string(), std::string("content")}) {
        const std::string path = directory.file("plain", content);
        const int file = linuxHost.openDevice(path, OpenMode::kReadOnly);
        ASSERT_GE(file, 0);
        EXPECT_EQ(linuxHost.sendCommand(file, buffer), -ENOTTY);
        EXPECT_EQ(buffer, sent) << "as of a device that takes no commands";
        EXPECT_EQ(linuxHost.closeDevice(file), 0);
    }
}

TEST(LinuxHost, TellsWhoChangedASemaphoreLast) {
    LinuxHost linuxHost;
    const int set = linuxHost.openSemaphore(IPC_PRIVATE, 1, 0600);
    ASSERT_GE(set, 0);
    EXPECT_EQ(linuxHost.semaphoreUser(set), 0);
    EXPECT_EQ(linuxHost.operateSemaphore(set, {{1, true, true}}), 0);
    EXPECT_EQ(linuxHost.semaphoreUser(set), ::getpid());
    EXPECT_EQ(::semctl(set, 0, IPC_RMID), 0);
    EXPECT_EQ(linuxHost.semaphoreUser(set), -EINVAL);
}

TEST(LinuxHost, PathWithANulIsInvalid) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("plain", "content") + "\0.conf"s;
    LinuxHost linuxHost;
    std::string target;
    EXPECT_EQ(linuxHost.openDevice(path, OpenMode::kReadOnly), -EINVAL);
    EXPECT_EQ(linuxHost.readFile(path).openError, EINVAL);
    EXPECT_EQ(linuxHost.appendFile(path, "x", {}).openError, EINVAL);
    EXPECT_EQ(linuxHost.listDirectory(directory.path() + "\0"s).openError, EINVAL);
    EXPECT_EQ(linuxHost.readLink(path, target), -EINVAL);
    EXPECT_FALSE(linuxHost.pathExists(path));
    EXPECT_FALSE(linuxHost.isDirectory(directory.path() + "\0"s));
}

TEST(LinuxHost, AppendsBehindWhatIsThere) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("scsi", "first\n");
    LinuxHost linuxHost;
    const AppendResult result = linuxHost.appendFile(path, "second\0line\n"s, {});
    EXPECT_EQ(result.openError, 0);
    EXPECT_EQ(result.writeError, 0);
    EXPECT_EQ(contentOf(path), "first\nsecond\0line\n"s);
}

TEST(LinuxHost, TextThatIsRefusedIsAWriteError) {
    // The kernel takes nothing but numbers here.
    LinuxHost linuxHost;
    const AppendResult result = linuxHost.appendFile("/proc/self/oom_score_adj", "no number", {});
    EXPECT_EQ(result.openError, 0);
    EXPECT_EQ(result.writeError, EINVAL);
}

TEST(LinuxHost, FollowsLinksAndReadsThem) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path() + "/dir");
    std::filesystem::create_symlink("dir", directory.path() + "/link");
    std::filesystem::create_symlink("nowhere", directory.path() + "/dangling");
    LinuxHost linuxHost;
    std::string target;
    EXPECT_EQ(linuxHost.readLink(directory.path() + "/link", target), 0);
    EXPECT_EQ(target, "dir");
    EXPECT_TRUE(linuxHost.isDirectory(directory.path() + "/link"));
    EXPECT_TRUE(linuxHost.pathExists(directory.path() + "/link"));
    EXPECT_FALSE(linuxHost.pathExists(directory.path() + "/dangling"));
}

TEST(LinuxHost, OpensDevicesInTheirModesAndCloseOnExec) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("device", "");
    const std::vector<std::pair<OpenMode, int>> modes = {
        {OpenMode::kReadWriteNonBlocking, O_RDWR | O_NONBLOCK},
        {OpenMode::kReadOnly, O_RDONLY},
        {OpenMode::kReadOnlyNonBlocking, O_RDONLY | O_NONBLOCK},
        {OpenMode::kReadOnlyExclusive, O_RDONLY | O_NONBLOCK}};
    LinuxHost linuxHost;
    for (const auto& [mode, flags] : modes) {
        const int descriptor = linuxHost.openDevice(path, mode);
        ASSERT_GE(descriptor, 0);
        EXPECT_EQ(::fcntl(descriptor, F_GETFL) & (O_ACCMODE | O_NONBLOCK), flags);
        EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(linuxHost.closeDevice(descriptor), 0);
        EXPECT_LT(::fcntl(descriptor, F_GETFD), 0);
    }
}

TEST(LinuxHost, TellsTheNumberOfANodeAsTheKernelDoes) {
    // A disk, where there is one: /sys/dev/block has a name of its number for each.
    LinuxHost linuxHost;
    std::size_t disks = 0;
    const auto listing = linuxHost.listDirectory("/sys/block");
    for (const std::string& name : listing.names) {
        host::DeviceNumber number;
        const host::ReadResult text = linuxHost.readFile("/sys/block/" + name + "/dev");
        if (linuxHost.deviceNumber("/dev/" + name, number) != 0 ||
            number.kind != host::DeviceNumber::Kind::kBlock || text.error() != 0) {
            continue;
        }
        ++disks;
        EXPECT_EQ(std::to_string(number.major) + ":" + std::to_string(number.minor) + "\n",
                  text.content);
    }
    if (disks == 0) {
        GTEST_SKIP() << "no block device node here";
    }
}

TEST(LinuxHost, TellsThatAFileWithoutTheRightMayNotBeWritten) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("readonly", "");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    LinuxHost linuxHost;
    EXPECT_EQ(linuxHost.writeAccess(path), ::geteuid() == 0 ? 0 : -EACCES);
    EXPECT_EQ(linuxHost.appendFile(path, "", {}).openError, ::geteuid() == 0 ? 0 : EACCES);
}

TEST(LinuxHost, CommandIsSplitIntoWordsAndRunWithoutAShell) {
    LinuxHost linuxHost;
    const host::CommandResult result =
        linuxHost.runCommand(SCSITOOL_RUNNER_HELPER " words 'a b' ; echo $HOME > x", 100);
    EXPECT_EQ(result.waitStatus, 0);
    EXPECT_EQ(result.lines,
              (std::vector<std::string>{"[a\\x20b]", "[;]", "[echo]", "[$HOME]", "[>]", "[x]"}));
}

TEST(LinuxHost, ShellLineGivesItsWaitStatus) {
    LinuxHost linuxHost;
    EXPECT_EQ(linuxHost.runShell("exit 0"), 0);
    EXPECT_EQ(linuxHost.runShell("exit 3"), 3 << 8);
    EXPECT_EQ(linuxHost.runShell("kill -9 $$"), SIGKILL);
    EXPECT_EQ(linuxHost.runShell("/nonexistent/program"), 127 << 8);
    EXPECT_EQ(linuxHost.runShell(""), 0);
    EXPECT_EQ(linuxHost.runShell("exit 0\0 # cut"s), 127 << 8);
}

TEST(LinuxHost, ShellLineIsCarriedOutAndItsOutputDropped) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/written";
    LinuxHost linuxHost;
    testing::internal::CaptureStdout();
    EXPECT_EQ(linuxHost.runShell("/bin/echo \"scsi 0 1\" >  " + path + "; echo noise"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(contentOf(path), "scsi 0 1\n");
}

TEST(LinuxHost, TellsTheNamesThatTheKernelTells) {
    LinuxHost linuxHost;
    utsname names = {};
    ASSERT_EQ(::uname(&names), 0);
    EXPECT_EQ(linuxHost.kernelRelease(), names.release);
    std::string name;
    EXPECT_EQ(linuxHost.hostName(name), 0);
    EXPECT_EQ(name, names.nodename);
}

TEST(LinuxHost, IsOneForTheProcess) {
    EXPECT_EQ(&host::linuxHost(), &host::linuxHost());
}

TEST(LinuxHost, GivesNoStandardDescriptorToADeviceWhenStandardInputIsClosed) {
    LinuxHost machine;
    const host::Descriptor kept(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    ::close(STDIN_FILENO);
    const int descriptor = machine.openDevice("/dev/null", OpenMode::kReadOnly);
    const bool isFreeAgain = ::fcntl(STDIN_FILENO, F_GETFD) < 0;
    if (kept.isOpen()) {
        ::dup2(kept.get(), STDIN_FILENO);
    }
    EXPECT_GT(descriptor, STDERR_FILENO);
    EXPECT_TRUE(isFreeAgain);
    EXPECT_EQ(machine.closeDevice(descriptor), 0);
}

// The switch that keeps every thread away from the machine.

/// Asks a host everything once; the texts name what was answered though all should be refused.
std::vector<std::string> answersOf(host::Host& machine, const std::string& file) {
    std::vector<std::string> answered;
    const auto expect = [&answered](const char* operation, bool isRefused) {
        if (!isRefused) {
            answered.emplace_back(operation);
        }
    };
    host::CommandBuffer buffer = {};
    host::AddressWords words;
    host::SgIoRequest request;
    request.cdb.assign(6, 0);
    std::uint64_t bytes = 0;
    std::string text = "before";
    host::DeviceNumber number;
    expect("open", machine.openDevice(file, OpenMode::kReadOnly) == -EPERM);
    expect("send", machine.sendCommand(0, buffer) == -EPERM);
    expect("address", machine.addressWords(0, words) == -EPERM);
    expect("sg_io", machine.sgIo(0, request) == -EPERM);
    expect("size", machine.deviceSize(0, bytes) == -EPERM);
    const host::ReadResult read = machine.readFile(file);
    expect("read", read.openError == EPERM && read.content.empty());
    expect("append", machine.appendFile(file, "x").openError == EPERM);
    expect("exists", !machine.pathExists(file));
    expect("directory", !machine.isDirectory("/"));
    const host::DirectoryListing listing = machine.listDirectory("/");
    expect("list", listing.openError == EPERM && listing.names.empty());
    expect("link", machine.readLink("/proc/self", text) == -EPERM);
    expect("number", machine.deviceNumber("/dev/null", number) == -EPERM);
    expect("access", machine.writeAccess(file) == -EPERM);
    const host::CommandResult command = machine.runCommand("/bin/touch " + file + ".ran", 10);
    expect("command", command.waitStatus == 126 << 8 && command.lines.empty() && !command.timedOut);
    expect("shell", machine.runShell(": > " + file + ".shell") == 126 << 8);
    expect("semget", machine.openSemaphore(IPC_PRIVATE, 1, 0600) == -EPERM);
    expect("semop", machine.operateSemaphore(0, {{0, false, true}}) == -EPERM);
    expect("semctl", machine.semaphoreUser(0) == -EPERM);
    expect("release", machine.kernelRelease().empty());
    expect("name", machine.hostName(text) == -EPERM);
    const auto start = std::chrono::steady_clock::now();
    machine.sleepSeconds(60);
    expect("sleep", std::chrono::steady_clock::now() - start < std::chrono::seconds(30));
    return answered;
}

TEST(LiveHostRefusal, RefusesEveryOperationOnEveryThread) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("file", "content");
    const std::vector<std::string> none;
    {
        const host::LiveHostRefusal refusal;
        LinuxHost another;
        EXPECT_EQ(answersOf(another, path), none);
        EXPECT_EQ(answersOf(host::current(), path), none);
        std::vector<std::string> elsewhere = {"not run"};
        std::thread([&] { elsewhere = answersOf(host::current(), path); }).join();
        EXPECT_EQ(elsewhere, none);
        EXPECT_EQ(contentOf(path), "content");
        EXPECT_FALSE(std::filesystem::exists(path + ".ran"));
        EXPECT_FALSE(std::filesystem::exists(path + ".shell"));
    }
    EXPECT_EQ(host::current().readFile(path).content, "content");
}

TEST(LiveHostRefusal, HoldsUntilTheLastOneEnds) {
    LinuxHost machine;
    auto first = std::make_unique<host::LiveHostRefusal>();
    auto second = std::make_unique<host::LiveHostRefusal>();
    first.reset();
    EXPECT_FALSE(machine.pathExists("/"));
    std::thread([&second] { second.reset(); }).join();
    EXPECT_TRUE(machine.pathExists("/"));
}

TEST(LiveHostRefusal, ClosesWhatWasOpenedBefore) {
    LinuxHost machine;
    const int descriptor = machine.openDevice("/dev/null", OpenMode::kReadOnly);
    ASSERT_GE(descriptor, 0);
    const host::LiveHostRefusal refusal;
    EXPECT_EQ(machine.closeDevice(descriptor), 0);
    EXPECT_LT(::fcntl(descriptor, F_GETFD), 0);
}

}  // namespace
