#include <cerrno>
#include <functional>
#include <set>

#include "cli_harness.h"
#include "faulty_host.h"
#include "guard_machine.h"
#include "scripted_host.h"

namespace {

using recording::RecordedHostData;
using test::appended;
using test::CliMachine;
using test::CliResult;
using test::ran;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kDevices = "/sys/class/scsi_device/";
const std::string kDeleteSdb = appended(kDevices + "2:0:0:5/device/delete", "1");
const std::string kDeleteSdc = appended(kDevices + "3:0:0:5/device/delete", "1");
const std::string kDeleteSdd = appended(kDevices + "4:0:0:1/device/delete", "1");
const std::string kFlush = ran("/sbin/multipath -f mpatha");

RecordedHostData idleMachine() {
    RecordedHostData data = test::guardedMachine();
    data.files["/sbin/multipath"] = "";
    data.commands.push_back({"/sbin/multipath -f mpatha", {}});
    data.commands.push_back({"/usr/sbin/dmsetup remove mpatha", {}});
    return data;
}

void die(RecordedHostData& data, const std::string& disk) {
    data.devices["/dev/" + disk].openError = ENXIO;
}

RecordedHostData deadMachine(const std::vector<std::string>& disks) {
    RecordedHostData data = idleMachine();
    for (const std::string& disk : disks) {
        die(data, disk);
    }
    return data;
}

// The same with sdb answering as another product than the kernel has it.
RecordedHostData staleMachine() {
    RecordedHostData data = idleMachine();
    data.files[kDevices + "2:0:0:5/device/model"] = "Former\n";
    return data;
}

// sdb and sdc are paths of the map mpathb, which is mounted.
RecordedHostData mountedMap(RecordedHostData data) {
    for (const test::UseKind& kind : test::kindsOfUse()) {
        if (kind.name == "multipath member whose map is mounted") {
            kind.begin(data);
        }
    }
    data.devices["/dev/sdc"].inUse = true;
    return data;
}

std::vector<std::string> effectsOf(const std::vector<std::string>& journal) {
    std::vector<std::string> effects;
    for (const std::string& line : journal) {
        if (line.find("\"unanswered\"") == std::string::npos) {
            effects.push_back(line);
        }
    }
    return effects;
}

// A run of prune and the effects that it had.
struct Pruned {
    explicit Pruned(const RecordedHostData& data, std::vector<std::string> options = {}) {
        CliMachine machine(data);
        options.insert(options.begin(), "prune");
        result = machine.run(options);
        effects = effectsOf(machine.journal());
        openDescriptors = machine.openDescriptors();
    }
    CliResult result;
    std::vector<std::string> effects;
    std::size_t openDescriptors = 0;
};

// What a recording says of a path without a device, and of a logical unit that was withdrawn.
TEST(CliPrune, TakesTheHostByteAndTheSenseDataOfARecordingForItsWord) {
    RecordedHostData data = idleMachine();
    recording::RecordedPage noConnect;
    noConnect.hostStatus = 1;
    recording::RecordedPage notSupported;
    notSupported.status = 2;
    notSupported.sense = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0};
    data.devices["/dev/sdb"].standardInquiry = noConnect;
    data.devices["/dev/sdc"].standardInquiry = notSupported;
    // A time-out is no proof.
    data.devices["/dev/sdd"].standardInquiry = noConnect;
    data.devices["/dev/sdd"].standardInquiry->hostStatus = 3;
    const Pruned run(data, {"--json"});
    const auto document = run.result.json();
    std::map<std::string, std::string> reasons;
    for (const auto& disk : document["prune"]["devices"]) {
        reasons[disk["device"]] = disk["reason"];
    }
    const std::map<std::string, std::string> expected = {
        {"/dev/sdb",
         "no device behind its node: no device answers at its address (the kernel's host status "
         "1)"},
        {"/dev/sdc", "no such logical unit: INQUIRY ended with LOGICAL UNIT NOT SUPPORTED"}};
    EXPECT_EQ(reasons, expected) << run.result.out;
}

