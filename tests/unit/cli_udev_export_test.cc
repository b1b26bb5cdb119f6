#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "cli_harness.h"
#include "scsitool/host/forwarding_host.h"
#include "sick_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::namedDisk;
using testing::HasSubstr;
using testing::Not;

const std::string kUdid = "UDID##ACME##RAID_5##A1##6000000A000000000000000000000001";
const std::string kName = "naa6:naa.6000000a000000000000000000000001";
const std::string kOtherName = "naa6:naa.6000000a000000000000000000000002";

/// A host with what udev knows of it.
class UdevHost : public test::SickHost {
  public:
    void disk(const std::string& name, const std::string& number, const std::string& address,
              std::uint64_t sizeKb = 1048576) {
        addDisk(name, address, namedDisk("A1", 1), sizeKb);
        block(name, number);
    }
    void block(const std::string& name, const std::string& number) {
        data.files["/sys/class/block/" + name + "/dev"] = number + "\n";
        data.links["/sys/dev/block/" + number] = "../../devices/platform/host2/block/" + name;
        data.files["/sys/class/block/" + name + "/uevent"] = "";
        data.directories.emplace("/sys/class/block/" + name + "/",
                                 std::vector<std::string>{".", ".."});
    }
    /// The map has its node, and no link to it yet.
    void nodeOfMap() {
        recording::RecordedDevice& node = data.devices["/dev/dm-0"];
        node = data.devices["/dev/mapper/mpatha"];
        node.number = {host::DeviceNumber::Kind::kBlock, 253, 0};
        data.devices.erase("/dev/mapper/mpatha");
    }
    void known(const std::string& number, const std::string& properties) {
        if (data.directories.count("/run/udev/data/") == 0) {
            data.directories["/run/udev/data/"] = {".", "..", "c5:1", "+scsi:2:0:0:1"};
        }
        data.directories["/run/udev/data/"].push_back("b" + number);
        data.files["/run/udev/data/b" + number] = "S:disk/by-id/x\nI:123\n" + properties + "G:a\n";
    }
    /// As udev has a device of the UDID that was exported with these names.
    void exported(const std::string& number, const std::string& names, bool withLink,
                  const std::string& more = "") {
        known(number, "E:SCSITOOL_UDID_ENC=" + kUdid + "\n" +
                          (withLink ? "E:SCSITOOL_LINK=" + kUdid + "\n" : "") +
                          (names.empty() ? "" : "E:SCSITOOL_LU_NAMES=" + names + "\n") + more);
    }
    CliResult run(const std::vector<std::string>& arguments) {
        CliMachine machine(data);
        const CliResult result = machine.run(arguments);
        EXPECT_EQ(machine.openDescriptors(), 0U);
        effects = machine.journal();
        return result;
    }
    CliResult exportOf(const std::string& name) { return run({"udev-export", name}); }
    CliResult relink(const std::string& udid = kUdid) {
        return run({"udev-export", "--relink", udid});
    }

    std::vector<std::string> effects;
};

std::string change(const std::string& name) {
    return R"({"effect":"append","path":"/sys/class/block/)" + name +
           R"(/uevent","data":"change"})";
}

TEST(CliUdevExport, ADiskHasItsUdidItsNamesAndALink) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    const CliResult result = host.exportOf("/dev/sda");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "SCSITOOL_UDID=" + kUdid + "\nSCSITOOL_UDID_ENC=" + kUdid +
                              "\nSCSITOOL_LINK=" + kUdid +
                              "\nSCSITOOL_FAMILY=Everything else\n"
                              "SCSITOOL_VOLUME_ID=6000000A000000000000000000000001\n"
                              "SCSITOOL_LU_NAME=naa.6000000a000000000000000000000001\n"
                              "SCSITOOL_LU_NAMES=" +
                              kName + "\n");
    EXPECT_TRUE(host.effects.empty());
}

