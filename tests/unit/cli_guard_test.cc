#include <algorithm>
#include <cerrno>
#include <utility>

#include "cli_harness.h"
#include "guard_machine.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using testing::HasSubstr;

// The machine of these tests with what its commands answer.
recording::RecordedHostData idleMachine() {
    recording::RecordedHostData data = test::guardedMachine();
    data.files["/bin/rescan-scsi-bus.sh"] = test::rescanScript(test::kReadable);
    for (const char* command : {"/usr/sbin/dmsetup remove /dev/mapper/mpatha",
                                "/bin/rescan-scsi-bus.sh --remove --flush -d",
                                "/bin/rescan-scsi-bus.sh --remove --flush -d --forceremove",
                                "/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d",
                                "/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d --forcerescan",
                                "/sbin/iscsiadm -m node -T iqn.2026-01.org.acme:a --logout",
                                "/sbin/multipath -v0 ", "/sbin/multipath -F"}) {
        data.commands.push_back({command, {}});
    }
    data.commands.push_back({"/sbin/pidof -x multipathd", {"412"}});
    data.directories["/dev/mapper/"] = {".", "..", "control", "mpatha"};
    return data;
}

// The same with disk sdb gone, as remove-dead finds it.
recording::RecordedHostData deadMachine() {
    recording::RecordedHostData data = idleMachine();
    data.devices["/dev/sdb"].openError = ENXIO;
    return data;
}

recording::RecordedHostData mounted(recording::RecordedHostData data) {
    data.files["/proc/self/mountinfo"] =
        "30 20 8:16 / /data rw - xfs x rw\n31 20 253:0 / /map rw - xfs x rw\n";
    return data;
}

const std::vector<std::string> kRemoveDisk = {"remove-address", "2", "0", "0", "5"};
const std::vector<std::string> kRemoveMap = {"remove", "/dev/mapper/mpatha"};

std::vector<std::string> with(std::vector<std::string> arguments, const std::string& option) {
    arguments.insert(std::find(arguments.begin(), arguments.end(), "--"), option);
    return arguments;
}

// Refused with the reason, with no effect that the pattern names; done with --force.
void expectGuarded(const recording::RecordedHostData& data,
                   const std::vector<std::string>& arguments, const std::string& refusal,
                   const std::string& effect) {
    CliMachine machine(data);
    const CliResult refused = machine.run(arguments);
    EXPECT_EQ(refused.status, 1) << arguments.front();
    EXPECT_THAT(refused.err, HasSubstr("scsitool: " + refusal)) << arguments.front();
    EXPECT_THAT(refused.err, HasSubstr("; with --force ")) << arguments.front();
    EXPECT_THAT(refused.err, HasSubstr("--force does it all the same\n")) << arguments.front();
    EXPECT_THAT(machine.journal(), testing::Not(testing::Contains(HasSubstr(effect))))
        << arguments.front();
    const auto document = CliMachine(data).run(with(arguments, "--json")).json();
    EXPECT_FALSE(document["refused"].empty()) << arguments.front();
    EXPECT_EQ(document["scsitool"]["exit_status"], 1);
    CliMachine forced(data);
    EXPECT_THAT(forced.run(with(arguments, "--force")).err, testing::Not(HasSubstr("refused")));
    EXPECT_THAT(forced.journal(), testing::Contains(HasSubstr(effect))) << arguments.front();
}

TEST(CliGuard, AnIdleDiskAndAnIdleMapAreRemoved) {
    CliMachine disk(idleMachine());
    const CliResult result = disk.run(kRemoveDisk);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, testing::StartsWith("2:0:0:5 is /dev/sdb, ACME Disk, "));
    CliMachine map(idleMachine());
    EXPECT_EQ(map.run(kRemoveMap).status, 0);
    EXPECT_EQ(map.run(kRemoveMap).out, "");
}

