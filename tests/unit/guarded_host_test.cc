#include "recording/guard/guarded_host.h"

#include <cerrno>

#include "guard_machine.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"

namespace {

using recording::GuardedHost;
using recording::RecordedHostData;
using recording::Silence;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<std::string> kRemovals = {"table", "sysfs", "block", "forceremove", "logout"};

// A machine under the guard: what reaches the host below stands in the journal.
class Guarded {
  public:
    explicit Guarded(const RecordedHostData& data, Silence silence = Silence::kIsRefusal)
        : m_below(data, m_journal),
          m_aside(data, m_unread),
          m_guard(
              m_below, [this]() -> host::Host& { return m_aside; }, silence) {}

    GuardedHost& guard() { return m_guard; }
    // The effects in the order of the journal.
    std::vector<std::string> journal() const {
        std::vector<std::string> effects;
        for (const std::string& line : m_journal.lines()) {
            if (line.find("\"unanswered\"") == std::string::npos) {
                effects.push_back(line);
            }
        }
        return effects;
    }
    std::size_t openDescriptors() const { return m_aside.openDescriptors(); }

    // A removal of disk sdb in one of the ways that there are; true when it was let pass.
    bool remove(const std::string& how) {
        const std::string script = "/usr/bin/rescan-scsi-bus.sh ";
        if (how == "table") {
            return append("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 5\n");
        }
        if (how == "sysfs") {
            return append("/sys/class/scsi_device/2:0:0:5/device/delete", "1");
        }
        if (how == "block") {
            return append("/sys/block/sdb/device/delete", "1");
        }
        if (how == "forceremove") {
            return run(script + "--forceremove --hosts=2");
        }
        return run("/sbin/iscsiadm -m node -T iqn.2026-01.org.acme:a --logout");
    }
    bool append(const std::string& path, const std::string& text) {
        const std::size_t before = journal().size();
        const host::AppendResult result = m_guard.appendFile(path, text, {});
        EXPECT_EQ(result.openError == EBUSY, journal().size() == before) << path;
        EXPECT_EQ(result.writeError, 0);
        return result.openError != EBUSY;
    }
    bool run(const std::string& command) {
        const std::size_t before = journal().size();
        const host::CommandResult result = m_guard.runCommand(command, 600);
        const bool isRefused = result.waitStatus == EBUSY << 8;
        EXPECT_EQ(isRefused, journal().size() == before) << command;
        EXPECT_EQ(isRefused, !result.lines.empty()) << command;
        return !isRefused;
    }
    std::string reasons() const {
        std::string text;
        for (const recording::Refusal& refusal : m_guard.refusals()) {
            EXPECT_NE(refusal.risk, "") << refusal.reason;
            text += refusal.device + " is " + refusal.reason + "\n";
        }
        return text;
    }

