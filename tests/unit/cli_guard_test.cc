#include "cli/guard/guard.h"
#include "cli_harness.h"

namespace {

using test::CliMachine;
using test::CliResult;

// A recorded host with symbolic links.
class LinkedHost : public recording::RecordedHost {
  public:
    LinkedHost(recording::RecordedHostData data, recording::Journal& journal,
               std::map<std::string, std::string> links)
        : RecordedHost(std::move(data), journal), m_links(std::move(links)) {}
    int readLink(const std::string& path, std::string& target) override {
        const auto link = m_links.find(path);
        if (link == m_links.end()) {
            return -ENOENT;
        }
        target = link->second;
        return 0;
    }

  private:
    std::map<std::string, std::string> m_links;
};

// The machine of these tests: disk sdb with partition sdb1 at 2:0:0:5, and the multipath map
// mpatha (dm-0) which nothing stands on.
recording::RecordedHostData idleMachine() {
    recording::RecordedHostData data;
    data.files["/proc/scsi/scsi"] =
        "Attached devices:\nHost: scsi2 Channel: 00 Id: 00 Lun: 05\n"
        "  Vendor: A\n  Type:   Direct-Access\n";
    data.files["/proc/partitions"] = "   8       16    1048576 sdb\n";
    data.files["/proc/swaps"] = "Filename Type Size Used Priority\n";
    data.files["/proc/self/mountinfo"] = "20 1 8:1 / / rw - ext4 /dev/sda1 rw\n";
    data.files["/sys/class/block/sdb/dev"] = "8:16\n";
    data.files["/sys/class/block/sdb1/dev"] = "8:17\n";
    data.files["/sys/class/block/dm-0/dev"] = "253:0\n";
    data.files["/sys/class/block/dm-0/dm/name"] = "mpatha\n";
    data.files["/sys/class/block/dm-0/dm/uuid"] = "mpath-3600\n";
    data.directories["/sys/class/block/"] = {".", "..", "sdb", "sdb1", "dm-0"};
    data.directories["/sys/class/block/sdb/"] = {".", "..", "sdb1", "holders", "size"};
    data.directories["/sys/class/scsi_device/2:0:0:5/device/block/"] = {".", "..", "sdb"};
    data.directories["/proc/"] = {".", "..", "1", "77", "self", "swaps"};
    data.files["/sys/class/scsi_device/2:0:0:5/device/delete"] = "";
    data.files["/sys/class/scsi_host/host2/scan"] = "";
    data.files["/bin/rescan-scsi-bus.sh"] = "";
    data.commands = {{"/usr/sbin/dmsetup remove /dev/mapper/mpatha", {}},
                     {"/bin/rescan-scsi-bus.sh --remove --flush -d", {}},
                     {"/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d", {}}};
    return data;
}

const std::vector<std::string> kRemoveDisk = {"remove-address", "2", "0", "0", "5"};
const std::vector<std::string> kRemoveMap = {"remove", "/dev/mapper/mpatha"};

std::vector<std::string> forced(std::vector<std::string> arguments) {
    arguments.emplace_back("--force");
    return arguments;
}

// Refused with the reason and nothing done; done with --force.
void expectGuarded(const recording::RecordedHostData& data,
                   const std::vector<std::string>& arguments, const std::string& refusal,
                   const std::map<std::string, std::string>& links = {}) {
    recording::Journal journal;
    LinkedHost host(data, journal, links);
    const CliResult refused = test::runCli(arguments, host);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err,
              "scsitool: " + refusal + "; nothing was done, --force does it all the same\n");
    EXPECT_THAT(journal.lines(),
                testing::Not(testing::Contains(testing::AnyOf(testing::HasSubstr("\"command\":"),
                                                              testing::HasSubstr("\"append\"")))));
    const CliResult done = test::runCli(forced(arguments), host);
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_THAT(journal.lines(),
                testing::Contains(testing::AnyOf(testing::HasSubstr("dmsetup remove"),
                                                 testing::HasSubstr("remove-single-device"),
                                                 testing::HasSubstr("--remove --flush"))));
}

TEST(CliGuard, AnIdleDiskAndAnIdleMapAreRemoved) {
    for (const auto& arguments : {kRemoveDisk, kRemoveMap}) {
        CliMachine machine(idleMachine());
        const CliResult result = machine.run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, "");
    }
}

