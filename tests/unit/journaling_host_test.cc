#include "recording/effects/journaling_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>

#include "recording/replay/recorded_host.h"
#include "scsitool/host/linux_host.h"
#include "temporary_directory.h"

namespace {

using recording::Journal;
using recording::JournalingHost;
using recording::RecordedHost;
using recording::RecordedHostData;

using Lines = std::vector<std::string>;

constexpr const char* kAppended = R"({"effect":"append","path":"/proc/scsi/scsi","data":"scsi\n"})";

/// Looks at the journal in the middle of an effect, and refuses opens as a test tells it to.
struct ObservingHost : host::ForwardingHost {
    using ForwardingHost::ForwardingHost;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override {
        if (openError != 0) {
            return {openError, 0};
        }
        return ForwardingHost::appendFile(path, text, [&] {
            beforeWrite();
            observe();
        });
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        observe();
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }
    int runShell(const std::string& line) override {
        observe();
        return ForwardingHost::runShell(line);
    }
    void sleepSeconds(unsigned seconds) override {
        observe();
        ForwardingHost::sleepSeconds(seconds);
    }
    int writeAccess(const std::string& path) override {
        return access != 0 ? access : ForwardingHost::writeAccess(path);
    }

    std::function<void()> observe = [] {};
    int openError = 0;
    int access = 0;
};

class JournalingHostTest : public testing::Test {
  protected:
    void build() {
        recorded = std::make_unique<RecordedHost>(data, innerJournal);
        inner = std::make_unique<ObservingHost>(*recorded);
        host = std::make_unique<JournalingHost>(*inner, journal);
    }

    RecordedHostData data;
    Journal innerJournal;
    Journal journal;
    std::unique_ptr<RecordedHost> recorded;
    std::unique_ptr<ObservingHost> inner;
    std::unique_ptr<JournalingHost> host;
};

TEST_F(JournalingHostTest, CarriesEveryEffectOutAndJournalsIt) {
    data.files["/proc/scsi/scsi"] = "";
    data.commands = {{"/sbin/multipath -F", {"busy"}, 1, 0, false}};
    build();
    EXPECT_EQ(host->appendFile("/proc/scsi/scsi", "scsi\n", {}).openError, 0);
    const host::CommandResult result = host->runCommand("/sbin/multipath -F", 600);
    EXPECT_EQ(result.waitStatus, 1 << 8);
    EXPECT_EQ(result.lines, Lines{"busy"});
    EXPECT_EQ(host->runShell("/bin/true"), 0);
    host->sleepSeconds(3);
    EXPECT_EQ(
        journal.lines(),
        (Lines{kAppended, R"({"effect":"command","command":"/sbin/multipath -F","timeout":600})",
               R"({"effect":"shell","command":"/bin/true"})",
               R"({"effect":"sleep","seconds":3})"}));
    EXPECT_EQ(innerJournal.lines(), journal.lines());
}

TEST_F(JournalingHostTest, WritesEachLineBeforeTheEffect) {
    data.files["/proc/scsi/scsi"] = "";
    build();
    std::vector<std::size_t> lines;
    inner->observe = [&] { lines.push_back(journal.lines().size()); };
    host->appendFile("/proc/scsi/scsi", "scsi\n", {});
    host->runCommand("/sbin/x", 600);
    host->runShell("x");
    host->sleepSeconds(1);
    EXPECT_EQ(lines, (std::vector<std::size_t>{1, 2, 3, 4}));
}

TEST_F(JournalingHostTest, LeavesOutACommandThatOnlyReads) {
    data.commands = {{"/bin/ls /x/", {"a"}, 0, 0, false}, {"/sbin/pidof y", {"7"}, 0, 0, false}};
    build();
    EXPECT_EQ(host->runCommand("/bin/ls /x/", 600).lines, Lines{"a"});
    EXPECT_EQ(host->runCommand("/sbin/pidof y", 600).lines, Lines{"7"});
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(JournalingHostTest, LeavesOutAnAppendWhoseFileDoesNotOpen) {
    data.files["/denied"].error = EACCES;
    data.directories["/proc/"] = {};
    data.devices["/dev/sda"].number = {host::DeviceNumber::Kind::kBlock, 8, 0};
    build();
    for (const auto& [path, error] : std::vector<std::pair<const char*, int>>{
             {"/absent", ENOENT}, {"/denied", EACCES}, {"/proc/", EISDIR}, {"/dev/sda", EINVAL}}) {
        EXPECT_EQ(host->appendFile(path, "x", {}).openError, error) << path;
    }
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(JournalingHostTest, JournalsAnAppendThatIsRefusedAfterTheOpen) {
    // It was attempted, and the kernel may have done part of it.
    host::LinuxHost machine;
    JournalingHost live(machine, journal);
    const host::AppendResult result = live.appendFile("/proc/self/oom_score_adj", "no number", {});
    EXPECT_EQ(result.openError, 0);
    EXPECT_EQ(result.writeError, EINVAL);
    EXPECT_EQ(journal.lines().size(), 1U);
}

TEST_F(JournalingHostTest, JournalsAnAppendThatTheRightsDidNotPromise) {
    data.files["/proc/scsi/scsi"] = "";
    build();
    inner->access = -EACCES;
    EXPECT_EQ(host->appendFile("/proc/scsi/scsi", "scsi\n", {}).openError, 0);
    EXPECT_EQ(journal.lines(), Lines{kAppended});
}

TEST_F(JournalingHostTest, LeavesOutAnAppendWhoseOpenIsRefusedAgainstTheRights) {
    data.files["/proc/scsi/scsi"] = "";
    build();
    inner->openError = EPERM;
    EXPECT_EQ(host->appendFile("/proc/scsi/scsi", "scsi\n", {}).openError, EPERM);
    EXPECT_EQ(journal.lines(), Lines{});
}

}  // namespace