TEST(CliGuard, NoEvidenceIsNoReasonOnARecordedHostAndIsOneOnALiveHost) {
    const test::TempFolder folder;
    const std::string host =
        folder.write("host.json", R"({"format":"scsitool-host/1","files":{"/proc/scsi/scsi":""}})");
    recording::RecordedHostData data;
    data.files["/proc/scsi/scsi"] = "";
    CliMachine machine(data);
    const CliResult live = machine.run(kRemoveDisk);
    EXPECT_EQ(live.status, 1);
    EXPECT_THAT(live.err, HasSubstr("2:0:0:5 is not known to be free: /sys/class/scsi_device/: No "
                                    "such file or directory"));
    std::vector<std::string> recorded = {"--host", host};
    recorded.insert(recorded.end(), kRemoveDisk.begin(), kRemoveDisk.end());
    EXPECT_EQ(machine.run(recorded).status, 0);
}

TEST(CliGuard, EveryCommandThatRemovesIsGuarded) {
    const std::string disk = "/dev/sdb is mounted at /data";
    const std::string map = "/dev/mapper/mpatha is mounted at /map";
    const std::string removal = "remove-single-device";
    expectGuarded(mounted(idleMachine()), kRemoveDisk, disk, removal);
    expectGuarded(mounted(idleMachine()), kRemoveMap, map, "dmsetup remove");
    expectGuarded(mounted(deadMachine()), {"remove-dead"}, disk, removal);
    expectGuarded(mounted(deadMachine()), {"remove-stale"}, disk, "--remove --flush");
    expectGuarded(mounted(idleMachine()), {"remove-stale", "--", "--forceremove"}, disk,
                  "--forceremove");
    expectGuarded(mounted(idleMachine()), {"rescan", "--", "--forcerescan"}, disk, "--forcerescan");
    expectGuarded(mounted(idleMachine()), {"devices", "--rescan", "--rescan-args=--forcerescan"},
                  disk, "--forcerescan");
    expectGuarded(mounted(idleMachine()), {"iscsi", "logout", "iqn.2026-01.org.acme:a"}, disk,
                  "--logout");
}

TEST(CliGuard, ALivingDiskThatIsMountedIsNotInTheWayOfTheScript) {
    CliMachine machine(mounted(idleMachine()));
    EXPECT_EQ(machine.run({"remove-stale"}).status, 0);
}

TEST(CliGuard, AScriptThatCannotReadThisHostsSgInqIsRefused) {
    recording::RecordedHostData data = idleMachine();
    data.files["/bin/rescan-scsi-bus.sh"] = test::rescanScript(test::kUnreadable);
    expectGuarded(data, {"remove-stale"},
                  "/bin/rescan-scsi-bus.sh is not to be trusted: version 20230413 of it cannot "
                  "read what sg_inq 2.10 20210328 prints",
                  "--remove --flush");
    CliMachine machine(data);
    EXPECT_EQ(machine.run({"rescan"}).status, 0) << "nothing is removed";
}

TEST(CliGuard, AllReasonsForADiskStandInOneLine) {
    recording::RecordedHostData data = mounted(idleMachine());
    test::addWriter(data, "/dev/sdb");
    CliMachine machine(data);
    const CliResult result = machine.run(kRemoveDisk);
    EXPECT_EQ(result.err,
              "scsitool: /dev/sdb is mounted at /data, and open for writing in process 77 (dd); "
              "with --force the file system loses its disk, and what is not written yet is lost, "
              "and what that "
              "process writes is lost\n"
              "scsitool: 1 removal refused, nothing was done; --force does it all the same\n");
    EXPECT_EQ(machine.run(with(kRemoveDisk, "--json")).json()["refused"].dump(),
              R"([{"device":"/dev/sdb","reason":"mounted at /data",)"
              R"("risk":"the file system loses its disk, and what is not written yet is lost"},)"
              R"x({"device":"/dev/sdb","reason":"open for writing in process 77 (dd)",)x"
              R"("risk":"what that process writes is lost"}])");
}