/// Notes how devices are opened and whether the rescan lock is asked for.
class Opens : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    std::vector<host::OpenMode> modes;
    int semaphores = 0;

    int openDevice(const std::string& path, host::OpenMode mode) override {
        modes.push_back(mode);
        return ForwardingHost::openDevice(path, mode);
    }
    int openSemaphore(int key, int count, int flags) override {
        ++semaphores;
        return ForwardingHost::openSemaphore(key, count, flags);
    }
};

TEST(CliUdevExport, NothingIsOpenedForWritingAndNoLockTaken) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    CliMachine machine(host.data);
    Opens opens(machine.host());
    // By this process, where what is opened can be seen.
    const CliResult result =
        test::runCli({"--jobs", "1", "--deadline", "0", "udev-export", "/dev/sda"}, opens);
    EXPECT_EQ(result.status, 0);
    EXPECT_FALSE(opens.modes.empty());
    for (const host::OpenMode mode : opens.modes) {
        EXPECT_EQ(mode, host::OpenMode::kReadOnlyNonBlocking);
    }
    EXPECT_EQ(opens.semaphores, 0);
}

TEST(CliUdevExport, AWriteProtectedDiskIsToldToo) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.data.devices["/dev/sda"].writeError = EROFS;
    EXPECT_EQ(host.exportOf("/dev/sda").status, 0);
}

TEST(CliUdevExport, ALinkIsFollowedToItsDisk) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.data.links["/dev/disk/by-id/wwn-0x6000"] = "../../sda";
    EXPECT_THAT(host.exportOf("/dev/disk/by-id/wwn-0x6000").out, HasSubstr("SCSITOOL_LINK="));
}

TEST(CliUdevExport, WhatIsNoWholeDiskIsRefused) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.addMap("dm-1", "vg-lv", {"sda"}, namedDisk("A1", 1), "LVM-abc");
    for (const std::string name : {"/dev/sda1", "/dev/dm-1", "/dev/sr0", "/dev/nvme0n1", "sda", "x",
                                   "/dev/", "/dev/emcpowera1"}) {
        const CliResult result = host.exportOf(name);
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_EQ(result.out, "") << name;
        EXPECT_EQ(result.err, "scsitool: " + name +
                                  ": it is no whole sd disk, multipath map or PowerPath device\n");
    }
}

TEST(CliUdevExport, ADiskThatTellsNoVolumeGetsNothing) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.disk("sdb", "8:16", "2:0:0:2");
    host.disk("sdc", "8:32", "2:0:0:3");
    test::silence(host.data.devices["/dev/sda"], EIO);
    host.data.devices["/dev/sdb"].openError = ENXIO;
    host.data.devices["/dev/sdc"].pages.clear();
    const std::pair<std::string, std::string> kWhy[] = {
        {"/dev/sda", "the device opens and did not answer INQUIRY"},
        {"/dev/sdb", "cannot open the device: No such device or address"},
        {"/dev/sdc", "its UDID is made of its path at this host, which names no volume"},
        {"/dev/sdd", "cannot open the device: No such file or directory"}};
    for (const auto& [name, why] : kWhy) {
        const CliResult result = host.exportOf(name);
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_EQ(result.out, "") << name;
        EXPECT_EQ(result.err, "scsitool: " + name + ": " + why + "\n");
    }
}

TEST(CliUdevExport, AMapIsAskedByItsNode) {
    UdevHost host;
    host.addMap("dm-0", "mpatha", {"sda"}, namedDisk("A1", 1));
    host.block("dm-0", "253:0");
    host.nodeOfMap();
    EXPECT_THAT(host.exportOf("/dev/dm-0").out, HasSubstr("SCSITOOL_LINK=" + kUdid + "\n"));
}

