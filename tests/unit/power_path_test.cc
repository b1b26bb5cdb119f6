#include "cli/picture/power_path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "cli_harness.h"
#include "doctor_machine.h"
#include "sick_host.h"

// The disks below a pseudo-device of PowerPath, of which sysfs says nothing.

namespace {

using cli::picture::PowerPathMembers;
using cli::picture::powerPathMembersIn;
using test::CliMachine;
using test::CliResult;
using test::namedDisk;
using testing::HasSubstr;
using testing::Not;

using Lines = std::vector<std::string>;

const std::string kDisplay = "/sbin/powermt display dev=all";
const std::string kUdid = "UDID##ACME##RAID_5##A1##6000000A000000000000000000000001";

Lines paragraph(const std::string& device, const Lines& disks) {
    Lines lines = {
        "Pseudo name=" + device,
        "Symmetrix ID=000190300123",
        "Logical device ID=00A1",
        "state=alive; policy=SymmOpt; queued-IOs=0",
        "==============================================================================",
        "--------------- Host ---------------   - Stor -   -- I/O Path --  -- Stats ---",
        "###  HW Path               I/O Paths    Interf.   Mode    State   Q-IOs Errors",
        "=============================================================================="};
    for (const std::string& disk : disks) {
        lines.push_back("   3 qla2xxx                   " + disk +
                        "       FA  7eA   active  dead       0      1");
    }
    lines.emplace_back();
    return lines;
}

Lines operator+(Lines left, const Lines& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

TEST(PowerPathMembers, AreTheDisksOfEachParagraph) {
    EXPECT_EQ(powerPathMembersIn(paragraph("emcpowera", {"sda", "sdb"}) +
                                 paragraph("emcpoweraa", {"sdaa"})),
              (PowerPathMembers{{"emcpowera", {"sda", "sdb"}}, {"emcpoweraa", {"sdaa"}}}));
    EXPECT_EQ(powerPathMembersIn({}), PowerPathMembers());
}

TEST(PowerPathMembers, ADiskBelowTwoIsBelowNone) {
    EXPECT_EQ(powerPathMembersIn(paragraph("emcpowera", {"sda", "sdb"}) +
                                 paragraph("emcpowerb", {"sdb"})),
              (PowerPathMembers{{"emcpowera", {"sda"}}, {"emcpowerb", {}}}));
    // The same line twice is no contradiction.
    EXPECT_EQ(powerPathMembersIn(paragraph("emcpowera", {"sda", "sda"})),
              (PowerPathMembers{{"emcpowera", {"sda"}}}));
}

TEST(PowerPathMembers, WhatDoesNotLookLikeItIsLeftOut) {
    EXPECT_EQ(powerPathMembersIn({"  3 qla2xxx  sda  FA 7eA active alive 0 0"}),
              PowerPathMembers());
    for (const std::string device : {"", "emcpower", "emcpowera1", "sda", "dm-0", "EMCPOWERA"}) {
        EXPECT_EQ(powerPathMembersIn(paragraph(device, {"sda"})), PowerPathMembers()) << device;
    }
    for (const std::string disk : {"sd", "sda1", "xsda", "/dev/sda", "SDA"}) {
        EXPECT_EQ(powerPathMembersIn(paragraph("emcpowera", {disk})), PowerPathMembers()) << disk;
    }
}

/// Volume 1 on sda and sdb below emcpowera.
class PowerPathHost : public test::SickHost {
  public:
    PowerPathHost() {
        addDisk("sda", "2:0:0:1", namedDisk("A1", 1));
        addDisk("sdb", "3:0:0:1", namedDisk("A1", 1));
        data.directories["/dev/"].emplace_back("emcpowera");
        data.devices["/dev/emcpowera"] = namedDisk("A1", 1);
        data.commands.push_back({kDisplay, paragraph("emcpowera", {"sda", "sdb"})});
    }
    void silencePseudoDevice() { test::silence(data.devices["/dev/emcpowera"], EIO); }
    nlohmann::ordered_json volumes() const {
        CliMachine machine(data);
        return machine.run({"volumes", "--json"}).json()["volumes"];
    }
};

TEST(PowerPathHost, APseudoDeviceThatDoesNotAnswerStaysWithItsVolume) {
    PowerPathHost host;
    ASSERT_EQ(host.volumes().size(), 1U);
    host.silencePseudoDevice();
    const auto volumes = host.volumes();
    ASSERT_EQ(volumes.size(), 1U) << volumes.dump(2);
    EXPECT_EQ(volumes[0]["udid"], kUdid);
    EXPECT_THAT(volumes[0].dump(), HasSubstr("/dev/emcpowera"));
}

TEST(PowerPathHost, WithoutTheToolsWordItStandsAlone) {
    PowerPathHost host;
    host.silencePseudoDevice();
    for (const int status : {1, 127}) {
        PowerPathHost untold = host;
        untold.data.commands.front().exitStatus = status;
        EXPECT_EQ(untold.volumes().size(), 2U) << status;
    }
    host.data.commands.clear();
    EXPECT_EQ(host.volumes().size(), 2U);
}

TEST(PowerPathHost, ThatTheToolIsHeardAtAllIsForOneThatDoesNotAnswer) {
    PowerPathHost host;
    // Whoever answers is believed, whatever the tool says.
    host.data.commands.front().output = paragraph("emcpowera", {"sdz"});
    EXPECT_EQ(host.volumes().size(), 1U);
    host.silencePseudoDevice();
    EXPECT_EQ(host.volumes().size(), 2U);
}

TEST(PowerPathHost, ACaptureSaysTheSame) {
    PowerPathHost host;
    host.silencePseudoDevice();
    CliMachine machine(host.data);
    const test::TempFolder folder;
    machine.run({"capture", folder.path("host")}, test::root());
    EXPECT_THAT(folder.read("host"), HasSubstr(kDisplay));
    CliMachine nowhere({});
    EXPECT_EQ(nowhere.run({"--host", folder.path("host"), "volumes"}).out,
              machine.run({"volumes"}, test::root()).out);
    PowerPathHost none;
    none.data.directories["/dev/"].pop_back();
    none.data.devices.erase("/dev/emcpowera");
    CliMachine plain(none.data);
    plain.run({"capture", folder.path("plain")}, test::root());
    EXPECT_THAT(folder.read("plain"), Not(HasSubstr("powermt display")));
}

}  // namespace
