#include "scsitool/kit/claim_manager.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "slot_of.h"
#include "trace_capture.h"

namespace {

using qzfi_pdk_4_4::CDmpClaimManager;
using qzfi_pdk_4_4::CDmpDeviceClaimBase;
using test::slotOf;

class ClaimOneDevice : public CDmpDeviceClaimBase {
  public:
    ClaimOneDevice(std::string device, std::string text)
        : m_device(std::move(device)), m_text(std::move(text)) {}
    bool claim(const std::string& deviceName) override {
        ++m_asked;
        return deviceName == m_device;
    }
    std::string claimString() const override { return m_text; }
    int asked() const { return m_asked; }

  private:
    std::string m_device;
    std::string m_text;
    int m_asked = 0;
};

struct PartitionName {
    const char* partition;
    const char* disk;
    unsigned number;
};

TEST(ClaimManager, PartitionAndDiskNamesAreFormedFromEachOther) {
    const PartitionName names[] = {
        {"sda1", "sda", 1},
        {"/dev/sda1", "/dev/sda", 1},
        {"/dev/sdaa15", "/dev/sdaa", 15},
        {"/dev/sdp2", "/dev/sdp", 2},
        {"vdb3", "vdb", 3},
        {"xvda1", "xvda", 1},
        {"hda4", "hda", 4},
        {"dasda1", "dasda", 1},
        {"nvme0n1p2", "nvme0n1", 2},
        {"/dev/nvme10n12p128", "/dev/nvme10n12", 128},
        {"mmcblk0p1", "mmcblk0", 1},
        {"/dev/cciss/c0d0p1", "/dev/cciss/c0d0", 1},
        {"mpath1p1", "mpath1", 1},
        {"/dev/mapper/mpath1p1", "/dev/mapper/mpath1", 1},
        {"/dev/mapper/mpathap1", "/dev/mapper/mpatha", 1},
        {"mpathbp12", "mpathb", 12},
        {"/dev/mapper/360060160a0b1p3", "/dev/mapper/360060160a0b1", 3},
        {"/dev/mapper/datap1", "/dev/mapper/data", 1},
        {"emcpowera1", "emcpowera", 1},
        {"/dev/emcpoweraa12", "/dev/emcpoweraa", 12},
        {"/dev/emcpowerp1", "/dev/emcpowerp", 1},
        {"/dev/sda4294967295", "/dev/sda", 4294967295U},
    };
    CDmpClaimManager manager;
    for (const PartitionName& name : names) {
        unsigned number = 77;
        EXPECT_EQ(manager.removePartitionSuffix(name.partition, number), name.disk);
        EXPECT_EQ(number, name.number) << name.partition;
        EXPECT_TRUE(manager.isPartition(name.partition)) << name.partition;
        EXPECT_FALSE(manager.isPartition(name.disk)) << name.disk;
        EXPECT_EQ(manager.appendPartitionSuffix(name.disk, name.number), name.partition);
    }
}

TEST(ClaimManager, PartitionNamesOfOtherToolsAreKnown) {
    const PartitionName names[] = {
        {"/dev/mapper/mpatha1", "/dev/mapper/mpatha", 1},
        {"mpathaa12", "mpathaa", 12},
        {"/dev/mapper/mpathp1", "/dev/mapper/mpathp", 1},
        {"/dev/mapper/mpatha-part1", "/dev/mapper/mpatha", 1},
        {"/dev/disk/by-id/wwn-0x5000c500a0b1-part12", "/dev/disk/by-id/wwn-0x5000c500a0b1", 12},
    };
    CDmpClaimManager manager;
    for (const PartitionName& name : names) {
        unsigned number = 77;
        EXPECT_EQ(manager.removePartitionSuffix(name.partition, number), name.disk);
        EXPECT_EQ(number, name.number) << name.partition;
        EXPECT_TRUE(manager.isPartition(name.partition)) << name.partition;
    }
}

TEST(ClaimManager, WholeDevicesComeBackUnchangedWithNumberZero) {
    const char* const names[] = {
        "",
        "/",
        "1",
        "p1",
        "sd1",
        "sda",
        "sda0",
        "sda01",

        "sdA1",
        "/dev/sda/1",
        "sda4294967296",
        "sda99999999999999999999",
        "sr0",
        "dm-3",
        "md127",
        "loop0",
        "nvme0n1",
        "nvme0n1p",
        "nvme0n1p0",
        "mpath1",
        "mpath",
        "/dev/mapper/mpath12",
        "/dev/mapper/p1",
        "/dev/mapper/data1",
        "/dev/mapper/control",
        "datap1",
        "emcpower",
        "emcpower1",
        "-part1",
        "sda-part",
        "/dev/mapper/",
        "/dev/mapper/360060160a0b1",
        "mpathp",
        "sda1 ",
    };
    CDmpClaimManager manager;
    for (const char* const name : names) {
        unsigned number = 77;
        EXPECT_EQ(manager.removePartitionSuffix(name, number), name);
        EXPECT_EQ(number, 0U) << name;
        EXPECT_FALSE(manager.isPartition(name)) << name;
    }
}

TEST(ClaimManager, PartitionZeroIsTheWholeDisk) {
    CDmpClaimManager manager;
    EXPECT_EQ(manager.appendPartitionSuffix("/dev/sda", 0), "/dev/sda");
    EXPECT_EQ(manager.appendPartitionSuffix("nvme0n1", 0), "nvme0n1");
    EXPECT_EQ(manager.appendPartitionSuffix("", 1), "");
}

TEST(ClaimManager, ModulesAreAskedInOrderUpToTheFirstThatClaims) {
    CDmpClaimManager manager;
    ClaimOneDevice first("/dev/sda", "first layer");
    ClaimOneDevice second("/dev/sdb", "second layer");
    ClaimOneDevice third("/dev/sdb", "third layer");
    manager.registerClaimModule(&first);
    manager.registerClaimModule(nullptr);
    manager.registerClaimModule(&second);
    manager.registerClaimModule(&third);
    EXPECT_EQ(manager.getDeviceClaimStrings(),
              (std::vector<std::string>{"first layer", "second layer", "third layer"}));
    EXPECT_TRUE(manager.claim("/dev/sdb"));
    EXPECT_EQ(std::make_tuple(first.asked(), second.asked(), third.asked()),
              std::make_tuple(1, 1, 0));
    EXPECT_FALSE(manager.claim("/dev/sdc"));
}

TEST(ClaimManager, NothingIsClaimedWithoutModules) {
    CDmpClaimManager manager;
    manager.clearLvmDeviceNameList();
    EXPECT_FALSE(manager.claim("/dev/sda"));
    EXPECT_TRUE(manager.getDeviceClaimStrings().empty());
}

TEST(ClaimManager, TraceLogGoesToEarlierAndLaterModules) {
    CDmpClaimManager manager;
    test::TraceCapture capture;
    ClaimOneDevice early("/dev/sda", "early layer");
    ClaimOneDevice late("/dev/sdb", "late layer");
    manager.registerClaimModule(&early);
    EXPECT_TRUE(early.m_traceLog.isNull());
    manager.registerTraceLog(capture.log());
    manager.registerClaimModule(&late);
    EXPECT_EQ(early.m_traceLog.get(), capture.log().get());
    EXPECT_EQ(late.m_traceLog.get(), capture.log().get());
    manager.claim("/dev/sdb");
    EXPECT_EQ(capture.lines(),
              std::vector<std::string>{"[6] INFO: device /dev/sdb is claimed by late layer"});
}

TEST(ClaimManager, VirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1.
    EXPECT_EQ(slotOf(&CDmpClaimManager::registerClaimModule), 2);
    EXPECT_EQ(slotOf(&CDmpClaimManager::registerTraceLog), 3);
    EXPECT_EQ(slotOf(&CDmpClaimManager::getDeviceClaimStrings), 4);
    EXPECT_EQ(slotOf(&CDmpClaimManager::claim), 5);
    EXPECT_EQ(slotOf(&CDmpClaimManager::isPartition), 6);
    EXPECT_EQ(slotOf(&CDmpClaimManager::appendPartitionSuffix), 7);
    EXPECT_EQ(slotOf(&CDmpClaimManager::removePartitionSuffix), 8);
    EXPECT_EQ(slotOf(&CDmpClaimManager::clearLvmDeviceNameList), 9);
}

}  // namespace
