#include <cerrno>

#include "cli/common/changes.h"
#include "cli/common/removed_addresses.h"
#include "cli_harness.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::smallHost;
using test::TempFolder;

constexpr const char* kScript = "/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d";
constexpr const char* kJournaledScript =
    R"({"effect":"command","command":"/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d","timeout":600})";

recording::RecordedHostData hostWithScript() {
    recording::RecordedHostData data = smallHost();
    data.files["/bin/rescan-scsi-bus.sh"] = "";
    data.commands = {{kScript, {"Scanning SCSI subsystem"}}};
    return data;
}

const std::string kNotComplete = "scsitool: the rescan is not complete: ";

TEST(CliRescan, RunsExactlyTheBusRescan) {
    CliMachine machine(hostWithScript());
    const CliResult result = machine.run({"rescan"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "Scanning SCSI subsystem\n");
    EXPECT_THAT(machine.journal(), testing::ElementsAre(kJournaledScript));
}

TEST(CliRescan, ArgumentsFollowWithABlank) {
    CliMachine machine(hostWithScript());
    machine.run({"rescan", "--", "--hosts=1", "-l"});
    EXPECT_THAT(machine.journal(),
                testing::Contains(testing::HasSubstr("--issue-lip -d --hosts=1 -l\"")));
}

TEST(CliRescan, DevicesPassesRescanArgumentsOn) {
    CliMachine machine(hostWithScript());
    machine.run({"devices", "--rescan", "--rescan-args=--hosts=1"});
    EXPECT_THAT(machine.journal(),
                testing::Contains(testing::HasSubstr("--issue-lip -d --hosts=1\"")));
}

// Lines of one size, as many as fill the memory that is kept of them and `more`.
std::vector<std::string> linesThatFill(std::size_t lineSize, std::size_t more = 0) {
    const std::size_t cost = sizeof(std::string) + lineSize;
    return std::vector<std::string>(cli::WatchedHost::kMostOutput / cost + more,
                                    std::string(lineSize, 'x'));
}

constexpr std::size_t kLineSize = 32768 - sizeof(std::string);

TEST(CliRescan, AllOfTheOutputIsToldAsFarAsItIsKept) {
    recording::RecordedHostData data = hostWithScript();
    data.commands = {{kScript, linesThatFill(kLineSize)}};
    CliMachine machine(data);
    const auto command = machine.run({"rescan", "--json"}).json()["commands"][0];
    EXPECT_EQ(command["output"].size(), 128U);
    EXPECT_EQ(command.count("lines_left_out"), 0U);
}

TEST(CliRescan, OfVeryMuchOutputTheBeginningIsKeptAndTheRestCounted) {
    recording::RecordedHostData data = hostWithScript();
    data.commands = {{kScript, linesThatFill(kLineSize, 3)}};
    CliMachine machine(data);
    const auto command = machine.run({"rescan", "--json"}).json()["commands"][0];
    EXPECT_EQ(command["output"].size(), 128U);
    EXPECT_EQ(command["lines_left_out"], 3);
    const std::string text = CliMachine(data).run({"rescan"}).out;
    EXPECT_THAT(text, testing::EndsWith("x\n(3 more lines)\n"));
}

TEST(CliRescan, WhatIsKeptIsBoundedForAllCommandsTogether) {
    recording::RecordedHostData data;
    data.commands = {{kScript, linesThatFill(kLineSize)}};
    recording::Journal journal;
    recording::RecordedHost host(data, journal);
    cli::WatchedHost watch(host, {});
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(watch.runCommand(kScript, 1).lines.size(), 128U) << "what it hands on is whole";
    }
    EXPECT_EQ(watch.commands()[0].linesLeftOut, 0U);
    EXPECT_EQ(watch.commands()[1].linesLeftOut, 128U);
}

// What the guard refused did not run, also when nothing of what it said is kept.
TEST(CliRescan, ARefusalIsKnownAlsoWhenItsLinesAreNotKept) {
    recording::RecordedHostData data;
    data.commands = {{kScript, linesThatFill(kLineSize)},
                     {"/sbin/multipath -F", {"refused: it is mounted"}, EBUSY},
                     {"/sbin/multipath -v0", {"device busy", "refused: it is mounted"}, EBUSY},
                     {"/sbin/multipath -ll", {"refused: it is mounted"}, 1}};
    recording::Journal journal;
    recording::RecordedHost host(data, journal);
    cli::WatchedHost watch(host, {});
    for (const char* const command :
         {kScript, kScript, "/sbin/multipath -F", "/sbin/multipath -v0", "/sbin/multipath -ll"}) {
        watch.runCommand(command, 1);
    }
    EXPECT_EQ(watch.commands()[2].linesLeftOut, 1U);
    EXPECT_TRUE(watch.commands()[2].isRefused);
    EXPECT_FALSE(watch.commands()[1].isRefused);
    EXPECT_FALSE(watch.commands()[3].isRefused) << "another's words";
    EXPECT_FALSE(watch.commands()[4].isRefused) << "another's exit status";
}

