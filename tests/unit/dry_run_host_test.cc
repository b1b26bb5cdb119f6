#include "recording/effects/dry_run_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "recording/replay/recorded_host.h"
#include "scsitool/host/linux_host.h"
#include "temporary_directory.h"

namespace {

using recording::DryRunHost;
using recording::Journal;
using recording::RecordedHost;
using recording::RecordedHostData;

using Lines = std::vector<std::string>;

/// The inner journal shows what got through to the inner host.
class DryRunHostTest : public testing::Test {
  protected:
    void build() {
        inner = std::make_unique<RecordedHost>(data, innerJournal);
        host = std::make_unique<DryRunHost>(*inner, journal);
    }

    RecordedHostData data;
    Journal innerJournal;
    Journal journal;
    std::unique_ptr<RecordedHost> inner;
    std::unique_ptr<DryRunHost> host;
};

TEST_F(DryRunHostTest, JournalsACommandAndDoesNotRunIt) {
    data.commands = {{"/sbin/multipath -F", {"busy"}, 1, 0, false}};
    build();
    const host::CommandResult result = host->runCommand("/sbin/multipath -F", 600);
    EXPECT_EQ(result.lines, Lines{});
    EXPECT_EQ(result.waitStatus, 0);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(journal.lines(),
              Lines{R"({"effect":"command","command":"/sbin/multipath -F","timeout":600})"});
    EXPECT_EQ(innerJournal.lines(), Lines{});
}

TEST_F(DryRunHostTest, PassesACommandThatOnlyReadsOn) {
    data.commands = {{"/bin/ls /sys/class/fc_host/", {"host5"}, 0, 0, false},
                     {"/sbin/pidof multipathd", {"712"}, 0, 0, false}};
    build();
    EXPECT_EQ(host->runCommand("/bin/ls /sys/class/fc_host/", 600).lines, Lines{"host5"});
    EXPECT_EQ(host->runCommand("/sbin/pidof multipathd", 600).lines, Lines{"712"});
    EXPECT_EQ(journal.lines(), Lines{});
    EXPECT_EQ(innerJournal.lines().size(), 2U);
}

TEST_F(DryRunHostTest, JournalsAnAppendAndDoesNotWriteIt) {
    data.files["/proc/scsi/scsi"] = "Attached devices:\n";
    build();
    const host::AppendResult result = host->appendFile("/proc/scsi/scsi", "scsi\n", {});
    EXPECT_EQ(result.openError, 0);
    EXPECT_EQ(result.writeError, 0);
    EXPECT_EQ(journal.lines(),
              Lines{R"({"effect":"append","path":"/proc/scsi/scsi","data":"scsi\n"})"});
    EXPECT_EQ(innerJournal.lines(), Lines{});
}

TEST_F(DryRunHostTest, FailsToAppendWhereTheInnerHostWould) {
    data.files["/io"].error = EIO;
    data.files["/denied"].error = EACCES;
    data.files["/readonly"].error = EROFS;
    data.directories["/proc/"] = {};
    data.devices["/dev/sda"].number = {host::DeviceNumber::Kind::kBlock, 8, 0};
    data.devices["/dev/sg0"].number = {host::DeviceNumber::Kind::kCharacter, 21, 0};
    data.links = {{"/dangling", "absent"}, {"/loop", "loop"}};
    build();
    for (const char* path : {"/absent", "/io", "/denied", "/readonly", "/proc", "/proc/",
                             "/dev/sda", "/dev/sg0", "/dangling", "/loop", ""}) {
        const int error = inner->appendFile(path, "x", {}).openError;
        EXPECT_NE(error, 0) << path;
        EXPECT_EQ(host->appendFile(path, "x", {}).openError, error) << path;
    }
    EXPECT_EQ(journal.lines(), Lines{});
    EXPECT_EQ(innerJournal.lines(), Lines{});
}

/// An attribute as sysfs has it: it takes a command and cannot be read.
struct WriteOnlyHost : host::ForwardingHost {
    using ForwardingHost::ForwardingHost;
    host::ReadResult readFile(const std::string& /*path*/) override { return {EACCES, 0, {}}; }
};

TEST_F(DryRunHostTest, AppendsToAFileThatMayOnlyBeWritten) {
    data.files["/sys/class/scsi_host/host0/scan"] = "";
    build();
    WriteOnlyHost writeOnly(*inner);
    DryRunHost dry(writeOnly, journal);
    EXPECT_EQ(dry.appendFile("/sys/class/scsi_host/host0/scan", "- - -\n", {}).openError, 0);
    EXPECT_EQ(
        journal.lines(),
        Lines{R"({"effect":"append","path":"/sys/class/scsi_host/host0/scan","data":"- - -\n"})"});
}

TEST_F(DryRunHostTest, AppendsWithoutTheRightAsTheMachineWould) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("readonly", "");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    host::LinuxHost machine;
    DryRunHost dry(machine, journal);
    EXPECT_EQ(dry.appendFile(path, "", {}).openError, machine.appendFile(path, "", {}).openError);
    EXPECT_EQ(dry.appendFile("/dev/null", "", {}).openError,
              machine.appendFile("/dev/null", "", {}).openError);
}

