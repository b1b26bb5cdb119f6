#include "scsitool/host/linux_host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
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

TEST(LinuxHost, ReadsFilesOfProcAndSysfs) {
    LinuxHost linuxHost;
    std::string content;
    EXPECT_EQ(linuxHost.readFile("/proc/self/status", content), 0);
    EXPECT_NE(content.find("Name:"), std::string::npos);
    EXPECT_EQ(linuxHost.readFile("/sys/kernel/mm/transparent_hugepage/enabled", content), 0);
    EXPECT_FALSE(content.empty());
}

TEST(LinuxHost, ReadsNoFileBeyondItsLimit) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("large", "");
    constexpr off_t kLimit = off_t{64} << 20;
    LinuxHost linuxHost;
    std::string content;
    ASSERT_EQ(::truncate(path.c_str(), kLimit), 0);
    EXPECT_EQ(linuxHost.readFile(path, content), 0);
    EXPECT_EQ(content.size(), static_cast<std::size_t>(kLimit));
    ASSERT_EQ(::truncate(path.c_str(), kLimit + 1), 0);
    EXPECT_EQ(linuxHost.readFile(path, content), -EFBIG);
}

TEST(LinuxHost, IsNotHeldUpByAFifo) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/fifo";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    LinuxHost linuxHost;
    std::string content;
    EXPECT_EQ(linuxHost.readFile(path, content), -EINVAL);
    EXPECT_NE(linuxHost.appendFile(path, "x").openError, 0);
    const host::Descriptor bothEnds(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(linuxHost.readFile(path, content), -EINVAL);
    EXPECT_EQ(linuxHost.appendFile(path, "x").openError, EINVAL);
}

TEST(LinuxHost, ReadsAndAppendsToFilesOnly) {
    LinuxHost linuxHost;
    std::string content;
    EXPECT_EQ(linuxHost.readFile("/dev/zero", content), -EINVAL);
    EXPECT_EQ(linuxHost.appendFile("/dev/null", "x").openError, EINVAL);
}

TEST(LinuxHost, PathWithANulIsInvalid) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("plain", "content") + "\0.conf"s;
    LinuxHost linuxHost;
    std::string content;
    EXPECT_EQ(linuxHost.openDevice(path, OpenMode::kReadOnly), -EINVAL);
    EXPECT_EQ(linuxHost.readFile(path, content), -EINVAL);
    EXPECT_EQ(linuxHost.appendFile(path, "x").openError, EINVAL);
    EXPECT_EQ(linuxHost.listDirectory(directory.path() + "\0"s).openError, EINVAL);
    EXPECT_EQ(linuxHost.readLink(path, content), -EINVAL);
    EXPECT_FALSE(linuxHost.pathExists(path));
    EXPECT_FALSE(linuxHost.isDirectory(directory.path() + "\0"s));
}

TEST(LinuxHost, AppendsBehindWhatIsThere) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("scsi", "first\n");
    LinuxHost linuxHost;
    const AppendResult result = linuxHost.appendFile(path, "second\0line\n"s);
    EXPECT_EQ(result.openError, 0);
    EXPECT_EQ(result.writeError, 0);
    EXPECT_EQ(contentOf(path), "first\nsecond\0line\n"s);
}

TEST(LinuxHost, TextThatIsRefusedIsAWriteError) {
    // The kernel takes nothing but numbers here.
    LinuxHost linuxHost;
    const AppendResult result = linuxHost.appendFile("/proc/self/oom_score_adj", "no number");
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
        {OpenMode::kReadOnlyNonBlocking, O_RDONLY | O_NONBLOCK}};
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

}  // namespace