TEST(CliRescan, TheLastLineIsToldAlsoWhenItIsNotKept) {
    recording::RecordedHostData data = hostWithScript();
    std::vector<std::string> lines = linesThatFill(kLineSize, 3);
    lines.insert(lines.end(), {"no such host", " \t\r", ""});
    data.commands = {{kScript, lines, 1}};
    CliMachine machine(data);
    EXPECT_EQ(machine.run({"rescan"}).err,
              kNotComplete + kScript + " ended with exit status 1: no such host\n");
}

TEST(CliRescan, AMissingScriptIsNamed) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"rescan", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: rescan-scsi-bus.sh is neither in /bin nor in /usr/bin; install sg3-utils "
              "(Debian, Ubuntu) or sg3_utils (Red Hat, SUSE)\n");
    EXPECT_EQ(result.json()["result"], 6);
}

TEST(CliRescan, AFailingScriptIsShownWithItsLastLine) {
    recording::RecordedHostData data = hostWithScript();
    data.commands = {{kScript, {"first", "no \x1b[1mroot", ""}, 3}};
    CliMachine machine(data);
    const CliResult result = machine.run({"rescan"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "first\nno root\n\n");
    EXPECT_EQ(result.err, kNotComplete + kScript + " ended with exit status 3: no root\n");
}

TEST(CliRescan, HowTheScriptEndedIsTold) {
    recording::RecordedCommand ended;
    ended.command = kScript;
    ended.timedOut = true;
    recording::RecordedHostData data = hostWithScript();
    data.commands = {ended};
    CliMachine timedOut(data);
    EXPECT_EQ(timedOut.run({"rescan"}).err,
              kNotComplete + kScript + " was ended at its time limit\n");
    ended.timedOut = false;
    ended.signal = 11;
    data.commands = {ended};
    CliMachine killed(data);
    const CliResult result = killed.run({"rescan", "--json"});
    EXPECT_EQ(result.err, kNotComplete + kScript + " was killed by signal 11\n");
    EXPECT_EQ(result.json()["commands"][0].dump(),
              std::string(R"({"command":")") + kScript + R"(","signal":11,"output":[]})");
}

TEST(CliRescan, ChangesAreEnumeratedBeforeAndAfter) {
    recording::RecordedHostData data = hostWithScript();
    std::string& disks = data.files["/proc/partitions"].content;
    disks.erase(disks.find("   8       32"));
    CliMachine machine(data);
    const CliResult result = machine.run({"rescan", "--changes", "--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.json()["changes"].dump(),
              R"({"appeared":[],"disappeared":[],"differences":[]})");
    EXPECT_EQ(machine.run({"rescan", "--changes"}).out, "Scanning SCSI subsystem\n\nno change\n");
}

// It seems to have come or gone when it answers at one of the two looks alone.
TEST(CliRescan, ChangesTellWhatDoesNotAnswer) {
    CliMachine machine(hostWithScript());
    const CliResult result = machine.run({"rescan", "--changes"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "Scanning SCSI subsystem\n\nno change\n");
    EXPECT_EQ(result.err, "scsitool: 1 of 3 disks did not answer: /dev/sdc\n");
}

TEST(CliRescan, AnAdapterListOfA24KernelThatFailsIsTold) {
    recording::RecordedHostData data;
    data.kernelRelease = "2.4.21";
    data.files["/proc/scsi/scsi"] = "";
    data.files["/proc/scsi/qla2300/1"] = "";
    data.commands = {{"/bin/ls /proc/scsi", {"qla2300"}}, {"/bin/ls /proc/scsi/qla2300", {}, 2}};
    CliMachine machine(data);
    const CliResult result = machine.run({"rescan"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, kNotComplete + "/bin/ls /proc/scsi/qla2300 ended with exit status 2\n");
}

// Refuses what is written to an adapter of a 2.4 kernel.
class DeafAdapterHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override {
        return path == "/proc/scsi/qla2300/1" ? host::AppendResult{EACCES, 0}
                                              : ForwardingHost::appendFile(path, text, beforeWrite);
    }
};

TEST(CliRescan, AnAdapterOfA24KernelThatTakesNoScanIsTold) {
    recording::RecordedHostData data;
    data.kernelRelease = "2.4.21";
    data.files["/proc/scsi/scsi"] = "";
    data.files["/proc/scsi/qla2300/1"] = "";
    data.commands = {{"/bin/ls /proc/scsi", {"qla2300"}}, {"/bin/ls /proc/scsi/qla2300", {"1"}}};
    recording::Journal journal;
    recording::RecordedHost machine(data, journal);
    DeafAdapterHost host(machine);
    const std::vector<std::string> words = {"--jobs", "1", "--deadline", "0", "rescan"};
    EXPECT_EQ(test::runCli(words, machine).status, 0);
    const CliResult result = test::runCli(words, host);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, kNotComplete + "/proc/scsi/qla2300/1: Permission denied\n");
}

// A disk that is there from the rescan on.
struct GrowingHost : recording::RecordedHost {
    GrowingHost(recording::RecordedHostData data, recording::Journal& journal)
        : RecordedHost(std::move(data), journal) {}
    host::CommandResult runCommand(const std::string& command, int seconds) override {
        m_grown = true;
        return RecordedHost::runCommand(command, seconds);
    }
    host::ReadResult readFile(const std::string& path) override {
        host::ReadResult result = RecordedHost::readFile(path);
        if (path == "/proc/partitions" && !m_grown) {
            result.content = "   8        0    1048576 sda\n";
        }
        return result;
    }
    bool m_grown = false;
};

TEST(CliRescan, ChangesShowANewPathByItsUdid) {
    recording::RecordedHostData data = hostWithScript();
    data.directories.clear();
    recording::Journal journal;
    GrowingHost host(data, journal);
    const CliResult result = test::runCli({"rescan", "--changes"}, host);
    EXPECT_EQ(result.out,
              "Scanning SCSI subsystem\n\n"
              "CHANGE    OF    UDID                                      DEVICES\n"
              "appeared  path  UDID##ACME##DISK##AB12##5000C50012345678  /dev/sdb\n");
}

// Its disks do not tell their pages from the rescan on.
class ForgettingHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    host::CommandResult runCommand(const std::string& command, int seconds) override {
        m_isLater = m_isLater || command.find("rescan-scsi-bus") != std::string::npos;
        return ForwardingHost::runCommand(command, seconds);
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        const bool asksForPage = (buffer[9] & 1) != 0;
        return m_isLater && asksForPage ? -EIO : ForwardingHost::sendCommand(descriptor, buffer);
    }

  private:
    bool m_isLater = false;
};

TEST(CliRescan, ChangesMarkAUdidThatIsMadeOfThePath) {
    recording::RecordedHostData data = hostWithScript();
    data.directories.clear();
    data.hostName = "h";
    recording::Journal journal;
    recording::RecordedHost machine(data, journal);
    ForgettingHost host(machine);
    const CliResult result =
        test::runCli({"--jobs", "1", "--deadline", "0", "rescan", "--changes"}, host);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, testing::HasSubstr("answered in part: /dev/sda /dev/sdb"));
    EXPECT_THAT(result.out, testing::HasSubstr("/DEV/SDA@H (this path at this host only)"));
    EXPECT_THAT(result.out, testing::HasSubstr("UDID##ACME##DISK##AB12##5000C50012345678  "));
}

// Up to the rescan one path of a volume has half the size of the others.
class SettlingHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    host::CommandResult runCommand(const std::string& command, int seconds) override {
        m_isLater = m_isLater || command.find("rescan-scsi-bus") != std::string::npos;
        return ForwardingHost::runCommand(command, seconds);
    }
    int openDevice(const std::string& path, host::OpenMode mode) override {
        const int descriptor = ForwardingHost::openDevice(path, mode);
        m_half = path == "/dev/sdb" ? descriptor : m_half;
        return descriptor;
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        const int result = ForwardingHost::deviceSize(descriptor, bytes);
        bytes /= descriptor == m_half && !m_isLater ? 2 : 1;
        return result;
    }

  private:
    int m_half = -1;
    bool m_isLater = false;
};