TEST(CliUdevExport, APartitionOfAMapHasWhatTheMapSays) {
    UdevHost host;
    host.addMap("dm-0", "mpatha", {"sda"}, namedDisk("A1", 1));
    host.block("dm-0", "253:0");
    host.nodeOfMap();
    host.addMap("dm-1", "mpatha-part2", {"dm-0"}, {}, "part2-mpath-3600");
    host.block("dm-1", "253:1");
    const CliResult result = host.exportOf("/dev/dm-1");
    EXPECT_THAT(result.out, HasSubstr("SCSITOOL_LINK=" + kUdid + "\nSCSITOOL_PARTITION=2\n"));
    for (const char* const uuid : {"part2-LVM-x", "part-mpath-x", "partx-mpath-x", "part0-mpath-x",
                                   "part2mpath-x", "part99999999999-mpath-x"}) {
        host.data.files["/sys/class/block/dm-1/dm/uuid"] = std::string(uuid) + "\n";
        EXPECT_EQ(host.exportOf("/dev/dm-1").status, 1) << uuid;
    }
}

TEST(CliUdevExport, TwoPathsOfOneVolumeHaveTheLinkBoth) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.disk("sdb", "8:16", "3:0:0:1");
    host.exported("8:16", kName, true);
    EXPECT_THAT(host.exportOf("/dev/sda").out, HasSubstr("SCSITOOL_LINK="));
}

TEST(CliUdevExport, TwoVolumesOfOneUdidHaveNoLink) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.disk("sdb", "8:16", "3:0:0:1");
    host.exported("8:16", kOtherName, true);
    const CliResult result = host.exportOf("/dev/sda");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, Not(HasSubstr("SCSITOOL_LINK=")));
    EXPECT_THAT(result.out, HasSubstr("SCSITOOL_UDID_ENC=" + kUdid + "\nSCSITOOL_SHARED=1\n"));
    EXPECT_TRUE(host.effects.empty());
}

// What udev knew of the disk itself is what it was before.
TEST(CliUdevExport, ADisksFormerNamesAreNoOtherVolume) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.exported("8:0", kOtherName, true);
    EXPECT_THAT(host.exportOf("/dev/sda").out, HasSubstr("SCSITOOL_LINK="));
}

TEST(CliUdevExport, WhatHasGoneIsNoOtherVolume) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.exported("8:16", kOtherName, true);
    EXPECT_THAT(host.exportOf("/dev/sda").out, HasSubstr("SCSITOOL_LINK="));
}

TEST(CliUdevExport, APartitionIsNoOtherVolume) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.block("sdb1", "8:17");
    host.exported("8:17", kOtherName, true);
    host.addMap("dm-1", "mpatha-part2", {"dm-0"}, {}, "part2-mpath-3600");
    host.block("dm-1", "253:1");
    host.exported("253:1", kOtherName, true, "E:SCSITOOL_PARTITION=2\n");
    EXPECT_THAT(host.exportOf("/dev/sda").out, HasSubstr("SCSITOOL_LINK="));
}

TEST(CliUdevExport, WithoutNamesTheSizesTellVolumesApart) {
    for (const std::uint64_t size : {1048576U, 1048577U}) {
        UdevHost host;
        host.disk("sda", "8:0", "2:0:0:1");
        host.disk("sdb", "8:16", "3:0:0:1", size);
        host.exported("8:0", "", true);
        host.exported("8:16", "", true);
        host.relink();
        EXPECT_EQ(host.effects.size(), size == 1048576U ? 0U : 2U);
    }
}

TEST(CliUdevExport, JsonHasTheSameKeys) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    const auto json = host.run({"--json", "udev-export", "/dev/sda"}).json();
    EXPECT_EQ(json["udid"], kUdid);
    EXPECT_EQ(json["identity"], "unit");
    EXPECT_EQ(json["udev"]["SCSITOOL_LINK"], kUdid);
}

TEST(CliUdevRelink, BothOfTwoVolumesAreLookedAtAgain) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.disk("sdb", "8:16", "3:0:0:1");
    host.exported("8:0", kName, true);
    host.exported("8:16", kOtherName, true);
    const CliResult result = host.relink();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "/dev/sda\n/dev/sdb\n");
    EXPECT_THAT(host.effects, testing::ElementsAre(change("sda"), change("sdb")));
}