TEST(CliPrune, WhereNothingIsGoneNothingIsDone) {
    const Pruned pruned(idleMachine());
    EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
    EXPECT_EQ(pruned.result.out, "nothing is gone or stale\n");
    EXPECT_EQ(pruned.result.err, "");
    EXPECT_THAT(pruned.effects, IsEmpty());
    EXPECT_EQ(pruned.openDescriptors, 0U);
}

TEST(CliPrune, AHostWithoutDisksIsSaidToHaveNone) {
    RecordedHostData data;
    data.directories = {{kDevices, {".", ".."}}, {"/sys/class/block/", {".", ".."}}};
    const Pruned pruned(data);
    EXPECT_EQ(pruned.result.status, 0);
    EXPECT_EQ(pruned.result.out, "no SCSI disk in /sys/class/scsi_device\n");
}

TEST(CliPrune, AGoneDiskIsRemovedThroughSysfsAndNothingElseIsDone) {
    const Pruned pruned(deadMachine({"sdb"}));
    EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
    EXPECT_THAT(pruned.effects, ElementsAre(kDeleteSdb));
    EXPECT_EQ(pruned.result.out,
              "DEVICE    ADDRESS  WHY                                                   "
              "USED  OUTCOME\n"
              "/dev/sdb  2:0:0:5  no device behind its node: No such device or address  "
              "-     removed\n");
    EXPECT_EQ(pruned.openDescriptors, 0U);
}

TEST(CliPrune, EveryKindOfGoneAndStaleGoes) {
    using Data = RecordedHostData;
    const std::string device = kDevices + "2:0:0:5/device/";
    const std::vector<std::pair<std::string, std::function<void(Data&)>>> kinds = {
        {"no_device", [](Data& data) { data.devices["/dev/sdb"].openError = ENXIO; }},
        {"no_device", [](Data& data) { data.devices["/dev/sdb"].openError = ENODEV; }},
        {"offline",
         [&](Data& data) {
             die(data, "sdb");
             data.files[device + "state"] = "offline\n";
         }},
        {"offline",
         [&](Data& data) {
             die(data, "sdb");
             data.files[device + "state"] = "transport-offline\n";
         }},
        {"not_supported",
         [](Data& data) { data.devices["/dev/sdb"].standardInquiry->bytes[0] = 0x7F; }},
        {"another_disk", [&](Data& data) { data.files[device + "vendor"] = "OTHER\n"; }},
        {"another_disk", [&](Data& data) { data.files[device + "model"] = "Other\n"; }},
        {"another_disk",
         [&](Data& data) {
             const auto page = test::identification(8, 16);
             data.files[device + "vpd_pg83"] = std::string(page.begin(), page.end());
         }},
        {"another_disk",
         [&](Data& data) {
             data.files[device + "vpd_pg80"] = std::string("\0\x80\0\x02", 4) + "K1";
             data.devices["/dev/sdb"].pages[0x80] =
                 recording::Bytes{0x00, 0x80, 0x00, 0x02, 'L', '1'};
         }},
    };
    for (const auto& [finding, change] : kinds) {
        Data data = idleMachine();
        change(data);
        const Pruned pruned(data, {"--json"});
        EXPECT_EQ(pruned.result.status, 0) << finding << pruned.result.err;
        EXPECT_THAT(pruned.effects, ElementsAre(kDeleteSdb)) << finding;
        EXPECT_EQ(pruned.result.json()["prune"]["devices"][0]["finding"], finding);
    }
}