TEST(CliRescan, WhatContradictedItselfBeforeTheRescanIsTold) {
    recording::RecordedHostData data = hostWithScript();
    recording::Journal journal;
    recording::RecordedHost machine(data, journal);
    SettlingHost host(machine);
    const CliResult result =
        test::runCli({"--jobs", "1", "--deadline", "0", "rescan", "--changes"}, host);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, testing::HasSubstr("differ in size: "));
    EXPECT_THAT(result.err, testing::HasSubstr("1 of 3 disks did not answer: /dev/sdc\n"));
}

// Its disks have twice their size from the rescan on.
class DoublingHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    host::CommandResult runCommand(const std::string& command, int seconds) override {
        m_isLater = m_isLater || command.find("rescan-scsi-bus") != std::string::npos;
        m_isSettled =
            m_isSettled || (m_isLater && command == "/usr/bin/udevadm settle --timeout=30");
        return ForwardingHost::runCommand(command, seconds);
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        const int result = ForwardingHost::deviceSize(descriptor, bytes);
        bytes *= m_isLater ? 2 : 1;
        return result;
    }
    bool isSettled() const { return m_isSettled; }

  private:
    bool m_isLater = false;
    bool m_isSettled = false;
};

TEST(CliRescan, ChangesShowGrowthBehindWhatUdevHasToDo) {
    recording::RecordedHostData data = hostWithScript();
    data.files["/usr/bin/udevadm"] = "";
    recording::Journal journal;
    recording::RecordedHost machine(data, journal);
    DoublingHost host(machine);
    const CliResult result =
        test::runCli({"--jobs", "1", "--deadline", "0", "rescan", "--changes"}, host);
    EXPECT_EQ(result.out,
              "Scanning SCSI subsystem\n\n"
              "CHANGE  VOLUME              WHAT                UDID\n"
              "grown   /dev/mapper/mpatha  1.0 GiB -> 2.0 GiB  "
              "UDID##ACME##DISK##AB12##5000C50012345678\n");
    EXPECT_TRUE(host.isSettled());
}