TEST(CliGuard, NoEvidenceIsNoReason) {
    recording::RecordedHostData data;
    data.files["/proc/scsi/scsi"] = "";
    CliMachine machine(data);
    EXPECT_EQ(machine.run(kRemoveDisk).status, 0);
}

TEST(CliGuard, AMountedDiskIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs /dev/disk/by-id/x rw\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is mounted at /data");
}

TEST(CliGuard, ADiskWithAMountedPartitionIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 8:17 / /my\\040data rw shared:1 - xfs none rw\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is mounted at /my data");
}

TEST(CliGuard, AFileSystemWithoutTheDisksNumberIsKnownByItsSource) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 0:45 / /pool rw - btrfs /dev/sdb1 rw\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is mounted at /pool");
}

TEST(CliGuard, ASecondDiskOfAMountedBtrfsIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/sys/fs/btrfs/"] = {".", "..", "1234-uuid"};
    data.directories["/sys/fs/btrfs/1234-uuid/devices/"] = {".", "..", "sda2", "sdb"};
    expectGuarded(data, kRemoveDisk, "/dev/sdb is part of a mounted btrfs file system (sdb)");
}

TEST(CliGuard, ADiskThatIsMountedInAnotherNamespaceIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/77/mountinfo"] = "9 8 8:16 / /inside rw - xfs x rw\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is mounted at /inside",
                  {{"/proc/self/ns/mnt", "mnt:[1]"},
                   {"/proc/1/ns/mnt", "mnt:[1]"},
                   {"/proc/77/ns/mnt", "mnt:[2]"}});
}

TEST(CliGuard, ADiskUsedAsSwapIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/swaps"] = "Filename Type Size Used Priority\n/dev/sdb1 partition 1 0 -2\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is used as swap (/dev/sdb1)");
}

TEST(CliGuard, ADiskHeldByAMultipathMapIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/sys/class/block/sdb/holders/"] = {".", "..", "dm-0"};
    expectGuarded(data, kRemoveDisk, "/dev/sdb is held by device-mapper (dm-0, mpatha)");
}

TEST(CliGuard, ADiskHeldByLvmIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/sys/class/block/sdb1/holders/"] = {".", "..", "dm-3"};
    data.files["/sys/class/block/dm-3/dm/name"] = "vg00-root\n";
    data.files["/sys/class/block/dm-3/dm/uuid"] = "LVM-abc\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is held by LVM (dm-3, vg00-root)");
}

TEST(CliGuard, ADiskHeldByMdIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/sys/class/block/sdb/holders/"] = {".", "..", "md127"};
    expectGuarded(data, kRemoveDisk, "/dev/sdb is held by md (md127)");
}

TEST(CliGuard, AMountFarAboveTheDiskIsFoundAndEveryReasonCounted) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/sys/class/block/sdb/holders/"] = {".", "..", "dm-0"};
    data.directories["/sys/class/block/dm-0/holders/"] = {".", "..", "dm-4"};
    data.directories["/sys/class/block/dm-4/holders/"] = {".", "..", "sdb"};  // a loop ends
    data.files["/sys/class/block/dm-4/dev"] = "253:4\n";
    data.files["/proc/self/mountinfo"] = "30 20 253:4 / /data rw - xfs x rw\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is mounted at /data (and 1 more, see --json)");
    CliMachine machine(data);
    std::vector<std::string> arguments = kRemoveDisk;
    arguments.emplace_back("--json");
    EXPECT_EQ(machine.run(arguments).json()["refused"].dump(),
              R"([{"device":"/dev/sdb","reason":"mounted at /data"},)"
              R"x({"device":"/dev/sdb","reason":"held by device-mapper (dm-0, mpatha)"}])x");
}

TEST(CliGuard, ADiskThatAProcessHasOpenForWritingIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/proc/77/fd/"] = {".", "..", "0", "7"};
    data.files["/proc/77/fdinfo/7"] = "pos:\t0\nflags:\t0100002\nmnt_id:\t27\n";
    data.files["/proc/77/comm"] = "dd\n";
    expectGuarded(data, kRemoveDisk, "/dev/sdb is open for writing in process 77 (dd)",
                  {{"/proc/77/fd/7", "/dev/sdb1"}, {"/proc/77/fd/0", "/dev/pts/1"}});
}