TEST(CliPrune, WhatAnswersAsTheKernelHasItStaysWhateverElseIsSaid) {
    const auto page = test::identification(7, 16);
    RecordedHostData data = idleMachine();
    data.files[kDevices + "2:0:0:5/device/vpd_pg83"] = std::string(page.begin(), page.end());
    data.files[kDevices + "2:0:0:5/device/state"] = "offline\n";
    data.files[kDevices + "2:0:0:5/device/model"] = "Former\n";
    for (const auto& options : {std::vector<std::string>(), {"--force"}}) {
        const Pruned pruned(data, options);
        EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
        EXPECT_THAT(pruned.effects, IsEmpty());
    }
}

TEST(CliPrune, WhatCouldNotBeOpenedOrAskedStaysAndIsNamed) {
    using Data = RecordedHostData;
    const std::vector<std::pair<std::string, std::function<void(Data&)>>> cases = {
        {"Permission denied", [](Data& data) { data.devices["/dev/sdb"].openError = EACCES; }},
        {"Too many open files", [](Data& data) { data.devices["/dev/sdb"].openError = EMFILE; }},
        {"Too many open files in system",
         [](Data& data) { data.devices["/dev/sdb"].openError = ENFILE; }},
        {"Read-only file system", [](Data& data) { data.devices["/dev/sdb"].openError = EROFS; }},
        {"Input/output error", [](Data& data) { data.devices["/dev/sdb"].openError = EIO; }},
        {"Input/output error",
         [](Data& data) { data.devices["/dev/sdb"].standardInquiry->error = EIO; }},
        {"it was not asked, its state is blocked",
         [](Data& data) {
             die(data, "sdb");
             data.files[kDevices + "2:0:0:5/device/state"] = "blocked\n";
         }},
        {"it has no node to be asked by", [](Data& data) { data.devices.erase("/dev/sdb"); }},
        {"its INQUIRY data say peripheral qualifier 1",
         [](Data& data) { data.devices["/dev/sdb"].standardInquiry->bytes[0] = 0x20; }},
        {kDevices + "2:0:0:5/device/state: Input/output error",
         [](Data& data) {
             die(data, "sdb");
             data.files[kDevices + "2:0:0:5/device/state"].error = EIO;
         }},
        {"it answers, and does not tell (pages 0x83 and 0x80)",
         [](Data& data) {
             const auto page = test::identification(7, 16);
             data.files[kDevices + "2:0:0:5/device/vpd_pg83"] =
                 std::string(page.begin(), page.end());
             data.devices["/dev/sdb"].pages.erase(0x83);
         }},
    };
    for (const auto& [reason, change] : cases) {
        Data data = idleMachine();
        change(data);
        for (const auto& options : {std::vector<std::string>(), {"--force"}}) {
            const Pruned pruned(data, options);
            EXPECT_EQ(pruned.result.status, 3) << reason << pruned.result.err;
            EXPECT_THAT(pruned.effects, IsEmpty()) << reason;
            EXPECT_THAT(pruned.result.err,
                        HasSubstr("scsitool: /dev/sdb stays, it cannot be told whether it is "
                                  "gone: " +
                                  reason))
                << reason;
            EXPECT_EQ(pruned.result.out, "nothing is gone or stale\n") << reason;
            EXPECT_EQ(pruned.openDescriptors, 0U);
        }
        const auto document = Pruned(data, {"--json"}).result.json();
        EXPECT_EQ(document["scsitool"]["exit_status"], 3);
        EXPECT_FALSE(document.contains("error"));
        EXPECT_EQ(document["prune"]["untold"][0]["device"], "/dev/sdb");
    }
}

TEST(CliPrune, WhatCannotBeToldOfOneDiskDoesNotKeepAnother) {
    RecordedHostData data = deadMachine({"sdc"});
    data.devices["/dev/sdb"].openError = EMFILE;
    const Pruned pruned(data);
    EXPECT_EQ(pruned.result.status, 3);
    EXPECT_THAT(pruned.effects, ElementsAre(kDeleteSdc));
    EXPECT_THAT(pruned.result.out, HasSubstr("/dev/sdc  3:0:0:5"));
}