// A machine whose second disk is listed after some seconds of sleep.
class LateHost : public recording::RecordedHost {
  public:
    LateHost(recording::RecordedHostData data, recording::Journal& journal, unsigned seconds)
        : RecordedHost(std::move(data), journal), m_seconds(seconds) {}
    host::ReadResult readFile(const std::string& path) override {
        host::ReadResult result = RecordedHost::readFile(path);
        if (path == "/proc/partitions" && m_slept < m_seconds) {
            result.content.clear();
        }
        return result;
    }
    void sleepSeconds(unsigned seconds) override {
        m_slept += seconds;
        ++m_pauses;
    }
    unsigned slept() const { return m_slept; }
    unsigned pauses() const { return m_pauses; }

  private:
    unsigned m_seconds;
    unsigned m_slept = 0;
    unsigned m_pauses = 0;
};

CliResult waitOn(unsigned seconds, const std::vector<std::string>& options, unsigned& slept,
                 unsigned& pauses) {
    recording::RecordedHostData data = hostWithScript();
    data.directories.clear();
    recording::Journal journal;
    LateHost host(data, journal, seconds);
    std::vector<std::string> arguments = {"--jobs", "1", "--deadline", "0", "rescan"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    CliResult result = test::runCli(arguments, host);
    slept = host.slept();
    pauses = host.pauses();
    return result;
}

TEST(CliWait, EndsWhenTheVolumeIsThere) {
    const std::string udid = "udid##acme##disk##ab12##5000c50012345678";
    unsigned slept = 0;
    unsigned pauses = 0;
    const CliResult at_once = waitOn(0, {"--wait", udid}, slept, pauses);
    EXPECT_EQ(at_once.status, 0) << at_once.err;
    EXPECT_EQ(slept, 0U);
    EXPECT_EQ(at_once.out, "Scanning SCSI subsystem\n" + udid + " is there: /dev/sda /dev/sdb\n");
    const CliResult later = waitOn(7, {"--wait", udid, "--timeout", "20", "--json"}, slept, pauses);
    EXPECT_EQ(later.status, 0) << later.err;
    EXPECT_EQ(slept, 10U);  // 1 + 2 + 3 + 4
    EXPECT_EQ(later.json()["waited"]["devices"].dump(), R"(["/dev/sda","/dev/sdb"])");
}

TEST(CliWait, FailsAtItsTimeLimitAndSleepsUntilThen) {
    unsigned slept = 0;
    unsigned pauses = 0;
    const CliResult result = waitOn(0, {"--wait", "U", "--timeout", "12"}, slept, pauses);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "scsitool: U did not appear in 12 s\n");
    EXPECT_EQ(slept, 12U);
    EXPECT_EQ(pauses, 5U);  // 1, 2, 3, 4 and what was left
    EXPECT_EQ(waitOn(0, {"--wait", "U", "--timeout", "0"}, slept, pauses).status, 1);
    EXPECT_EQ(slept, 0U);
}