TEST_F(DryRunHostTest, JournalsAShellLineAndAPauseAndDoesNeither) {
    build();
    EXPECT_EQ(host->runShell("/bin/false"), 0);
    host->sleepSeconds(3600);
    EXPECT_EQ(journal.lines(), (Lines{R"({"effect":"shell","command":"/bin/false"})",
                                      R"({"effect":"sleep","seconds":3600})"}));
    EXPECT_EQ(innerJournal.lines(), Lines{});
}

TEST_F(DryRunHostTest, PassesReadsOn) {
    data.files["/etc/x"] = "content";
    data.directories["/dev/"] = {".", ".."};
    data.devices["/dev/sda"].standardInquiry = recording::Bytes{0, 0, 6};
    data.devices["/dev/sda"].sizeBytes = 512;
    data.hostName = "db01";
    data.kernelRelease = "2.4.21";
    build();
    EXPECT_EQ(host->readFile("/etc/x").content, "content");
    EXPECT_TRUE(host->pathExists("/etc/x"));
    EXPECT_TRUE(host->isDirectory("/dev"));
    EXPECT_EQ(host->listDirectory("/dev/").names, (Lines{".", ".."}));
    const int descriptor = host->openDevice("/dev/sda", host::OpenMode::kReadOnly);
    std::uint64_t bytes = 0;
    EXPECT_EQ(host->deviceSize(descriptor, bytes), 0);
    EXPECT_EQ(bytes, 512U);
    EXPECT_EQ(host->closeDevice(descriptor), 0);
    std::string text;
    EXPECT_EQ(host->hostName(text), 0);
    EXPECT_EQ(text, "db01");
    EXPECT_EQ(host->kernelRelease(), "2.4.21");
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(DryRunHostTest, SharesOneJournalWithARecordedHostWithoutWritingTwice) {
    data.commands = {{"/bin/ls /x/", {}, 0, 0, false}, {"/sbin/x", {}, 0, 0, false}};
    data.files["/f"] = "";
    RecordedHost recorded(data, journal);
    DryRunHost dry(recorded, journal);
    dry.runCommand("/bin/ls /x/", 600);
    dry.runCommand("/sbin/x", 600);
    dry.appendFile("/f", "x", {});
    dry.runShell("y");
    dry.sleepSeconds(1);
    dry.runCommand("/bin/ls /y/", 600);
    EXPECT_EQ(journal.lines(),
              (Lines{R"({"effect":"command","command":"/bin/ls /x/","timeout":600})",
                     R"({"effect":"command","command":"/sbin/x","timeout":600})",
                     R"({"effect":"append","path":"/f","data":"x"})",
                     R"({"effect":"shell","command":"y"})", R"({"effect":"sleep","seconds":1})",
                     R"({"effect":"command","command":"/bin/ls /y/","timeout":600})",
                     R"({"effect":"unanswered","what":"command /bin/ls /y/"})"}));
}

}  // namespace