TEST(CliPrune, AListThatCannotBeReadIsADoubt) {
    RecordedHostData data = deadMachine({"sdb"});
    data.directories.erase(kDevices);
    const Pruned pruned(data);
    EXPECT_EQ(pruned.result.status, 3);
    EXPECT_THAT(pruned.result.err, HasSubstr("the list of disks stays, it cannot be told"));
    EXPECT_THAT(pruned.effects, IsEmpty());
}

TEST(CliPrune, AStaleDiskThatIsUsedInAnyWayStaysAndItsUserIsNamed) {
    for (const test::UseKind& kind : test::kindsOfUse()) {
        RecordedHostData data = staleMachine();
        kind.begin(data);
        const Pruned pruned(data);
        EXPECT_EQ(pruned.result.status, 1) << kind.name;
        EXPECT_THAT(pruned.effects, IsEmpty()) << kind.name;
        EXPECT_THAT(pruned.result.err,
                    testing::AllOf(HasSubstr("scsitool: /dev/sdb is "), HasSubstr(kind.reason)))
            << kind.name;
        EXPECT_THAT(pruned.result.out, HasSubstr(kind.reason)) << kind.name;
        EXPECT_THAT(pruned.result.out, HasSubstr("  refused\n")) << kind.name;
        EXPECT_EQ(pruned.openDescriptors, 0U) << kind.name;
        const auto document = Pruned(data, {"--json"}).result.json();
        EXPECT_EQ(document["prune"]["devices"][0]["outcome"], "refused") << kind.name;
        EXPECT_FALSE(document["refused"].empty()) << kind.name;
    }
}

TEST(CliPrune, ForceTakesWhatIsStaleAndUsedAndSaysWhoUsedIt) {
    RecordedHostData data = staleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    const Pruned pruned(data, {"--force"});
    EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
    EXPECT_THAT(pruned.effects, ElementsAre(kDeleteSdb));
    EXPECT_THAT(pruned.result.out, HasSubstr("mounted at /data"));
}

TEST(CliPrune, WhatWasDoneBesidesARefusalIsSaid) {
    RecordedHostData data = deadMachine({"sdb", "sdc"});
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    const Pruned pruned(data);
    EXPECT_EQ(pruned.result.status, 1);
    EXPECT_THAT(pruned.effects, ElementsAre(kDeleteSdc));
    EXPECT_THAT(pruned.result.err, HasSubstr("1 removal refused, besides: removed 3:0:0:5; --force "
                                             "does it all the same"));
}

TEST(CliPrune, ADryRunShowsItAndDoesNothing) {
    const Pruned pruned(deadMachine({"sdb", "sdd"}), {"--dry-run"});
    EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
    EXPECT_THAT(pruned.effects, IsEmpty());
    EXPECT_THAT(pruned.result.out,
                testing::StartsWith("would run: /sbin/multipath -f mpatha\n"
                                    "would write \"1\" to " +
                                    kDevices + "2:0:0:5/device/delete\nwould write \"1\" to " +
                                    kDevices + "4:0:0:1/device/delete\n\n"));
    EXPECT_THAT(pruned.result.out, HasSubstr("would be flushed\n"));
    EXPECT_THAT(pruned.result.out, HasSubstr("would be removed\n"));
    const auto document = Pruned(deadMachine({"sdb"}), {"--dry-run", "--json"}).result.json();
    EXPECT_EQ(document["prune"]["devices"][0]["outcome"], "planned");
    EXPECT_EQ(document["journal"].size(), 1U);
}

TEST(CliPrune, ADeadPathGoesFromAMapWithALivingOneAndTheLivingOneStays) {
    const Pruned pruned(mountedMap(deadMachine({"sdb"})));
    EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
    EXPECT_THAT(pruned.effects, ElementsAre(kDeleteSdb));
    EXPECT_THAT(pruned.result.out,
                HasSubstr("held by the multipath map (dm-5, mpathb), whose other living paths are "
                          "sdc"));
    EXPECT_THAT(Pruned(mountedMap(idleMachine())).effects, IsEmpty());
}