TEST(CliGuard, WhatWasDoneBesidesIsSaid) {
    recording::RecordedHostData data = mounted(deadMachine());
    data.devices["/dev/sdc"].openError = ENXIO;
    data.files["/proc/scsi/scsi"] =
        "Host: scsi2 Channel: 00 Id: 00 Lun: 05\n  Vendor: A\n  Type:   Direct-Access\n"
        "Host: scsi3 Channel: 00 Id: 00 Lun: 05\n  Vendor: A\n  Type:   Direct-Access\n";
    CliMachine machine(data);
    const CliResult result = machine.run({"remove-dead"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err,
                HasSubstr("scsitool: 1 removal refused, besides: removed 3:0:0:5, ran "
                          "/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d; --force"));
    EXPECT_EQ(result.out, "HOST  CHANNEL  TARGET  LUN\n   3        0       0    5\n");
    const auto document = machine.run({"remove-dead", "--json"}).json();
    EXPECT_EQ(document["addresses"].dump(), "[[3,0,0,5]]");
    EXPECT_EQ(document["refused"][0]["device"], "/dev/sdb");
}

TEST(CliGuard, MapsThatAFlushKeepsAreNamed) {
    CliMachine machine(mounted(idleMachine()));
    const CliResult result = machine.run({"flush-multipath"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "/dev/mapper/mpatha stays: it is mounted at /map\n");
    EXPECT_EQ(machine.run({"flush-multipath", "--json"}).json()["kept"][0]["reason"],
              "mounted at /map");
}

TEST(CliGuard, WhatAFlushKeepsAndCannotBeToldIsADoubt) {
    recording::RecordedHostData data = mounted(idleMachine());
    data.files["/proc/swaps"].error = EMFILE;
    CliMachine machine(data);
    const CliResult result = machine.run({"flush-multipath"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "/dev/mapper/mpatha stays: it is mounted at /map\n");
    EXPECT_EQ(result.err,
              "scsitool: not known what else is in use and stays: /proc/swaps: Too many open "
              "files\n");
}

TEST(CliGuard, ItsQuestionsLeaveNoLineInTheJournal) {
    const test::TempFolder folder;
    const std::string host =
        folder.write("host.json", R"({"format":"scsitool-host/1","files":{"/proc/scsi/scsi":""}})");
    CliMachine machine({});
    const std::vector<std::string> arguments = {
        "--host", host, "--journal", folder.path("journal"), "remove-address", "2", "0", "0", "5"};
    EXPECT_EQ(machine.run(arguments).status, 0);
    EXPECT_EQ(test::effectsOf(folder.read("journal"), arguments),
              R"({"effect":"append","path":"/proc/scsi/scsi",)"
              R"("data":"scsi remove-single-device 2 0 0 5\n"})"
              "\n");
}

TEST(CliGuard, ARefusedEffectIsInNoJournal) {
    const test::TempFolder folder;
    CliMachine machine(mounted(idleMachine()));
    const std::vector<std::string> arguments = {
        "--journal", folder.path("journal"), "remove-address", "2", "0", "0", "5"};
    EXPECT_EQ(machine.run(arguments).status, 1);
    EXPECT_EQ(test::effectsOf(folder.read("journal"), arguments), "");
    const CliResult dry = machine.run({"--dry-run", "remove-address", "2", "0", "0", "5"});
    EXPECT_EQ(dry.status, 1);
    EXPECT_THAT(dry.err, HasSubstr("/dev/sdb is mounted at /data"));
    EXPECT_THAT(dry.out, testing::Not(HasSubstr("would write")));
}

TEST(CliRemoveDead, ADiskThatAnswersStaysThoughNoRecordHasItsAddress) {
    recording::RecordedHostData data = idleMachine();
    data.devices["/dev/sdb"].idLun = 0x02000600;  // the inventory says LUN 5
    expectGuarded(data, {"remove-dead"}, "/dev/sdb is not dead: it answers as ACME Disk",
                  "remove-single-device 2 0 0 5");
}

TEST(CliRemoveDead, AnIncompleteEnumerationRemovesNothingAndNamesWhatItMissed) {
    using Data = recording::RecordedHostData;
    const std::vector<std::pair<std::string, std::function<void(Data&)>>> cases = {
        {"/proc/partitions is not enumerated: it cannot be read: Input/output error",
         [](Data& data) { data.files["/proc/partitions"].error = EIO; }},
        {"/proc/partitions is not enumerated: it cannot be read: No such file or directory",
         [](Data& data) { data.files.erase("/proc/partitions"); }},
        {"/dev/sdc is not enumerated: it cannot be opened: Too many open files",
         [](Data& data) { data.devices["/dev/sdc"].openError = EMFILE; }},
        {"/dev/sdc is not enumerated: it cannot be opened: Permission denied",
         [](Data& data) { data.devices["/dev/sdc"].openError = EACCES; }},
        {"/dev/sdc is not enumerated: it cannot be opened: Read-only file system",
         [](Data& data) { data.devices["/dev/sdc"].openError = EROFS; }},
        {"/dev/sdc is not enumerated: it cannot be opened: Input/output error",
         [](Data& data) { data.devices["/dev/sdc"].openError = EIO; }},
        {"/dev/sdc is not enumerated: it cannot be opened: No such file or directory",
         [](Data& data) { data.devices.erase("/dev/sdc"); }},
        {"/dev/sdc is not enumerated: it answers INQUIRY with: Input/output error",
         [](Data& data) { data.devices["/dev/sdc"].standardInquiry->error = EIO; }},
        {"/dev/sdc is not enumerated: it cannot be asked for its address",
         [](Data& data) { data.devices["/dev/sdc"].idLun.reset(); }},
    };
    for (const auto& [refusal, change] : cases) {
        Data data = deadMachine();
        data.files["/proc/partitions"] = "   8 16 1 sdb\n   8 32 1 sdc\n";
        data.devices["/dev/sdc"].idLun = 0x03000500;
        data.devices["/dev/sdc"].pages[0x00] = recording::Bytes{0, 0, 0, 1, 0};
        CliMachine complete(data);
        EXPECT_EQ(complete.run({"remove-dead"}).status, 0);
        change(data);
        expectGuarded(data, {"remove-dead"}, refusal, "remove-single-device");
    }
}

TEST(CliRemove, APathThatIsNoMapIsLeftAloneAndSaidSo) {
    CliMachine machine(idleMachine());
    const CliResult result = machine.run({"remove", "/dev/sdb"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: /dev/sdb: only maps under /dev/mapper are removed by their path; for a "
              "disk use 'scsitool remove-address'\n");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliRemove, APathThatWouldBecomeAnotherCommandStartsNothing) {
    for (const char* path :
         {"/dev/mapper/a b", "/dev/mapper/'a'", "-f/dev/mapper/a", "/x/dev/mapper/a",
          "/dev/mapper/", "/dev/mapper/../sda", "/dev/mapper/a/b", "/dev/mapper/.", ""}) {
        CliMachine machine(idleMachine());
        const CliResult result = machine.run({"remove", "--", path});
        EXPECT_EQ(result.status, 2) << path;
        EXPECT_EQ(result.out, "") << path;
        EXPECT_THAT(machine.journal(), testing::IsEmpty()) << path;
    }
}

TEST(CliRemove, AFailingDmsetupIsAFailure) {
    recording::RecordedHostData data = idleMachine();
    data.commands = {
        {"/usr/sbin/dmsetup remove /dev/mapper/mpatha", {"Device or resource busy"}, 1}};
    CliMachine machine(data);
    const CliResult result = machine.run(kRemoveMap);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: /usr/sbin/dmsetup remove /dev/mapper/mpatha ended with exit status 1: "
              "Device or resource busy\n");
}

TEST(CliRemoveAddress, AKernelWithoutTheTableRemovesNothing) {
    recording::RecordedHostData data = idleMachine();
    data.files.erase("/proc/scsi/scsi");
    CliMachine machine(data);
    const CliResult result = machine.run(kRemoveDisk);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: 2:0:0:5 was not removed: /proc/scsi/scsi: No such file or directory (a "
              "kernel without CONFIG_SCSI_PROC_FS has no such file)\n");
}

TEST(CliRemoveAddress, NumbersThatAreNoneAreRefused) {
    CliMachine machine(idleMachine());
    EXPECT_EQ(machine.run({"remove-address", "2", "0", "0"}).status, 2);
    EXPECT_EQ(machine.run({"remove-address", "2", "0", "0", "x"}).status, 2);
    EXPECT_EQ(machine.run({"remove-address", "--", "-1", "0", "0", "1"}).status, 2);
    EXPECT_EQ(machine.run({"remove-address", "2", "0", "0", "99999999999"}).status, 2);
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliRemoveDead, RemovesWhatNoDiskAnswersAtAndRescans) {
    CliMachine machine(deadMachine());
    const CliResult result = machine.run({"remove-dead"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "HOST  CHANNEL  TARGET  LUN\n   2        0       0    5\n");
    EXPECT_THAT(machine.journal(),
                testing::ElementsAre(testing::HasSubstr("scsi remove-single-device 2 0 0 5"),
                                     testing::HasSubstr("/device/delete"),
                                     testing::HasSubstr("/host2/scan"),
                                     testing::HasSubstr("rescan-scsi-bus.sh --alltargets")));
}

TEST(CliRemoveDead, LunZeroGoesOnlyWhenToldTo) {
    recording::RecordedHostData data = deadMachine();
    data.files["/proc/scsi/scsi"] =
        "Host: scsi2 Channel: 00 Id: 00 Lun: 00\n  Vendor: A\n  Type:   Direct-Access\n";
    CliMachine machine(data);
    EXPECT_EQ(machine.run({"remove-dead"}).out, "no dead address\n");
    EXPECT_EQ(machine.run({"remove-dead", "--lun0", "--json"}).json()["addresses"].dump(),
              "[[2,0,0,0]]");
}

TEST(CliRemoveDead, WithoutAnInventoryItIsAFailure) {
    recording::RecordedHostData data = deadMachine();
    data.files.erase("/proc/scsi/scsi");
    CliMachine machine(data);
    const CliResult result = machine.run({"remove-dead"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: /proc/scsi/scsi: No such file or directory; without the inventory nothing "
              "is known to be dead\n");
}

// The first read of the inventory fails.
class OnceUnreadTable : public host::ForwardingHost {
  public:
    OnceUnreadTable(host::Host& inner, bool breaksOff)
        : ForwardingHost(inner), m_breaksOff(breaksOff) {}

    host::ReadResult readFile(const std::string& path) override {
        host::ReadResult result = ForwardingHost::readFile(path);
        if (path == "/proc/scsi/scsi" && !std::exchange(m_hasFailed, true)) {
            return m_breaksOff ? host::ReadResult{0, EIO, result.content}
                               : host::ReadResult{EMFILE, 0, {}};
        }
        return result;
    }

  private:
    const bool m_breaksOff;
    bool m_hasFailed = false;
};

TEST(CliRemoveDead, AnInventoryThatCouldNotBeReadOnceIsAFailure) {
    recording::RecordedHostData data = deadMachine();
    data.files["/proc/scsi/scsi"] =
        "Host: scsi2 Channel: 00 Id: 00 Lun: 05\n  Vendor: A\n  Type:   Direct-Access\n";
    const std::vector<std::pair<std::string, bool>> cases = {
        {"Too many open files; without the inventory nothing is known to be dead", false},
        {"Input/output error; without all of the inventory not all that is dead is known", true}};
    for (const auto& [reason, breaksOff] : cases) {
        recording::Journal journal;
        recording::RecordedHost machine(data, journal);
        OnceUnreadTable once(machine, breaksOff);
        const CliResult result =
            test::runCli({"--jobs", "1", "--deadline", "0", "remove-dead"}, once);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "scsitool: /proc/scsi/scsi: " + reason + "\n");
    }
}

}  // namespace