TEST(CliGuard, ADiskThatIsOpenForReadingOrInThisProcessIsNotInUse) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/proc/77/fd/"] = {".", "..", "7"};
    data.files["/proc/77/fdinfo/7"] = "flags:\t0100000\n";
    recording::Journal journal;
    LinkedHost reading(data, journal, {{"/proc/77/fd/7", "/dev/sdb"}});
    EXPECT_EQ(test::runCli(kRemoveDisk, reading).status, 0);
    data.files["/proc/77/fdinfo/7"] = "flags:\t0100002\n";
    LinkedHost own(data, journal, {{"/proc/77/fd/7", "/dev/sdb"}, {"/proc/self", "77"}});
    EXPECT_EQ(test::runCli(kRemoveDisk, own).status, 0);
}

TEST(CliGuard, AddressesBeyondEightBitsAreNotTrusted) {
    for (const auto& [host, lun, trusted] :
         std::vector<std::tuple<std::string, std::string, bool>>{{"2", "254", true},
                                                                 {"2", "255", true},
                                                                 {"2", "256", false},
                                                                 {"255", "1", true},
                                                                 {"256", "1", false}}) {
        CliMachine machine(idleMachine());
        const CliResult result = machine.run({"remove-address", host, "0", "0", lun});
        EXPECT_EQ(result.status == 0, trusted) << host << " " << lun << " " << result.err;
        if (!trusted) {
            EXPECT_THAT(result.err,
                        testing::HasSubstr("not safely told from another one: the kernel's address "
                                           "word has eight bits of the "));
            EXPECT_EQ(machine.run({"remove-address", host, "0", "0", lun, "--force"}).status, 0);
        }
    }
}

TEST(CliGuard, AMountedMapIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 253:0 / /data rw - xfs x rw\n";
    expectGuarded(data, kRemoveMap, "/dev/mapper/mpatha is mounted at /data");
}

TEST(CliGuard, AMapIsKnownByItsLinkAndByItsNodeWhereSysfsIsSilent) {
    recording::RecordedHostData data = idleMachine();
    data.directories.erase("/sys/class/block/");
    data.files["/proc/self/mountinfo"] = "30 20 253:0 / /data rw - xfs x rw\n";
    expectGuarded(data, kRemoveMap, "/dev/mapper/mpatha is mounted at /data",
                  {{"/dev/mapper/mpatha", "../dm-0"}});
    data.files["/proc/self/mountinfo"] = "30 20 9:9 / /data rw - xfs /dev/mapper/mpatha rw\n";
    expectGuarded(data, kRemoveMap, "/dev/mapper/mpatha is mounted at /data");
}

TEST(CliGuard, AMapUnderAPartitionMapIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/sys/class/block/dm-0/holders/"] = {".", "..", "dm-1"};
    data.files["/sys/class/block/dm-1/dm/name"] = "mpatha-part1\n";
    expectGuarded(data, kRemoveMap,
                  "/dev/mapper/mpatha is held by device-mapper (dm-1, mpatha-part1)");
}

TEST(CliGuard, AMapOpenForWritingIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.directories["/proc/77/fd/"] = {"7"};
    data.files["/proc/77/fdinfo/7"] = "flags:\t02\n";
    expectGuarded(data, kRemoveMap, "/dev/mapper/mpatha is open for writing in process 77",
                  {{"/proc/77/fd/7", "/dev/dm-0"}});
}

TEST(CliGuard, ADeadDiskThatIsMountedIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    expectGuarded(data, {"remove-dead"}, "/dev/sdb is mounted at /data");
}