TEST(CliPrune, TheLastPathsOfAMapInUseStayAndSoDoesTheMap) {
    const Pruned pruned(mountedMap(deadMachine({"sdb", "sdc"})));
    EXPECT_EQ(pruned.result.status, 1);
    EXPECT_THAT(pruned.effects, IsEmpty());
    EXPECT_THAT(pruned.result.err, HasSubstr("/dev/mapper/mpathb is mounted at /db"));
    EXPECT_THAT(pruned.result.err,
                HasSubstr("/dev/sdb is mounted at /db, and held by the multipath map (dm-5, "
                          "mpathb), no other path of which answers"));
    EXPECT_THAT(pruned.result.err, HasSubstr("3 removals refused, nothing was done"));
}

TEST(CliPrune, AMapWithoutAPathIsFlushedByNameBeforeItsDisksGo) {
    const Pruned pruned(deadMachine({"sdb", "sdd"}));
    EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
    EXPECT_THAT(pruned.effects, ElementsAre(kFlush, kDeleteSdb, kDeleteSdd));
    EXPECT_THAT(pruned.result.out, HasSubstr("/dev/mapper/mpatha  -        no path: every disk "
                                             "below it is gone (sdd)"));
    EXPECT_THAT(pruned.result.out, HasSubstr("flushed\n"));
}

TEST(CliPrune, AMapBelowWhichNothingIsIsFlushed) {
    RecordedHostData empty = idleMachine();
    empty.directories["/sys/class/block/dm-0/slaves/"] = {".", ".."};
    EXPECT_THAT(Pruned(empty).effects, ElementsAre(kFlush));
    RecordedHostData dangling = idleMachine();
    dangling.directories["/sys/class/block/dm-0/slaves/"] = {".", "..", "sdz"};
    EXPECT_THAT(Pruned(dangling).effects, ElementsAre(kFlush)) << "the kernel has no sdz any more";
    RecordedHostData untold = idleMachine();
    untold.directories.erase("/sys/class/block/dm-0/slaves/");
    const Pruned pruned(untold);
    EXPECT_THAT(pruned.effects, IsEmpty());
    EXPECT_EQ(pruned.result.status, 3);
    EXPECT_THAT(pruned.result.err, HasSubstr("/dev/mapper/mpatha stays, it cannot be told"));
}

TEST(CliPrune, AMapWithAPathThatCannotBeToldIsNotFlushedNorAreOtherMaps) {
    RecordedHostData data = idleMachine();
    data.devices["/dev/sdd"].openError = EACCES;
    EXPECT_THAT(Pruned(data).effects, IsEmpty());
    RecordedHostData lvm = deadMachine({"sdd"});
    lvm.files["/sys/class/block/dm-0/dm/uuid"] = "LVM-1\n";
    const Pruned pruned(lvm);
    EXPECT_EQ(pruned.result.status, 1);
    EXPECT_THAT(pruned.effects, IsEmpty());
    EXPECT_THAT(pruned.result.err, HasSubstr("/dev/sdd is held by LVM"));
}

TEST(CliPrune, WithoutTheMultipathToolDmsetupRemovesTheMap) {
    RecordedHostData data = deadMachine({"sdd"});
    data.files.erase("/sbin/multipath");
    EXPECT_THAT(Pruned(data).effects,
                ElementsAre(ran("/usr/sbin/dmsetup remove mpatha"), kDeleteSdd));
}

TEST(CliPrune, AMapWhoseNameIsNoWordIsHandedToNoCommand) {
    for (const std::string name : {"a b", "-F", "a'b", "a\"b"}) {
        RecordedHostData data = deadMachine({"sdd"});
        data.files["/sys/class/block/dm-0/dm/name"] = name + "\n";
        const Pruned pruned(data);
        EXPECT_EQ(pruned.result.status, 1) << name;
        EXPECT_THAT(pruned.effects, Not(testing::Contains(HasSubstr("multipath")))) << name;
        EXPECT_THAT(pruned.result.err, HasSubstr("it is not handed to a command\n")) << name;
    }
}