TEST(CliWait, WhatIsWrongWithItsOptions) {
    CliMachine machine(smallHost());
    EXPECT_EQ(machine.run({"rescan", "--wait", ""}).err,
              "scsitool: --wait: expected a UDID, found an empty argument\n");
    EXPECT_EQ(machine.run({"rescan", "--wait", "U", "--timeout", "86401"}).err,
              "scsitool: --timeout 86401: expected a number from 0 to 86400\n");
    EXPECT_EQ(machine.run({"rescan", "--timeout", "5"}).status, 2);
    EXPECT_EQ(machine.run({"--dry-run", "rescan", "--wait", "U"}).status,
              machine.run({"--dry-run", "rescan"}).status);
}

TEST(CliChanges, CompareByUdidAndTellVolumesFromPaths) {
    const auto entry = [](const std::string& udid) {
        SDeviceInfo info;
        info.uid = udid;
        return info;
    };
    const DeviceMap before = {{"a", entry("1")}, {"b", entry("1")}, {"c", entry("2")}};
    const DeviceMap after = {{"a", entry("1")}, {"c", entry("3")}, {"d", entry("3")}};
    const cli::Changes changes = cli::compareMaps(before, after);
    EXPECT_EQ(cli::changesJson(changes).dump(),
              R"({"appeared":[{"udid":"3","devices":["c","d"],"identity":"unit",)"
              R"("whole_volume":true}],)"
              R"("disappeared":[{"udid":"1","devices":["b"],"identity":"unit",)"
              R"("whole_volume":false},)"
              R"({"udid":"2","devices":["c"],"identity":"unit","whole_volume":true}]})");
    EXPECT_EQ(cli::changesText(cli::compareMaps(before, before), {}), "no change\n");
}

TEST(CliChanges, AUdidOfAPathIsMarked) {
    const cli::Changes changes = {
        {{"U##/DEV/SDA@H", {"/dev/sda"}, true, true}},
        {{"U##1", {"/dev/sda"}, true, false}, {"", {"/dev/sdb"}, true, false}}};
    EXPECT_EQ(cli::changesText(changes, {}),
              "CHANGE       OF      UDID                                         DEVICES\n"
              "appeared     volume  U##/DEV/SDA@H (this path at this host only)  /dev/sda\n"
              "disappeared  volume  U##1                                         /dev/sda\n"
              "disappeared  volume  -                                            /dev/sdb\n");
    EXPECT_EQ(cli::changesJson(changes)["appeared"][0]["identity"], "path");
    EXPECT_EQ(cli::changesJson(changes)["disappeared"][0]["identity"], "unit");
    EXPECT_EQ(cli::changesJson(changes)["disappeared"][1]["identity"], "none");
}