  private:
    recording::Journal m_journal;
    recording::Journal m_unread;
    recording::RecordedHost m_below;
    recording::RecordedHost m_aside;
    GuardedHost m_guard;
};

TEST(GuardedHost, WhatIsFreeGoesInEveryWay) {
    for (const Silence silence : {Silence::kIsRefusal, Silence::kIsNoEvidence}) {
        for (const std::string& how : kRemovals) {
            Guarded machine(test::guardedMachine(), silence);
            EXPECT_TRUE(machine.remove(how)) << how << ": " << machine.reasons();
            EXPECT_EQ(machine.journal().size(), 1U) << how;
            EXPECT_EQ(machine.openDescriptors(), 0U) << how;
        }
    }
}

TEST(GuardedHost, WhatIsUsedStaysInEveryWayAndTheUserIsNamed) {
    std::size_t cases = 0;
    for (const Silence silence : {Silence::kIsRefusal, Silence::kIsNoEvidence}) {
        for (const test::UseKind& kind : test::kindsOfUse()) {
            for (const std::string& how : kRemovals) {
                RecordedHostData data = test::guardedMachine();
                kind.begin(data);
                Guarded machine(data, silence);
                EXPECT_FALSE(machine.remove(how)) << kind.name << " by " << how;
                EXPECT_THAT(machine.journal(), IsEmpty()) << kind.name << " by " << how;
                EXPECT_THAT(machine.reasons(), HasSubstr("/dev/sdb is " + kind.reason))
                    << kind.name << " by " << how;
                EXPECT_EQ(machine.openDescriptors(), 0U);
                ++cases;
            }
        }
    }
    RecordProperty("cases", static_cast<int>(cases));
}

TEST(GuardedHost, EveryReasonIsTold) {
    RecordedHostData data = test::guardedMachine();
    data.files["/proc/self/mountinfo"] = "30 20 253:4 / /data rw - xfs x rw\n";
    test::addMap(data, "dm-5", 5, "mpathb", "mpath-1");
    test::addMap(data, "dm-4", 4, "vg-lv", "LVM-1");
    test::addHolder(data, "sdb", "dm-5");
    test::addHolder(data, "dm-5", "dm-4");
    test::addHolder(data, "dm-4", "sdb");  // a loop ends
    Guarded machine(data);
    EXPECT_FALSE(machine.remove("table"));
    EXPECT_EQ(machine.reasons(),
              "/dev/sdb is mounted at /data\n"
              "/dev/sdb is held by the multipath map (dm-5, mpathb), no other path of which "
              "answers\n");
}

TEST(GuardedHost, TakenOutItLetsAllPass) {
    for (const test::UseKind& kind : test::kindsOfUse()) {
        RecordedHostData data = test::guardedMachine();
        kind.begin(data);
        Guarded machine(data);
        machine.guard().takeOut();
        for (const std::string& how : kRemovals) {
            EXPECT_TRUE(machine.remove(how)) << kind.name << " by " << how;
        }
        EXPECT_EQ(machine.journal().size(), kRemovals.size());
        EXPECT_THAT(machine.guard().refusals(), IsEmpty());
    }
}

// Looks, in the midst of the effect, whether the disk can be claimed.
class ClaimingHost : public recording::RecordedHost {
  public:
    using RecordedHost::RecordedHost;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override {
        claimDuring = host->openDevice("/dev/sdb", host::OpenMode::kReadOnlyExclusive);
        return RecordedHost::appendFile(path, text, beforeWrite);
    }
    host::Host* host = nullptr;
    int claimDuring = 0;
};

TEST(GuardedHost, NobodyCanBeginToUseADiskWhileItGoesAndItIsLetGoRightBehind) {
    recording::Journal journal;
    ClaimingHost below(test::guardedMachine(), journal);
    recording::RecordedHost aside(test::guardedMachine(), journal);
    below.host = &aside;
    GuardedHost guard(
        below, [&]() -> host::Host& { return aside; }, Silence::kIsRefusal);
    EXPECT_EQ(
        guard.appendFile("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 5\n", {}).openError,
        0);
    EXPECT_EQ(below.claimDuring, -EBUSY);
    EXPECT_GE(aside.openDevice("/dev/sdb", host::OpenMode::kReadOnlyExclusive), 0);
}

TEST(GuardedHost, ALiveHostThatDoesNotShowWhatItMustIsNotJudged) {
    const std::vector<std::string> needed = {"/sys/class/scsi_device/",
                                             "/sys/class/block/sdb/holders/",
                                             "/sys/class/block/sdb/dev",
                                             "/sys/class/block/sdb1/dev",
                                             "/sys/class/block/sdb1/holders/",
                                             "/proc/self/mountinfo",
                                             "/proc/",
                                             "/dev/sdb",
                                             "/dev/sdb1"};
    for (const std::string& path : needed) {
        RecordedHostData data = test::guardedMachine();
        data.files.erase(path);
        data.devices.erase(path);
        data.directories.erase(path);
        if (path == "/sys/class/scsi_device/") {
            data.directories.erase("/sys/class/scsi_device/2:0:0:5/device/block/");
        }
        Guarded live(data);
        EXPECT_FALSE(live.remove("table")) << path;
        EXPECT_THAT(live.reasons(), HasSubstr(" is not known to be free: ")) << path;
        Guarded recorded(data, Silence::kIsNoEvidence);
        EXPECT_TRUE(recorded.remove("table")) << path << recorded.reasons();
    }
}

TEST(GuardedHost, ANodeOfAnotherDeviceIsNotTheDisk) {
    RecordedHostData data = test::guardedMachine();
    data.devices["/dev/sdb"].number = test::blockNumber(8, 99);
    Guarded machine(data);
    EXPECT_FALSE(machine.remove("table"));
    EXPECT_THAT(machine.reasons(), HasSubstr("/dev has no node of sdb (8:16)"));
    data.devices["/dev/block/8:16"].number = test::blockNumber(8, 16);
    Guarded byNumber(data);
    EXPECT_TRUE(byNumber.remove("table")) << byNumber.reasons();
}

TEST(GuardedHost, AHostOfWhichNothingIsRecordedRefusesNothing) {
    RecordedHostData data;
    data.files["/proc/scsi/scsi"] = "";
    Guarded recorded(data, Silence::kIsNoEvidence);
    EXPECT_TRUE(recorded.remove("table"));
    Guarded live(data);
    EXPECT_FALSE(live.remove("table"));
}

TEST(GuardedHost, WhereNothingIsNothingIsTaken) {
    Guarded machine(test::guardedMachine());
    EXPECT_TRUE(machine.append("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 300\n"))
        << machine.reasons();
}

TEST(GuardedHost, OlderSysfsIsRead) {
    RecordedHostData data = test::guardedMachine();
    const std::string device = "/sys/class/scsi_device/2:0:0:5/device/";
    data.directories.erase(device + "block/");
    data.directories.erase("/sys/class/block/");
    data.directories[device] = {".", "..", "block:sdb", "scsi_generic:sg1"};
    data.directories.erase(device + "scsi_generic/");
    data.files[device + "scsi_generic:sg1/dev"] = "21:16\n";
    data.directories["/sys/block/"] = {".", "..", "sdb"};
    for (const std::string& name : {std::string("sdb"), std::string("sdb1")}) {
        const std::string old = "/sys/class/block/" + name + "/";
        const std::string now = name == "sdb" ? "/sys/block/sdb/" : "/sys/block/sdb/sdb1/";
        for (const char* folder : {"", "holders/"}) {
            data.directories[now + folder] = data.directories[old + folder];
            data.directories.erase(old + folder);
        }
        data.files[now + "dev"] = data.files[old + "dev"];
        data.files.erase(old + "dev");
    }
    Guarded idle(data);
    EXPECT_TRUE(idle.remove("table")) << idle.reasons();
    data.files["/proc/self/mountinfo"] = "30 20 8:17 / /data rw - xfs x rw\n";
    Guarded used(data);
    EXPECT_FALSE(used.remove("table"));
    EXPECT_THAT(used.reasons(), HasSubstr("/dev/sdb is mounted at /data"));
    data.files["/proc/self/mountinfo"] = "";
    test::addWriter(data, "/dev/sg1");
    Guarded open(data);
    EXPECT_FALSE(open.remove("table"));
}

TEST(GuardedHost, WhoReadsOrHasEndedUsesNothing) {
    RecordedHostData data = test::guardedMachine();
    test::addWriter(data, "/dev/sdb");
    RecordedHostData reading = data;
    reading.files["/proc/77/fdinfo/7"] = "flags:\t0100000\n";
    EXPECT_TRUE(Guarded(reading).remove("table"));
    RecordedHostData own = data;
    own.links["/proc/self"] = "77";
    EXPECT_TRUE(Guarded(own).remove("table"));
    RecordedHostData ended = data;
    ended.files["/proc/77/fdinfo/7"].error = EACCES;
    EXPECT_FALSE(Guarded(ended).remove("table"));
    ended.files["/proc/77/stat"] = "77 (dd) Z 1 77\n";
    EXPECT_TRUE(Guarded(ended).remove("table"));
}

TEST(GuardedHost, WhatIsTakenForDeadAndAnswersStays) {
    Guarded machine(test::guardedMachine());
    machine.guard().setPurpose(GuardedHost::Purpose::kOnlyDead);
    EXPECT_FALSE(machine.remove("table"));
    EXPECT_EQ(machine.reasons(), "/dev/sdb is not dead: it answers as ACME Disk\n");
}

TEST(GuardedHost, OnlyWhatTheKernelOrTheDiskSaysIsGoneIsDead) {
    const auto removed = [](const std::function<void(recording::RecordedDevice&)>& change) {
        RecordedHostData data = test::guardedMachine();
        change(data.devices["/dev/sdb"]);
        Guarded machine(data);
        machine.guard().setPurpose(GuardedHost::Purpose::kOnlyDead);
        return machine.remove("table");
    };
    for (const int error : {ENXIO, ENODEV}) {
        EXPECT_TRUE(removed([&](auto& disk) { disk.openError = error; })) << error;
        EXPECT_TRUE(removed([&](auto& disk) { disk.standardInquiry->error = error; })) << error;
    }
    EXPECT_TRUE(removed([](auto& disk) { disk.standardInquiry->bytes[0] = 0x7F; }));
    for (const int error : {EIO, EACCES, EMFILE, EROFS, ENOMEM, ETIMEDOUT}) {
        EXPECT_FALSE(removed([&](auto& disk) { disk.openError = error; })) << error;
        EXPECT_FALSE(removed([&](auto& disk) { disk.standardInquiry->error = error; })) << error;
    }
    EXPECT_FALSE(removed([](auto& disk) { disk.standardInquiry->bytes.assign(36, 0); }));
}

TEST(GuardedHost, AddressesThatCannotBeTrustedStayWhenTheyAreTakenForDead) {
    const auto reasons = [](const std::string& table, const std::string& address) {
        RecordedHostData data = test::guardedMachine();
        data.files["/proc/scsi/scsi"] = table;
        Guarded machine(data);
        machine.guard().setPurpose(GuardedHost::Purpose::kOnlyDead);
        machine.append("/proc/scsi/scsi", "scsi remove-single-device " + address + "\n");
        return machine.reasons();
    };
    const std::string line = "Host: scsi2 Channel: 00 Id: 00 Lun: ";
    EXPECT_EQ(reasons("", "255 0 0 255"), "");
    EXPECT_EQ(reasons("", "256 0 0 1"),
              "256:0:0:1 is not safely told from another one: the kernel's address word has eight "
              "bits of the host number\n");
    EXPECT_EQ(reasons("", "2 0 0 256"),
              "2:0:0:256 is not safely told from another one: the kernel's address word has eight "
              "bits of the LUN\n");
    EXPECT_EQ(reasons(line + "12\n", "2 0 0 12"), "");
    EXPECT_EQ(reasons(line + "120\n", "2 0 0 12"),
              "2:0:0:12 is not safely told from another one: the inventory takes two characters of "
              "a LUN, and there is LUN 120\n");
    EXPECT_EQ(reasons(line + "120\n", "2 0 0 1"), "");
    EXPECT_EQ(reasons(line + "120\n", "2 0 1 12"), "");
    EXPECT_EQ(reasons(line + "120\n", "3 0 0 12"), "");
}

TEST(GuardedHost, ANamedAddressIsTheOneThatItNames) {
    RecordedHostData data = test::guardedMachine();
    test::addDisk(data, "sde", "2:0:0:16684", 64, "sg4");
    data.files["/proc/self/mountinfo"] = "30 20 8:64 / /data rw - xfs x rw\n";
    Guarded machine(data);
    EXPECT_TRUE(machine.append("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 44\n"));
    EXPECT_FALSE(machine.append("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 16684\n"));
    EXPECT_EQ(machine.reasons(), "/dev/sde is mounted at /data\n");
}

// sdb and sdc under the multipath map mpathb, which is mounted.
RecordedHostData twoPaths() {
    RecordedHostData data = test::guardedMachine();
    for (const test::UseKind& kind : test::kindsOfUse()) {
        if (kind.name == "multipath member whose map is mounted") {
            kind.begin(data);
        }
    }
    data.devices["/dev/sdc"].inUse = true;
    return data;
}

TEST(GuardedHost, ADeadPathMayGoFromAMapThatHasALivingOne) {
    RecordedHostData data = twoPaths();
    const auto removed = [](const RecordedHostData& machine, GuardedHost::Purpose purpose) {
        Guarded guarded(machine);
        guarded.guard().setPurpose(purpose);
        return guarded.remove("sysfs");
    };
    EXPECT_FALSE(removed(data, GuardedHost::Purpose::kDeadPath)) << "it lives";
    data.devices["/dev/sdb"].openError = ENXIO;
    EXPECT_TRUE(removed(data, GuardedHost::Purpose::kDeadPath));
    EXPECT_FALSE(removed(data, GuardedHost::Purpose::kNamed));
    EXPECT_FALSE(removed(data, GuardedHost::Purpose::kOnlyDead));
    RecordedHostData last = data;
    last.devices["/dev/sdc"].openError = ENXIO;
    EXPECT_FALSE(removed(last, GuardedHost::Purpose::kDeadPath)) << "the last path of a used map";
    last.files["/proc/self/mountinfo"] = "";
    EXPECT_TRUE(removed(last, GuardedHost::Purpose::kDeadPath)) << "the map has no user";
    EXPECT_FALSE(removed(last, GuardedHost::Purpose::kNamed));
    last.devices["/dev/dm-5"].inUse = true;
    EXPECT_FALSE(removed(last, GuardedHost::Purpose::kDeadPath)) << "somebody claims the map";
    last.devices["/dev/dm-5"].inUse = false;
    last.devices["/dev/dm-5"].openError = EIO;
    EXPECT_FALSE(removed(last, GuardedHost::Purpose::kDeadPath)) << "the map cannot be judged";
    RecordedHostData unclear = data;
    unclear.devices["/dev/sdb"].openError = EACCES;
    EXPECT_FALSE(removed(unclear, GuardedHost::Purpose::kDeadPath)) << "no proof of death";
    RecordedHostData written = data;
    test::addWriter(written, "/dev/sg1");
    EXPECT_FALSE(removed(written, GuardedHost::Purpose::kDeadPath)) << "another user";
    RecordedHostData lvm = data;
    lvm.files["/sys/class/block/dm-5/dm/uuid"] = "LVM-1\n";
    EXPECT_FALSE(removed(lvm, GuardedHost::Purpose::kDeadPath)) << "no multipath map";
    RecordedHostData partition = data;
    test::addHolder(partition, "sdb1", "dm-0");
    EXPECT_FALSE(removed(partition, GuardedHost::Purpose::kDeadPath)) << "a partition is held";
}

TEST(GuardedHost, Maps) {
    RecordedHostData data = test::guardedMachine();
    const std::vector<std::string> removals = {
        "/usr/sbin/dmsetup remove /dev/mapper/mpatha", "/usr/sbin/dmsetup remove mpatha",
        "/usr/sbin/dmsetup remove /dev/dm-0", "/sbin/multipath -f mpatha"};
    for (const std::string& removal : removals) {
        EXPECT_TRUE(Guarded(data).run(removal)) << removal;
    }
    const auto staysIn = [&](const RecordedHostData& machine, const std::string& reason) {
        for (const std::string& removal : removals) {
            Guarded guarded(machine);
            EXPECT_FALSE(guarded.run(removal)) << removal;
            EXPECT_THAT(guarded.reasons(), HasSubstr(reason)) << removal;
        }
    };
    RecordedHostData mounted = data;
    mounted.files["/proc/self/mountinfo"] = "30 20 253:0 / /data rw - xfs x rw\n";
    staysIn(mounted, "is mounted at /data");
    RecordedHostData held = data;
    test::addMap(held, "dm-1", 1, "mpatha-part1", "part1-mpath-3600");
    test::addHolder(held, "dm-0", "dm-1");
    staysIn(held, "is held by device-mapper (dm-1, mpatha-part1)");
    RecordedHostData claimed = data;
    claimed.devices["/dev/dm-0"].inUse = true;
    staysIn(claimed, "is in use: the kernel refuses an exclusive open");
    RecordedHostData written = data;
    test::addWriter(written, "/dev/dm-0");
    staysIn(written, "is open for writing in process 77 (dd)");
}

TEST(GuardedHost, AMapIsLetGoBeforeItIsRemoved) {
    recording::Journal journal;
    recording::RecordedHost aside(test::guardedMachine(), journal);
    class Below : public recording::RecordedHost {
      public:
        using RecordedHost::RecordedHost;
        host::CommandResult runCommand(const std::string&, int) override {
            openDuring = aside->openDescriptors();
            return {};
        }
        recording::RecordedHost* aside = nullptr;
        std::size_t openDuring = 99;
    };
    Below below(test::guardedMachine(), journal);
    below.aside = &aside;
    GuardedHost guard(
        below, [&]() -> host::Host& { return aside; }, Silence::kIsRefusal);
    EXPECT_EQ(guard.runCommand("/usr/sbin/dmsetup remove mpatha", 600).waitStatus, 0);
    EXPECT_EQ(below.openDuring, 0U);
}

TEST(GuardedHost, MapsThatTheKernelKeepsAreNamed) {
    RecordedHostData data = test::guardedMachine();
    data.files["/proc/self/mountinfo"] = "30 20 253:0 / /data rw - xfs x rw\n";
    Guarded machine(data);
    EXPECT_TRUE(machine.run("/sbin/multipath -F"));
    ASSERT_EQ(machine.guard().kept().size(), 1U);
    EXPECT_EQ(machine.guard().kept()[0].device, "/dev/mapper/mpatha");
    EXPECT_EQ(machine.guard().kept()[0].reason, "mounted at /data");
    EXPECT_THAT(machine.guard().refusals(), IsEmpty());
}

const std::string kScript = "/usr/bin/rescan-scsi-bus.sh";

TEST(GuardedHost, AScriptThatCannotReadSgInqIsRefusedWithBothVersions) {
    RecordedHostData data = test::guardedMachine();
    data.files[kScript] = test::rescanScript(test::kUnreadable);
    Guarded machine(data);
    EXPECT_FALSE(machine.run(kScript + " --remove --flush -d"));
    EXPECT_EQ(machine.reasons(),
              kScript +
                  " is not to be trusted: version 20230413 of it cannot read what sg_inq 2.10 "
                  "20210328 prints (it looks for ' *PQual=\\([0-9]*\\)  Device.*'), so that every "
                  "disk counts as gone; remove what is gone with 'scsitool prune', or install a "
                  "script and an sg_inq that belong together\n");
    EXPECT_TRUE(machine.run(kScript + " --alltargets --issue-lip -d"));
}

TEST(GuardedHost, AScriptIsRefusedWhenSgInqIsMissingOrSaysNothing) {
    for (const int status : {1, 127}) {
        RecordedHostData data = test::guardedMachine();
        data.commands = {{"/usr/bin/sg_inq --len=36 /dev/sg1", {}, status}};
        Guarded machine(data);
        EXPECT_FALSE(machine.run(kScript + " -r")) << status;
        EXPECT_THAT(machine.reasons(), HasSubstr("sg_inq of unknown version"));
    }
    RecordedHostData unspoken = test::guardedMachine();
    unspoken.commands.clear();
    EXPECT_TRUE(Guarded(unspoken, Silence::kIsNoEvidence).run(kScript + " -r"));
}

TEST(GuardedHost, AScriptWhoseReadingIsNotKnownIsRefused) {
    RecordedHostData data = test::guardedMachine();
    data.files[kScript] = "#!/bin/bash\n";
    EXPECT_FALSE(Guarded(data).run(kScript + " -r"));
    EXPECT_FALSE(Guarded(data, Silence::kIsNoEvidence).run(kScript + " -r"));
    data.files[kScript] = "";
    EXPECT_TRUE(Guarded(data, Silence::kIsNoEvidence).run(kScript + " -r"));
    data.files[kScript].error = EACCES;
    EXPECT_FALSE(Guarded(data, Silence::kIsNoEvidence).run(kScript + " -r"));
}

TEST(GuardedHost, TheScriptTakesWhatIsGoneOrChangedAndLeavesTheRest) {
    const auto mounted = [](const std::string& number) {
        RecordedHostData data = test::guardedMachine();
        data.files["/proc/self/mountinfo"] = "30 20 " + number + " / /data rw - xfs x rw\n";
        return data;
    };
    EXPECT_TRUE(Guarded(mounted("8:16")).run(kScript + " -r")) << "it answers as itself";
    const std::vector<std::pair<std::string, std::function<void(RecordedHostData&)>>> taken = {
        {"gone", [](auto& data) { data.devices["/dev/sdb"].openError = ENXIO; }},
        {"cannot be asked", [](auto& data) { data.devices["/dev/sdb"].openError = EACCES; }},
        {"not connected",
         [](auto& data) { data.devices["/dev/sdb"].standardInquiry->bytes[0] = 0x20; }},
        {"another product",
         [](auto& data) { data.files["/sys/class/scsi_device/2:0:0:5/device/model"] = "Old\n"; }},
        {"another revision",
         [](auto& data) { data.files["/sys/class/scsi_device/2:0:0:5/device/rev"] = "0429\n"; }},
        {"no test unit ready", [](auto& data) { data.devices["/dev/sdb"].sgIo.clear(); }},
    };
    for (const auto& [name, change] : taken) {
        RecordedHostData used = mounted("8:16");
        change(used);
        Guarded machine(used);
        EXPECT_FALSE(machine.run(kScript + " --remove")) << name;
        EXPECT_THAT(machine.reasons(), HasSubstr("/dev/sdb is mounted at /data")) << name;
        EXPECT_TRUE(Guarded(used).run(kScript + " --remove --hosts=3,4")) << name;
        RecordedHostData unused = test::guardedMachine();
        change(unused);
        const bool canBeOpened = name != "cannot be asked";
        EXPECT_EQ(Guarded(unused).run(kScript + " --remove"), canBeOpened) << name;
    }
    RecordedHostData revision = mounted("8:16");
    revision.files["/sys/class/scsi_device/2:0:0:5/device/rev"] = "0429\n";
    EXPECT_TRUE(Guarded(revision).run(kScript + " --remove --ignore-rev"));
}

TEST(GuardedHost, AFlushByTheScriptSparesMapsInUseWithoutALivingPath) {
    RecordedHostData data = test::guardedMachine();
    data.files["/proc/self/mountinfo"] = "30 20 253:0 / /data rw - xfs x rw\n";
    EXPECT_TRUE(Guarded(data).run(kScript + " --flush")) << "a path lives";
    data.devices["/dev/sdd"].openError = ENXIO;
    Guarded machine(data);
    EXPECT_FALSE(machine.run(kScript + " --flush"));
    EXPECT_THAT(machine.reasons(), HasSubstr("/dev/mapper/mpatha is mounted at /data"));
    data.files["/proc/self/mountinfo"] = "";
    EXPECT_TRUE(Guarded(data).run(kScript + " --flush")) << "nobody uses the map";
}

TEST(GuardedHost, ALogoutTakesTheDisksOfItsTargetAlone) {
    RecordedHostData data = test::guardedMachine();
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    EXPECT_TRUE(Guarded(data).run("/sbin/iscsiadm -m node -T iqn.other --logout"));
    EXPECT_TRUE(Guarded(data).run("/sbin/iscsiadm -m node -T iqn.2026-01.org.acme:a --login"));
    EXPECT_FALSE(Guarded(data).run("/sbin/iscsiadm -m node -T IQN.2026-01.org.acme:A --logout"));
    EXPECT_FALSE(Guarded(data).run("/sbin/iscsiadm -m session -u"));
    data.files.erase("/sys/class/iscsi_session/session1/targetname");
    EXPECT_FALSE(Guarded(data).run("/sbin/iscsiadm -m node -T iqn.other --logout"));
}

TEST(GuardedHost, WhatItCannotTakeApartIsRefused) {
    Guarded machine(test::guardedMachine());
    EXPECT_FALSE(machine.run("/bin/sh -c 'dmsetup remove x'"));
    EXPECT_FALSE(machine.append("/proc/scsi/scsi", "scsi remove-single-device 2 0 0\n"));
    EXPECT_EQ(machine.guard().runShell("echo 1 >/sys/block/sdb/device/delete"), EBUSY << 8);
    EXPECT_EQ(machine.guard().runShell("/bin/echo hello"), 0);
    EXPECT_THAT(machine.journal(), ElementsAre(HasSubstr("/bin/echo hello")));
}

TEST(GuardedHost, QuestionsLeaveNoTraceOnTheHostBelow) {
    Guarded machine(test::guardedMachine());
    EXPECT_TRUE(machine.run(kScript + " -r"));
    EXPECT_THAT(machine.journal(), ElementsAre(HasSubstr("rescan-scsi-bus.sh -r")));
}

}  // namespace