TEST(CliUdevRelink, WhatIsRightIsLeftAlone) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.disk("sdb", "8:16", "3:0:0:1");
    host.exported("8:0", kName, true);
    host.exported("8:16", kName, true);
    EXPECT_EQ(host.relink().out, "");
    UdevHost two;
    two.disk("sda", "8:0", "2:0:0:1");
    two.disk("sdb", "8:16", "3:0:0:1");
    two.exported("8:0", kName, false);
    two.exported("8:16", kOtherName, false);
    EXPECT_EQ(two.relink().out, "");
    EXPECT_TRUE(host.effects.empty() && two.effects.empty());
}

TEST(CliUdevRelink, OnlyTheOneThatStillHasItsLinkIsLookedAtAgain) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.disk("sdb", "8:16", "3:0:0:1");
    host.exported("8:0", kName, true);
    host.exported("8:16", kOtherName, false);
    host.relink();
    EXPECT_THAT(host.effects, testing::ElementsAre(change("sda")));
}

TEST(CliUdevRelink, TheLastVolumeOfAUdidGetsItsLinkBack) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.exported("8:0", kName, false);
    host.exported("8:16", kOtherName, false);  // its disk has gone
    host.relink();
    EXPECT_THAT(host.effects, testing::ElementsAre(change("sda")));
}

// It has what its disk has by then.
TEST(CliUdevRelink, PartitionsComeBehindTheirDisks) {
    UdevHost host;
    host.block("sda1", "8:1");
    host.exported("8:1", "", true);
    host.disk("sda", "8:2", "2:0:0:1");
    host.exported("8:2", kName, true);
    host.disk("sdb", "8:16", "3:0:0:1");
    host.exported("8:16", kOtherName, false);
    host.relink();
    EXPECT_THAT(host.effects, testing::ElementsAre(change("sda"), change("sda1")));
}

TEST(CliUdevRelink, AMapIsWithItsPaths) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.addMap("dm-0", "mpatha", {"sda"}, namedDisk("A1", 1));
    host.block("dm-0", "253:0");
    host.exported("8:0", kName, true);
    host.exported("253:0", kName, true);
    host.relink();
    EXPECT_TRUE(host.effects.empty());
}

TEST(CliUdevRelink, OtherUdidsAreLeftAlone) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.disk("sdb", "8:16", "3:0:0:1");
    host.exported("8:0", kName, true);
    host.known("8:16",
               "E:SCSITOOL_UDID_ENC=" + kUdid + "x\nE:SCSITOOL_LU_NAMES=" + kOtherName + "\n");
    host.relink();
    EXPECT_TRUE(host.effects.empty());
    EXPECT_EQ(host.relink("none").status, 0);
}

TEST(CliUdevRelink, ADryRunOnlyTells) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.exported("8:0", kName, false);
    const CliResult result = host.run({"--dry-run", "udev-export", "--relink", kUdid});
    EXPECT_THAT(result.out, HasSubstr("would write \"change\" to /sys/class/block/sda/uevent"));
    EXPECT_TRUE(host.effects.empty());
}

TEST(CliUdevRelink, WhatHasGoneMeanwhileIsNoFailure) {
    UdevHost host;
    host.disk("sda", "8:0", "2:0:0:1");
    host.exported("8:0", kName, false);
    host.data.files.erase("/sys/class/block/sda/uevent");
    const CliResult result = host.relink();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
}

TEST(CliUdevExport, ItTakesANameOrAUdid) {
    UdevHost host;
    EXPECT_EQ(host.run({"udev-export"}).status, 2);
    EXPECT_EQ(host.run({"udev-export", "/dev/sda", "--relink", "x"}).status, 2);
    EXPECT_EQ(host.run({"udev-export", ""}).status, 2);
}

}  // namespace