TEST(CliPrune, AFlushThatFailsIsAFailureAndTheRestIsDone) {
    RecordedHostData data = deadMachine({"sdb", "sdd"});
    data.commands = {{"/sbin/multipath -f mpatha", {"mpatha: map in use"}, 1}};
    const Pruned pruned(data);
    EXPECT_EQ(pruned.result.status, 1);
    EXPECT_THAT(pruned.effects, ElementsAre(kFlush, kDeleteSdb, kDeleteSdd));
    EXPECT_THAT(pruned.result.err,
                HasSubstr("scsitool: /dev/mapper/mpatha was not removed: /sbin/multipath -f mpatha "
                          "ended with exit status 1: mpatha: map in use\nscsitool: 1 removal "
                          "failed\n"));
    EXPECT_THAT(pruned.result.out, HasSubstr("removed\n"));
}

TEST(CliPrune, ADeleteThatTheKernelRefusesIsAFailure) {
    RecordedHostData data = deadMachine({"sdb"});
    data.files[kDevices + "2:0:0:5/device/delete"].error = EACCES;
    const Pruned pruned(data);
    EXPECT_EQ(pruned.result.status, 1);
    EXPECT_EQ(pruned.result.err, "scsitool: /dev/sdb was not removed: " + kDevices +
                                     "2:0:0:5/device/delete: Permission denied\nscsitool: 1 "
                                     "removal failed\n");
}

TEST(CliPrune, ALunOf64BitsIsRemovedWithAllItsDigits) {
    RecordedHostData data = idleMachine();
    test::addDisk(data, "sde", "2:0:0:13907115649320091648", 64, "sg4");
    test::addDisk(data, "sdf", "256:0:0:44", 80, "sg5");
    test::addDisk(data, "sdg", "0:0:0:44", 96, "sg6");
    die(data, "sde");
    die(data, "sdf");
    const Pruned pruned(data, {"--json"});
    EXPECT_EQ(pruned.result.status, 0) << pruned.result.err;
    EXPECT_THAT(pruned.effects,
                ElementsAre(appended(kDevices + "2:0:0:13907115649320091648/device/delete", "1"),
                            appended(kDevices + "256:0:0:44/device/delete", "1")));
    EXPECT_EQ(pruned.result.json()["prune"]["devices"][0]["address"].dump(),
              "[2,0,0,13907115649320091648]");
}

TEST(CliPrune, WhatIsNoDiskIsLeftAlone) {
    for (const std::string type : {"1", "3", "5", "8", "12", "13", "30", "31"}) {
        RecordedHostData data = deadMachine({"sdb"});
        data.files[kDevices + "2:0:0:5/device/type"] = type + "\n";
        EXPECT_THAT(Pruned(data).effects, IsEmpty()) << type;
    }
    for (const std::string type : {"0", "7", "14", "20"}) {
        RecordedHostData data = deadMachine({"sdb"});
        data.files[kDevices + "2:0:0:5/device/type"] = type + "\n";
        EXPECT_THAT(Pruned(data).effects, ElementsAre(kDeleteSdb)) << type;
    }
}

TEST(CliPrune, ADiskWithoutABlockDeviceIsAskedByItsGenericNode) {
    RecordedHostData data = idleMachine();
    data.directories[kDevices + "2:0:0:5/device/block/"] = {".", ".."};
    EXPECT_THAT(Pruned(data).effects, IsEmpty());
    data.devices["/dev/sg1"].standardInquiry->bytes[0] = 0x7F;
    const Pruned pruned(data);
    EXPECT_THAT(pruned.effects, ElementsAre(kDeleteSdb));
    EXPECT_THAT(pruned.result.out, HasSubstr("2:0:0:5  2:0:0:5  no such logical unit"));
}