TEST(CliGuard, ALiveDiskThatIsMountedDoesNotHinderTheDeadOnes) {
    recording::RecordedHostData data = idleMachine();
    const recording::RecordedHostData alive = test::smallHost();
    data.devices["/dev/sdb"] = alive.devices.at("/dev/sdb");
    data.devices["/dev/sdb"].idLun = 0x02000500;
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    CliMachine machine(data);
    const CliResult result = machine.run({"remove-dead"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "no dead address\n");
}

TEST(CliGuard, AnInventoryWithLongLunsIsNotTrusted) {
    for (const auto& [host, lun, trusted] :
         std::vector<std::tuple<std::string, std::string, bool>>{{"2", "99", true},
                                                                 {"2", "100", false},
                                                                 {"2", "16384", false},
                                                                 {"255", "01", true},
                                                                 {"256", "01", false},
                                                                 {"99999999999", "01", false}}) {
        recording::RecordedHostData data = idleMachine();
        data.files["/proc/scsi/scsi"] = "Host: scsi" + host + " Channel: 00 Id: 00 Lun: " + lun +
                                        "\n  Vendor: A\n  Type:   Sequential-Access\n";
        CliMachine machine(data);
        const CliResult result = machine.run({"remove-dead"});
        EXPECT_EQ(result.status == 0, trusted) << host << " " << lun << " " << result.err;
        if (!trusted) {
            EXPECT_THAT(result.err, testing::HasSubstr("host " + host + " LUN " + lun +
                                                       " is not safely told from another one"));
        }
    }
}

TEST(CliGuard, AStaleDiskThatIsMountedIsKept) {
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    expectGuarded(data, {"remove-stale"}, "/dev/sdb is mounted at /data");
}

TEST(CliGuard, ADiskThatAnswersIsStaleOnlyToAForcedRemoval) {
    recording::RecordedHostData data = idleMachine();
    data.devices["/dev/sdb"] = test::smallHost().devices.at("/dev/sdb");
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    data.commands.push_back({"/bin/rescan-scsi-bus.sh --remove --flush -d --forceremove", {}});
    CliMachine machine(data);
    EXPECT_EQ(machine.run({"remove-stale"}).status, 0);
    const CliResult all = machine.run({"remove-stale", "--", "--forceremove"});
    EXPECT_EQ(all.status, 1);
    EXPECT_THAT(all.err, testing::HasSubstr("/dev/sdb is mounted at /data"));
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
    CliMachine machine({});
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
    CliMachine machine(idleMachine());
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
    recording::RecordedHostData data = idleMachine();
    data.files["/proc/scsi/scsi"] =
        "Host: scsi2 Channel: 00 Id: 00 Lun: 00\n  Vendor: A\n  Type:   Direct-Access\n";
    CliMachine machine(data);
    EXPECT_EQ(machine.run({"remove-dead"}).out, "no dead address\n");
    EXPECT_EQ(machine.run({"remove-dead", "--lun0", "--json"}).json()["addresses"].dump(),
              "[[2,0,0,0]]");
}

TEST(CliRemoveDead, WithoutAnInventoryItIsAFailure) {
    recording::RecordedHostData data = idleMachine();
    data.files.erase("/proc/scsi/scsi");
    CliMachine machine(data);
    const CliResult result = machine.run({"remove-dead"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: /proc/scsi/scsi: No such file or directory; without the inventory nothing "
              "is known to be dead\n");
}

TEST(CliKernelTables, ShortAndOddLinesAreSurvived) {
    EXPECT_TRUE(cli::parseMountInfo("").empty());
    EXPECT_TRUE(
        cli::parseMountInfo("1 2 8:1 / /x rw\n1 2 8:1 / /x rw -\n1 2 8:1 / /x rw - a\n- a b")
            .empty());
    EXPECT_EQ(cli::parseMountInfo("1 2 8:1 / /x rw master:1 shared:2 - a b c\n")[0].source, "b");
    EXPECT_EQ(cli::parseMountInfo("1 2 8:1 / /a\\134b\\9\\04 rw - a b c")[0].point, "/a\\b\\9\\04");
    EXPECT_TRUE(cli::parseSwaps("").empty());
    EXPECT_TRUE(cli::parseSwaps("Filename\n\n").empty());
    EXPECT_FALSE(cli::isOpenForWriting(""));
    EXPECT_FALSE(cli::isOpenForWriting("flags:"));
    EXPECT_TRUE(cli::isOpenForWriting("flags:\t0100001"));
    EXPECT_TRUE(cli::parseScsiTable("Host: other0 Lun: 1\nHost:\nLun: 7\n").empty());
    EXPECT_EQ(cli::parseScsiTable("Host: scsi12 Channel: 00 Id: 00 Lun: 300")[0].lun, "300");
    EXPECT_EQ(cli::parseScsiTable("Host: scsi1 Lun:")[0].lun, "");
}

}  // namespace