TEST(CliDryRun, ShowsWhatItWouldDoInOrderAndDoesNoneOfIt) {
    recording::RecordedHostData data = smallHost();
    data.files["/proc/scsi/scsi"] = "";
    data.files["/sys/class/scsi_device/2:0:5:1/device/delete"] = "";
    data.directories["/sys/class/scsi_device/"] = {".", "..", "2:0:5:1"};
    data.directories["/sys/class/scsi_device/2:0:5:1/device/"] = {".", "..", "delete"};
    data.directories["/proc/"] = {".", ".."};
    data.directories["/dev/"] = {".", ".."};
    data.directories["/sys/class/block/"] = {".", ".."};
    data.files["/proc/self/mountinfo"] = "";
    data.files["/sys/class/scsi_host/host2/scan"] = "";
    CliMachine machine(data);
    const CliResult result = machine.run({"--dry-run", "remove-address", "2", "0", "5", "1"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out,
              "would write \"scsi remove-single-device 2 0 5 1\\n\" to /proc/scsi/scsi\n"
              "would write \"1\" to /sys/class/scsi_device/2:0:5:1/device/delete\n"
              "would write \"0 5 1\\n\" to /sys/class/scsi_host/host2/scan\n"
              "\n2:0:5:1 is no disk with a node, no product, no UDID\n");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliDryRun, JsonHasTheJournal) {
    CliMachine machine(hostWithScript());
    const auto document = machine.run({"--dry-run", "rescan", "--json"}).json();
    EXPECT_EQ(document["journal"].dump(), std::string("[") + kJournaledScript + "]");
    EXPECT_FALSE(document.contains("commands"));
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliDryRun, APauseIsShown) {
    recording::RecordedHostData data;
    data.kernelRelease = "2.4.21";
    data.files["/proc/scsi/scsi"] = "";
    data.files["/proc/scsi/qla2300/1"] = "";
    data.commands = {{"/bin/ls /proc/scsi", {"qla2300"}}, {"/bin/ls /proc/scsi/qla2300", {"1"}}};
    CliMachine machine(data);
    const CliResult result = machine.run({"--dry-run", "rescan"});
    EXPECT_THAT(result.out, testing::StartsWith("would write \"scsi-qlascan\\n\" to "
                                                "/proc/scsi/qla2300/1\nwould pause 3 s\n"));
}

TEST(CliDryRun, WithAJournalFileTheJournalGoesThere) {
    const TempFolder folder;
    CliMachine machine(hostWithScript());
    const std::vector<std::string> arguments = {"--dry-run", "--journal", folder.path("journal"),
                                                "rescan"};
    const CliResult result = machine.run(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(test::effectsOf(folder.read("journal"), arguments),
              std::string(kJournaledScript) + "\n");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliJournal, ALiveHostsEffectsAreJournaledAndCarriedOut) {
    const TempFolder folder;
    CliMachine machine(hostWithScript());
    const std::vector<std::string> arguments = {"--journal", folder.path("journal"), "rescan"};
    machine.run(arguments);
    const std::string journal = folder.read("journal");
    EXPECT_THAT(journal, testing::StartsWith(R"({"run":{"version":)"));
    EXPECT_EQ(test::effectsOf(journal, arguments), std::string(kJournaledScript) + "\n");
    EXPECT_THAT(machine.journal(), testing::ElementsAre(kJournaledScript));
}

TEST(CliJournal, IsAppendedToWhatIsThere) {
    const TempFolder folder;
    CliMachine machine(hostWithScript());
    folder.write("journal", "{\"effect\":\"sleep\",\"seconds\":1}\n");
    const std::vector<std::string> arguments = {"--journal", folder.path("journal"), "rescan"};
    machine.run(arguments);
    machine.run(arguments);
    const std::string once = std::string(kJournaledScript) + "\n";
    EXPECT_EQ(test::effectsOf(folder.read("journal"), arguments),
              "{\"effect\":\"sleep\",\"seconds\":1}\n" + once + once);
}

TEST(CliJournal, ARunWithoutEffectsStandsInItToo) {
    const TempFolder folder;
    CliMachine machine(smallHost());
    const std::vector<std::string> arguments = {"--journal", folder.path("journal"), "disks"};
    machine.run(arguments);
    const std::string journal = folder.read("journal");
    EXPECT_EQ(std::count(journal.begin(), journal.end(), '\n'), 1);
    EXPECT_EQ(test::effectsOf(journal, arguments), "");
}

TEST(CliJournal, ThatTakesNothingStopsTheCommandBeforeItActs) {
    CliMachine machine(hostWithScript());
    const CliResult result = machine.run({"--journal", "/dev/full", "rescan"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "scsitool: /dev/full: cannot write the journal file; it ends early\n");
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliJournal, DashIsStandardError) {
    CliMachine machine(hostWithScript());
    EXPECT_EQ(test::effectsOf(machine.run({"--journal", "-", "rescan"}).err,
                              {"--journal", "-", "rescan"}),
              std::string(kJournaledScript) + "\n");
}

TEST(CliIscsi, IqnIsShown) {
    recording::RecordedHostData data;
    data.files["/sbin/iscsiadm"] = "";
    data.files["/etc/iscsi/initiatorname.iscsi"] = "InitiatorName=iqn.2003-01.org.example:db01\n";
    CliMachine machine(data);
    EXPECT_EQ(machine.run({"iscsi", "iqn"}).out, "iqn.2003-01.org.example:db01\n");
    const auto document = machine.run({"iscsi", "iqn", "--json"}).json();
    EXPECT_EQ(document["result"], 0);
    EXPECT_EQ(document["iqn"], "iqn.2003-01.org.example:db01");
}

TEST(CliIscsi, WhatIsMissingForTheIqnIsNamed) {
    recording::RecordedHostData data;
    CliMachine none(data);
    EXPECT_EQ(none.run({"iscsi", "iqn"}).err,
              "scsitool: there is no /sbin/iscsiadm; install open-iscsi (Debian, Ubuntu, SUSE) or "
              "iscsi-initiator-utils (Red Hat)\n");
    data.files["/sbin/iscsiadm"] = "";
    CliMachine noFile(data);
    EXPECT_EQ(noFile.run({"iscsi", "iqn"}).err,
              "scsitool: /etc/iscsi/initiatorname.iscsi: No such file or directory\n");
    data.files["/etc/iscsi/initiatorname.iscsi"] = "# none\n";
    CliMachine noName(data);
    const CliResult result = noName.run({"iscsi", "iqn", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.json()["result"], 0);
    EXPECT_EQ(result.json()["error"], "/etc/iscsi/initiatorname.iscsi has no InitiatorName");
}

TEST(CliIscsi, DiscoveryPrintsTheTargets) {
    recording::RecordedHostData data;
    data.commands = {{"/sbin/iscsiadm -m discovery -t sendtargets -p 10.0.0.5:3260",
                      {"10.0.0.5:3260,1 iqn.2003-01.org.example:a"}}};
    CliMachine machine(data);
    const CliResult result = machine.run({"iscsi", "discover", "10.0.0.5:3260"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "10.0.0.5:3260,1 iqn.2003-01.org.example:a\n");
}

TEST(CliIscsi, AFailedCommandIsAFailureThoughTheLibraryGivesZero) {
    recording::RecordedHostData data;
    data.commands = {{"/sbin/iscsiadm -m node -T iqn.x --login", {"iscsiadm: no record"}, 21}};
    CliMachine machine(data);
    const CliResult result = machine.run({"iscsi", "login", "iqn.x", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: /sbin/iscsiadm -m node -T iqn.x --login ended with exit status 21: "
              "iscsiadm: no record\n");
    EXPECT_EQ(result.json()["result"], 0);
    EXPECT_THAT(machine.journal(), testing::ElementsAre(testing::HasSubstr("--login"),
                                                        R"({"effect":"sleep","seconds":5})"));
}

TEST(CliIscsi, EachCommandRunsItsOperation) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"iscsi", "login", "iqn.x"}, "/sbin/iscsiadm -m node -T iqn.x --login"},
        {{"iscsi", "logout", "iqn.x"}, "/sbin/iscsiadm -m node -T iqn.x --logout"},
        {{"iscsi", "rescan"}, "/sbin/iscsiadm -m session -R"},
    };
    for (const auto& [arguments, command] : cases) {
        recording::RecordedHostData data;
        data.commands = {{command, {}}};
        CliMachine machine(data);
        EXPECT_EQ(machine.run(arguments).status, 0) << command;
        EXPECT_THAT(machine.journal(), testing::ElementsAre(testing::HasSubstr(command)));
    }
}

TEST(CliIscsi, WhatWouldBeMoreThanOneWordStartsNothing) {
    for (const char* word : {"", "a b", "-x", "a\nb", "a'b", "a\"b", "a\tb", "`x`"}) {
        for (const char* command : {"discover", "login", "logout"}) {
            CliMachine machine({});
            const CliResult result = machine.run({"iscsi", command, "--", word});
            EXPECT_EQ(result.status, 2) << command << " " << word;
            EXPECT_EQ(result.out, "");
            EXPECT_THAT(machine.journal(), testing::IsEmpty());
        }
    }
}

TEST(CliIscsi, WithoutAnOperationItIsRefused) {
    CliMachine machine({});
    EXPECT_EQ(machine.run({"iscsi"}).status, 2);
    EXPECT_EQ(machine.run({"iscsi", "dance"}).status, 2);
}

TEST(CliWwpn, PrintsTheNames) {
    recording::RecordedHostData data;
    data.commands = {{"/bin/ls /sys/class/fc_host/", {"host5"}}};
    data.files["/sys/class/fc_host/host5/port_name"] = "0x21000024ff000005\n";
    CliMachine machine(data);
    EXPECT_EQ(machine.run({"wwpn"}).out, "0x21000024ff000005@@host5\n");
    EXPECT_EQ(machine.run({"wwpn", "--json"}).json()["wwpns"].dump(),
              R"(["0x21000024ff000005@@host5"])");
}

TEST(CliWwpn, AHostWithoutFibreChannelIsAFailure) {
    CliMachine machine({});
    const CliResult result = machine.run({"wwpn", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.json()["wwpns"].empty());
}

TEST(CliBus, ShowsInventoryTargetsAndMaxima) {
    recording::RecordedHostData data;
    data.files["/proc/scsi/scsi"] =
        "Attached devices:\n"
        "Host: scsi2 Channel: 00 Id: 03 Lun: 01\n  Vendor: A\n  Type:   Direct-Access\n"
        "Host: scsi2 Channel: 01 Id: 04 Lun: 00\n  Vendor: A\n  Type:   Sequential-Access\n";
    CliMachine machine(data);
    auto document = machine.run({"bus", "--json"}).json();
    document.erase("scsitool");
    EXPECT_EQ(document.dump(), R"({"devices":[[2,0,3,1],[2,1,4,0]],"disks":[[2,0,3,1]],"count":2,)"
                               R"("targets":{"2":[3]},)"
                               R"("maxima":{"2":{"channel":1,"target":4,"lun":1}}})");
    EXPECT_EQ(machine.run({"bus"}).out,
              "HOST  CHANNEL  TARGET  LUN  DISK\n"
              "   2        0       3    1  yes\n"
              "   2        1       4    0  no\n"
              "\n"
              "HOST  MAX CHANNEL  MAX TARGET  MAX LUN  TARGETS\n"
              "   2            1           4        1  3\n");
}

TEST(CliBus, ATableThatBreaksOffIsTold) {
    recording::RecordedHostData data;
    recording::RecordedFile& table = data.files["/proc/scsi/scsi"];
    table.content = "Host: scsi2 Channel: 00 Id: 03 Lun: 01\n  Vendor: A\n  Type:   RAID\n";
    table.readError = EIO;
    CliMachine machine(data);
    const CliResult result = machine.run({"bus"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.out, testing::HasSubstr("   2        0       3    1  no\n"));
    EXPECT_EQ(result.err,
              "scsitool: the inventory is not whole: /proc/scsi/scsi: Input/output error\n");
}

TEST(CliBus, AKernelWithoutTheTableIsNamed) {
    CliMachine machine({});
    const CliResult result = machine.run({"bus"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, testing::StartsWith("scsitool: /proc/scsi/scsi: No such file"));
    recording::RecordedHostData data;
    data.files["/proc/scsi/scsi"] = "Attached devices:\n";
    CliMachine empty(data);
    EXPECT_EQ(empty.run({"bus"}).err, "scsitool: /proc/scsi/scsi names no device\n");
}

TEST(CliFlushMultipath, RunsTheFlushWhereTheDaemonRuns) {
    recording::RecordedHostData data;
    data.commands = {{"/sbin/pidof -x multipathd", {"412"}},
                     {"/sbin/multipath -F", {"mpatha in use"}, 1}};
    data.directories["/dev/mapper/"] = {"control"};
    CliMachine machine(data);
    const CliResult result = machine.run({"flush-multipath", "--force"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "mpatha in use\n");
}

TEST(CliFlushMultipath, OneThatIsEndedIsNotComplete) {
    recording::RecordedHostData data;
    data.commands = {{"/sbin/pidof -x multipathd", {"412"}}, {"/sbin/multipath -F", {}, 0}};
    data.directories["/dev/mapper/"] = {"control"};
    recording::RecordedCommand& flush = data.commands.back();
    flush.timedOut = true;
    CliMachine late(data);
    const CliResult result = late.run({"flush-multipath", "--force"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(
        result.err,
        "scsitool: the flush is not complete: /sbin/multipath -F was ended at its time limit\n");
    flush.timedOut = false;
    CliMachine whole(data);
    EXPECT_EQ(whole.run({"flush-multipath", "--force"}).status, 0);
}

TEST(CliFlushMultipath, WithoutTheDaemonItIsAFailure) {
    recording::RecordedHostData data;
    data.commands = {{"/sbin/pidof -x multipathd", {}, 1}};
    CliMachine machine(data);
    const CliResult result = machine.run({"flush-multipath", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.json()["result"], 11);
    EXPECT_EQ(result.err, "scsitool: nothing was flushed: multipathd does not run\n");
}

TEST(CliRemovedAddresses, TheSecondWayCountsOnlyWhereTheFirstFailed) {
    const std::string table = "/proc/scsi/scsi";
    const std::string request = "scsi remove-single-device 1 2 3 4\n";
    const std::string sysfs = "/sys/class/scsi_device/1:2:3:4/device/delete";
    EXPECT_EQ(cli::removedAddresses({{table, request, {0, 0}}, {sysfs, "1", {ENOENT, 0}}})[0].error,
              0);
    EXPECT_EQ(cli::removedAddresses({{table, request, {0, EIO}}, {sysfs, "1", {0, 0}}})[0].error,
              0);
    EXPECT_EQ(
        cli::removedAddresses({{table, request, {0, EIO}}, {sysfs, "1", {ENOENT, 0}}})[0].error,
        EIO);
    EXPECT_EQ(cli::removedAddresses({{table, request, {EACCES, 0}}})[0].error, EACCES);
    EXPECT_TRUE(cli::removedAddresses({{table, "scsi add-single-device 1 2 3 4\n", {}}}).empty());
}

}  // namespace