// A machine that changes between the listing and a removal.
class ChangingMachine : public test::ScriptedHost {
  public:
    using ScriptedHost::ScriptedHost;

    std::map<std::string, int> openErrors;
    std::set<std::string> absent;
    std::string unseen;  // a stat of it fails

    int openDevice(const std::string& path, host::OpenMode mode) override {
        const auto error = openErrors.find(path);
        return error != openErrors.end() ? -error->second : ScriptedHost::openDevice(path, mode);
    }
    bool isDirectory(const std::string& path) override {
        return path != unseen && absent.count(path) == 0 && ScriptedHost::isDirectory(path);
    }
    host::DirectoryListing listDirectory(const std::string& path) override {
        return absent.count(path) == 0 ? ScriptedHost::listDirectory(path)
                                       : host::DirectoryListing{ENOENT, 0, {}};
    }
};

TEST(CliPrune, ADiskThatComesBackBeforeItsRemovalStays) {
    ChangingMachine machine(idleMachine());
    machine.openErrors = {{"/dev/sdb", ENXIO}, {"/dev/sdc", ENXIO}};
    machine.afterAppend = [&](const std::string&, const std::string&) {
        machine.openErrors.erase("/dev/sdc");
    };
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb));
    EXPECT_THAT(result.out, HasSubstr("stays: it lives by now\n"));
}

TEST(CliPrune, ADiskThatCannotBeAskedRightBeforeItsRemovalStays) {
    ChangingMachine machine(idleMachine());
    machine.openErrors = {{"/dev/sdb", ENXIO}, {"/dev/sdc", ENXIO}};
    machine.afterAppend = [&](const std::string&, const std::string&) {
        machine.openErrors["/dev/sdc"] = EMFILE;
    };
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb));
    EXPECT_THAT(result.out, HasSubstr("stays: Too many open files\n"));
    EXPECT_EQ(result.status, 3);
}

TEST(CliPrune, ADiskThatIsMountedBeforeItsRemovalStays) {
    ChangingMachine machine(deadMachine({"sdb", "sdc"}));
    machine.afterAppend = [&](const std::string&, const std::string&) {
        machine.files["/proc/self/mountinfo"] = "30 20 8:32 / /data rw - xfs x rw\n";
    };
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb));
    EXPECT_THAT(result.err, HasSubstr("/dev/sdc is mounted at /data"));
}

TEST(CliPrune, ADiskThatTheKernelDropsBeforeItsRemovalIsNotRemoved) {
    ChangingMachine machine(deadMachine({"sdb", "sdc"}));
    machine.afterAppend = [&](const std::string&, const std::string&) {
        machine.absent.insert(kDevices + "3:0:0:5/device/");
    };
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb));
    EXPECT_THAT(result.out, HasSubstr("stays: the kernel has dropped it meanwhile\n"));
}

TEST(CliPrune, AStatThatFailsIsNoDiskThatTheKernelDropped) {
    ChangingMachine machine(deadMachine({"sdb", "sdc"}));
    machine.unseen = kDevices + "3:0:0:5/device/";
    machine.listings[machine.unseen] = {};
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb, kDeleteSdc));
}

TEST(CliPrune, AnAddressThatHasAnotherDiskByNowIsLeftAlone) {
    ChangingMachine machine(deadMachine({"sdb", "sdc"}));
    machine.afterAppend = [&](const std::string&, const std::string&) {
        host::DirectoryListing listing;
        listing.names = {".", "..", "sdd"};
        machine.listings[kDevices + "3:0:0:5/device/block/"] = listing;
    };
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb));
    EXPECT_THAT(result.out, HasSubstr("stays: the address is that of /dev/sdd by now\n"));
}

TEST(CliPrune, ADiskWhoseNameCannotBeReadByNowStaysAndIsTold) {
    ChangingMachine machine(deadMachine({"sdb", "sdc"}));
    machine.afterAppend = [&](const std::string&, const std::string&) {
        machine.listings[kDevices + "3:0:0:5/device/block/"] = {0, EIO, {"."}};
    };
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb));
    EXPECT_THAT(result.out,
                HasSubstr("stays: " + kDevices + "3:0:0:5/device/block/: Input/output error"));
}

TEST(CliPrune, TheMapIsLookedAtAgainRightBeforeADeadPathGoes) {
    // Two dead paths and a living one, which dies after the first removal.
    RecordedHostData data = mountedMap(idleMachine());
    test::addDisk(data, "sde", "5:0:0:5", 64, "sg4");
    test::addHolder(data, "sde", "dm-5");
    data.devices["/dev/sde"].inUse = true;
    ChangingMachine machine(data);
    machine.openErrors = {{"/dev/sdb", ENXIO}, {"/dev/sdc", ENXIO}};
    machine.afterAppend = [&](const std::string&, const std::string&) {
        machine.openErrors["/dev/sde"] = ENXIO;
    };
    const CliResult result = test::runCli({"prune"}, machine);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(effectsOf(machine.effects()), ElementsAre(kDeleteSdb));
    EXPECT_THAT(result.err, HasSubstr("/dev/sdc is mounted at /db, and held by the multipath map "
                                      "(dm-5, mpathb), no other path of which answers"));
}

// What a run of prune did to the host when one call after the other failed.
std::vector<std::string> effectsUnderFaults(const RecordedHostData& data) {
    std::vector<std::string> effects;
    for (const int error : {EIO, EMFILE}) {
        for (const bool breaksOff : {false, true}) {
            std::size_t calls = 1;
            for (std::size_t at = 1; at <= calls; ++at) {
                recording::Journal journal;
                recording::RecordedHost recorded(data, journal);
                test::FaultyHost host(recorded);
                host.failAt(at, error, breaksOff);
                test::runCli({"prune"}, host);
                calls = host.calls();
                for (const std::string& effect : effectsOf(journal.lines())) {
                    effects.push_back(effect + " when call " + std::to_string(at) + " failed");
                }
                EXPECT_EQ(recorded.openDescriptors(), 0U) << at;
            }
        }
    }
    return effects;
}

TEST(CliPrune, NoSingleFaultMakesALivingDiskOrItsMapGo) {
    const auto page = test::identification(7, 16);
    RecordedHostData data = idleMachine();
    for (const char* address : {"2:0:0:5", "3:0:0:5", "4:0:0:1"}) {
        const std::string device = kDevices + address + "/device/";
        data.files[device + "vpd_pg83"] = std::string(page.begin(), page.end());
        data.files[device + "state"] = "running\n";
    }
    EXPECT_THAT(effectsUnderFaults(data), IsEmpty());
}

TEST(CliPrune, NoSingleFaultMakesAUsedDiskGo) {
    RecordedHostData data = staleMachine();
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    data.devices["/dev/sdb"].inUse = true;
    EXPECT_THAT(effectsUnderFaults(data), IsEmpty());
}

TEST(CliPrune, WhatARecordingDoesNotSpeakOfIsNotGone) {
    const test::TempFolder folder;
    const std::string host = folder.write(
        "host.json", R"({"format":"scsitool-host/1","directories":{"/sys/class/scsi_device/":)"
                     R"(["0:0:0:1"],"/sys/class/block/":["dm-0"]},"files":{)"
                     R"("/sys/class/scsi_device/0:0:0:1/device/type":"0\n",)"
                     R"("/sys/class/block/dm-0/dm/name":"a\n",)"
                     R"("/sys/class/block/dm-0/dm/uuid":"mpath-1\n"}})");
    CliMachine machine({});
    const CliResult result = machine.run({"--host", host, "prune"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "nothing is gone or stale\n");
}

}  // namespace
