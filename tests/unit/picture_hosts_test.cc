#include <cerrno>

#include "cli_harness.h"
#include "sick_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::namedDisk;
using test::SickHost;
using test::silence;
using testing::HasSubstr;

const std::string kFirst = "UDID##ACME##RAID_5##A1##6000000A000000000000000000000001";
const std::string kSecond = "UDID##ACME##RAID_5##A2##6000000A000000000000000000000002";

// Volume 1 on sda and sdb below the map mpathb, and volume 2 on sdc.
SickHost mappedHost() {
    SickHost host;
    host.addDisk("sda", "2:0:0:1", namedDisk("A1", 1));
    host.addDisk("sdb", "3:0:0:1", namedDisk("A1", 1));
    host.addDisk("sdc", "2:0:0:2", namedDisk("A2", 2));
    host.addMap("dm-0", "mpathb", {"sda", "sdb"}, namedDisk("A1", 1));
    return host;
}

CliResult run(const SickHost& host, const std::vector<std::string>& arguments) {
    CliMachine machine(host.data);
    CliResult result = machine.run(arguments);
    EXPECT_THAT(machine.journal(),
                testing::Each(testing::AnyOf(HasSubstr("/usr/sbin/dmsetup "),
                                             HasSubstr("/sbin/powermt display "))));
    EXPECT_EQ(machine.openDescriptors(), 0U);
    return result;
}

TEST(PictureHosts, AHealthyHostIsComplete) {
    const CliResult result = run(mappedHost(), {"volumes"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "VOLUME                 SIZE  PATHS  VENDOR  PRODUCT  ARRAY  LUN  USED BY  UDID\n"
              "/dev/mapper/mpathb  1.0 GiB    2/2  ACME    RAID 5   -        1  -        " +
                  kFirst +
                  "\n"
                  "/dev/sdc            1.0 GiB    1/1  ACME    RAID 5   -        2  -        " +
                  kSecond + "\n");
}

TEST(PictureHosts, OneDeadPathDoesNotRenameAMountedVolume) {
    SickHost host = mappedHost();
    silence(host.data.devices["/dev/sda"], EIO);
    silence(host.data.devices["/dev/mapper/mpathb"], EIO);
    const CliResult result = run(host, {"volumes"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "scsitool: 1 of 3 disks did not answer: /dev/sda\n"
              "scsitool: 1 of 1 multipath device did not answer: /dev/mapper/mpathb\n");
    EXPECT_THAT(
        result.out,
        HasSubstr("\n/dev/mapper/mpathb  1.0 GiB    1/2  ACME    RAID 5   -        1  -        "
                  "no answer: input/output error: /dev/mapper/mpathb /dev/sda  " +
                  kFirst + "\n"));
    const auto devices = run(host, {"devices", "--json"}).json()["devices"];
    EXPECT_EQ(devices[0]["udid"], "UDID######/DEV/MAPPER/MPATHB@GUEST");
    EXPECT_EQ(devices[0]["identity"], "path");
    EXPECT_EQ(devices[1]["last_known_udid"], kFirst);
    EXPECT_EQ(devices[1]["state"], "no answer: input/output error");
}

// A UDID that holds on this host only is no identity, whichever command shows it.
TEST(PictureHosts, AUdidOfAPathIsMarkedByEveryCommand) {
    SickHost host = mappedHost();
    silence(host.data.devices["/dev/mapper/mpathb"], EIO);
    const std::string path = "UDID######/DEV/MAPPER/MPATHB@GUEST";
    EXPECT_EQ(run(host, {"udid", "/dev/mapper/mpathb"}).out,
              path + " (this path at this host only)\n");
    EXPECT_THAT(run(host, {"validate", "/dev/mapper/mpathb"}).out,
                HasSubstr("  " + path + " (this path at this host only)\n"));
    const auto udid = run(host, {"udid", "/dev/mapper/mpathb", "--json"}).json();
    EXPECT_EQ(udid["udid"], path) << "as the library has it";
    EXPECT_EQ(udid["identity"], "path");
    const auto identity = [&](const std::string& name) {
        return run(host, {"validate", name, "--json"}).json()["devices"][0]["identity"];
    };
    EXPECT_EQ(identity("/dev/mapper/mpathb"), "path");
    EXPECT_EQ(identity("/dev/sda"), "unit");
    EXPECT_EQ(run(host, {"udid", "/dev/sda"}).out, kFirst + "\n");
    EXPECT_EQ(run(host, {"udid", "/dev/sda", "--json"}).json()["identity"], "unit");
    EXPECT_EQ(run(host, {"udid", "/dev/none", "--json"}).json()["identity"], "none");
}

// Its address is the kernel's: it did not answer when it was asked for its own.
TEST(PictureHosts, ADiskWithoutAnAddressWordShowsTheAddressOfSysfs) {
    SickHost host = mappedHost();
    host.data.devices["/dev/sda"].standardInquiry->error = EIO;
    EXPECT_THAT(run(host, {"inquiry", "/dev/sda", "--json"}).json()["records"][0]["host"], -1);
    host.data.devices["/dev/sda"] = namedDisk("A1", 1);
    host.data.devices["/dev/sda"].idLun.reset();
    EXPECT_THAT(run(host, {"inquiry", "/dev/sda"}).out,
                HasSubstr("\nAddress           2:0:0:1 (host:channel:target:lun as sysfs has it; "
                          "the device told none)\n"));
}

TEST(PictureHosts, WithAllPathsDownEveryDiskHasItsRow) {
    SickHost host = mappedHost();
    for (const char* name : {"/dev/sda", "/dev/sdb", "/dev/sdc", "/dev/mapper/mpathb"}) {
        host.data.devices[name].openError = ETIMEDOUT;
    }
    for (const std::string command : {"volumes", "devices", "disks"}) {
        const CliResult result = run(host, {command});
        EXPECT_EQ(result.status, 3) << command;
        EXPECT_THAT(result.err,
                    testing::StartsWith(
                        "scsitool: 3 of 3 disks did not answer: /dev/sda /dev/sdb /dev/sdc\n"));
        EXPECT_THAT(result.out, HasSubstr("no answer in 10 s")) << command;
    }
    const auto document = run(host, {"devices", "--json"}).json();
    EXPECT_EQ(document["devices"].dump(), "[]");
    ASSERT_EQ(document["unidentified"].size(), 4U);
    EXPECT_THAT(document["unidentified"][3].dump(),
                testing::StartsWith(R"({"name":"/dev/sdc","address":[2,0,0,2],"hctl":"2:0:0:2",)"
                                    R"("state":"no answer in 10 s","last_known_udid":")" +
                                    kSecond + R"(","marks":[],"size_kb":1048576,)"));
    const auto volumes = run(host, {"volumes", "--json"}).json()["volumes"];
    ASSERT_EQ(volumes.size(), 2U);
    EXPECT_EQ(volumes[0]["udid"], "");
    EXPECT_EQ(volumes[0]["identity"], "none");
    EXPECT_EQ(volumes[0]["last_known_udid"], kFirst);
    EXPECT_THAT(run(host, {"volumes"}).out, HasSubstr("  " + kSecond + " (last known)\n"));
}

// The disk driver was unbound from it, or has not looked at it yet.
TEST(PictureHosts, ADiskWithoutABlockDeviceHasARow) {
    SickHost host = mappedHost();
    const std::string device = "/sys/class/scsi_device/2:0:0:16684/device/";
    host.data.directories["/sys/class/scsi_device/"].push_back("2:0:0:16684");
    host.data.directories[device] = {".", "..", "type", "state"};
    host.data.files[device + "type"] = "0\n";
    host.data.files[device + "state"] = "running\n";
    const CliResult result = run(host, {"devices"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "scsitool: 1 of 4 disks were not asked: 2:0:0:16684\n");
    EXPECT_THAT(result.out, HasSubstr("2:0:0:16684             0  2:0:0:16684        -  -        "
                                      "no block device  -\n"));
    for (const std::string command : {"devices", "volumes", "disks"}) {
        const auto unidentified = run(host, {command, "--json"}).json()["unidentified"];
        ASSERT_EQ(unidentified.size(), 1U) << command;
        EXPECT_EQ(unidentified[0]["name"], "2:0:0:16684");
        EXPECT_EQ(unidentified[0]["hctl"], "2:0:0:16684");
        EXPECT_EQ(unidentified[0]["state"], "no block device");
    }
    host.setAttribute("2:0:0:16684", "state", "offline\n");
    EXPECT_THAT(run(host, {"devices"}).out, HasSubstr("  offline  -\n"));
    // What is no disk, or does not say what it is, has none either.
    for (const char* const type : {"5\n", "1\n", ""}) {
        host.setAttribute("2:0:0:16684", "type", type);
        EXPECT_EQ(run(host, {"devices"}).status, 0) << type;
    }
}

// The pages that the kernel keeps of it tell which volume it carries.
TEST(PictureHosts, ADiskWithoutABlockDeviceIsAPathOfItsVolume) {
    SickHost host = mappedHost();
    host.addDisk("sdx", "4:0:0:1", namedDisk("A1", 1));
    host.data.links.erase("/sys/class/block/sdx/device");
    host.data.directories["/sys/class/block/"].pop_back();
    host.data.directories["/dev/"].pop_back();
    host.data.devices.erase("/dev/sdx");
    std::string& disks = host.data.files["/proc/partitions"].content;
    disks.erase(disks.rfind("   8 "));
    host.setAttribute("4:0:0:1", "type", "0\n");
    const auto document = run(host, {"volumes", "--json"}).json();
    ASSERT_EQ(document["unidentified"].size(), 1U);
    EXPECT_EQ(document["unidentified"][0]["last_known_udid"], kFirst);
    ASSERT_EQ(document["volumes"].size(), 2U);
    EXPECT_EQ(document["volumes"][0]["devices"].back()["name"], "4:0:0:1");
}

TEST(PictureHosts, TheStatesOfDisks) {
    SickHost host;
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        const std::string disk = std::string("sd") + name;
        host.addDisk(disk, "2:0:0:" + std::to_string(name[0]), namedDisk("A", 1));
    }
    host.data.devices["/dev/sda"].writeError = EROFS;
    host.setAttribute("2:0:0:98", "state", "offline\n");
    host.setAttribute("2:0:0:99", "state", "deleted\n");
    host.setAttribute("2:0:0:100", "access_state", "standby\n");
    silence(host.data.devices["/dev/sde"], ENXIO);
    const CliResult result = run(host, {"devices", "--json"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "scsitool: 3 of 5 disks did not answer: /dev/sdb /dev/sdc /dev/sde\n"
              "scsitool: 1 of 5 disks cannot be opened: read-only file system: /dev/sda\n");
    const auto document = result.json();
    EXPECT_EQ(document["unidentified"][0]["state"], "cannot be opened: read-only file system");
    EXPECT_EQ(document["unidentified"][0]["last_known_udid"],
              "UDID##ACME##RAID_5##A##6000000A000000000000000000000001");
    std::vector<std::string> states;
    for (const auto& device : document["devices"]) {
        states.push_back(device["state"]);
    }
    EXPECT_THAT(states, testing::ElementsAre("offline", "gone", "standby", "gone"));
}

TEST(PictureHosts, StandbyIsNoDoubt) {
    SickHost host = mappedHost();
    host.setAttribute("3:0:0:1", "access_state", "standby\n");
    const CliResult result = run(host, {"volumes"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("  standby: /dev/sdb  "));
}

TEST(PictureHosts, AFarLunIsShownWhole) {
    SickHost host;
    host.addDisk("sda", "2:0:0:16684", test::namedDisk("A1", 1)).idLun = 0x02002c00;
    host.addDisk("sdb", "2:0:0:13907115649320091648", namedDisk("A2", 2));
    EXPECT_THAT(run(host, {"devices"}).out, HasSubstr("/dev/sda      0  2:0:0:16684 "));
    EXPECT_THAT(run(host, {"disks"}).out, HasSubstr("/dev/sda  2:0:0:16684 "));
    const auto volumes = run(host, {"volumes", "--json"}).json()["volumes"];
    EXPECT_EQ(volumes[0]["devices"][0]["address"].dump(), "[2,0,0,16684]");
    EXPECT_EQ(volumes[1]["devices"][0]["address"].dump(), "[2,0,0,13907115649320091648]");
    EXPECT_EQ(volumes[1]["devices"][0]["hctl"], "2:0:0:13907115649320091648");
    const std::string record = run(host, {"inquiry", "/dev/sda"}).out;
    EXPECT_THAT(record,
                HasSubstr("\nAddress           2:0:0:44 (host:channel:target:lun, eight bits "
                          "of each; whole: 2:0:0:16684)\n"));
    const auto json = run(host, {"inquiry", "/dev/sda", "--json"}).json()["records"][0];
    EXPECT_EQ(json["lun"], 44);
    EXPECT_EQ(json["hctl"], "2:0:0:16684");
}

TEST(PictureHosts, ARemappedLunIsTold) {
    SickHost host = mappedHost();
    host.data.devices["/dev/sdb"] = namedDisk("A2", 2);
    const CliResult result = run(host, {"volumes"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "scsitool: the paths of /dev/mapper/mpathb are different volumes: "
              "/dev/sda: " +
                  kFirst + ", /dev/sdb: " + kSecond +
                  "\n"
                  "scsitool: /dev/sdb is another volume than the kernel found there: "
                  "it is naa.6000000a000000000000000000000002 and was "
                  "naa.6000000a000000000000000000000001\n");
    const std::string devices = run(host, {"volumes", "-o", "devices,address"}).out;
    EXPECT_THAT(devices, HasSubstr("\n/dev/mapper/mpathb /dev/sda  2:0:0:1\n"));
    EXPECT_THAT(devices, HasSubstr("\n/dev/sdb /dev/sdc            2:0:0:2 3:0:0:1\n"));
    const auto found = run(host, {"devices", "--json"}).json()["contradictions"];
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0]["kind"], "map-over-volumes");
    EXPECT_EQ(found[0]["devices"].dump(), R"(["/dev/mapper/mpathb","/dev/sda","/dev/sdb"])");
    EXPECT_EQ(found[1]["kind"], "another-volume");
}

TEST(PictureHosts, WhatIsWrongIsRedOnATerminal) {
    SickHost host = mappedHost();
    host.data.devices["/dev/sdb"] = namedDisk("A2", 2);
    CliMachine machine(host.data);
    cli::Surroundings terminal;
    terminal.outIsTerminal = true;
    terminal.colour = true;
    terminal.width = 400;
    const std::string text = machine.run({"devices"}, terminal).out;
    EXPECT_THAT(text, HasSubstr("\n\x1b[31m/dev/mapper/mpathb "));
    EXPECT_THAT(text, HasSubstr("\x1b[0m\n/dev/sdc "));
    terminal.colour = false;
    EXPECT_EQ(machine.run({"devices"}, terminal).out.find('\x1b'), std::string::npos);
}

TEST(PictureHosts, AMapThatTheLibraryLeavesOutHasItsRow) {
    SickHost host = mappedHost();
    host.addDisk("sdd", "3:0:0:3", namedDisk("A3", 3));
    host.addMap("dm-1", "db-data", {"sdd"}, namedDisk("A3", 3));
    host.addMap("dm-2", "vg0-root", {"sdc"}, namedDisk("A2", 2), "LVM-abc");
    const CliResult result = run(host, {"volumes"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("\n/dev/mapper/db-data  1.0 GiB "));
    EXPECT_THAT(result.out, HasSubstr("  not asked: /dev/mapper/db-data  "));
    EXPECT_EQ(result.out.find("vg0-root"), std::string::npos);
}

TEST(PictureHosts, ADiskThatProcPartitionsDoesNotListHasItsRow) {
    SickHost host = mappedHost();
    host.data.files["/proc/partitions"] = "major minor  #blocks  name\n\n";
    const CliResult result = run(host, {"disks"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "scsitool: 3 of 3 disks were not asked: /dev/sda /dev/sdb /dev/sdc\n");
    EXPECT_THAT(result.out,
                HasSubstr("\n/dev/sdc  2:0:0:2  1.0 GiB  1048576  -        not asked\n"));
}

TEST(PictureHosts, ANameNarrowsThePicture) {
    SickHost host = mappedHost();
    host.data.devices["/dev/sda"].openError = EIO;
    const CliResult result = run(host, {"devices", "/dev/sda"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "scsitool: 1 of 1 disk cannot be opened: input/output error: /dev/sda\n");
    EXPECT_EQ(
        result.out,
        "DEVICE    CLAIM  ADDRESS     SIZE  PRODUCT  STATE                                 UDID\n"
        "/dev/sda      0  2:0:0:1  1.0 GiB  -        cannot be opened: input/output error  " +
            kFirst + " (last known)\n");
    EXPECT_EQ(run(host, {"devices", "/dev/sdb"}).status, 0);
    EXPECT_EQ(run(host, {"devices", "/dev/sdz"}).status, 1);
}

TEST(PictureHosts, WithoutRightsItSaysWhatToDo) {
    SickHost host = mappedHost();
    for (auto& [name, device] : host.data.devices) {
        device.openError = EACCES;
    }
    CliMachine machine(host.data);
    cli::Surroundings surroundings;
    surroundings.isRoot = false;
    EXPECT_EQ(machine.run({"devices"}, surroundings).err,
              "scsitool: 3 of 3 disks cannot be opened: permission denied: /dev/sda /dev/sdb "
              "/dev/sdc; run it as root\n"
              "scsitool: 1 of 1 multipath device cannot be opened: permission denied: "
              "/dev/mapper/mpathb; run it as root\n");
}

// PowerPath hands its pseudo-device's commands to one of the paths.
TEST(PictureHosts, APseudoDeviceBelongsToItsPaths) {
    SickHost host = mappedHost();
    host.data.directories["/dev/"].push_back("emcpowera");
    host.data.devices["/dev/emcpowera"] = namedDisk("A2", 2);
    EXPECT_THAT(run(host, {"volumes", "-o", "devices"}).out,
                HasSubstr("\n/dev/emcpowera /dev/sdc\n"));
    host.data.devices["/dev/emcpowera"].openError = ENXIO;
    const CliResult result = run(host, {"volumes"});
    EXPECT_THAT(result.out, HasSubstr("\n/dev/emcpowera            -    0/0  "));
    EXPECT_EQ(result.err, "scsitool: 1 of 2 multipath devices did not answer: /dev/emcpowera\n");
}

TEST(PictureHosts, APathIdentityIsMarkedAsNone) {
    SickHost host;
    recording::RecordedDevice plain = namedDisk("A1", 1);
    plain.pages = {{0x00, test::Bytes{0, 0, 0, 1, 0}}};
    host.addDisk("sda", "2:0:0:1", plain);
    const CliResult result = run(host, {"devices"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("/DEV/SDA@GUEST (this path at this host only)\n"));
    EXPECT_EQ(run(host, {"volumes", "--json"}).json()["volumes"][0]["identity"], "path");
}

TEST(PictureHosts, ADiskThatFallsSilentBehindTheInquiryIsTold) {
    SickHost host = mappedHost();
    host.data.devices["/dev/sdc"].pages[0x83].error = ETIMEDOUT;
    CliResult result = run(host, {"devices"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(
        result.out,
        HasSubstr("/dev/sdc                0  2:0:0:2  1.0 GiB  RAID 5   no answer in 10 s  "));
    host.data.devices["/dev/sdc"].idLun.reset();
    host.data.devices["/dev/sdc"].idLunError = EINVAL;
    result = run(host, {"devices"});
    EXPECT_EQ(result.err, "scsitool: 1 of 3 disks answered in part: /dev/sdc\n");
    EXPECT_THAT(result.out, HasSubstr("  answered in part: invalid argument  "));
}

// Each case takes something that the generator needs away from what the kernel keeps.
TEST(LastKnownUdid, IsNoneRatherThanAWrongOne) {
    const std::string folder = "/sys/class/scsi_device/2:0:0:1/device/";
    const auto lastKnown = [](const SickHost& host) {
        return run(host, {"devices", "--json"}).json()["unidentified"][0]["last_known_udid"];
    };
    SickHost host;
    host.addDisk("sda", "2:0:0:1", namedDisk("A1", 1)).openError = EIO;
    EXPECT_EQ(lastKnown(host), kFirst);
    for (const char* file : {"inquiry", "vpd_pg80", "vpd_pg83"}) {
        SickHost less = host;
        less.data.files.erase(folder + file);
        EXPECT_TRUE(lastKnown(less).is_null()) << file;
    }
    // Of an older kernel, which keeps no list.
    SickHost older = host;
    older.data.files.erase(folder + "vpd_pg0");
    EXPECT_EQ(lastKnown(older), kFirst);
    older.data.files.erase(folder + "vpd_pg80");
    EXPECT_TRUE(lastKnown(older).is_null());
    SickHost cut = host;
    cut.data.files[folder + "inquiry"].content.resize(95);
    EXPECT_TRUE(lastKnown(cut).is_null());
    SickHost other = host;
    other.data.files[folder + "vpd_pg80"].content[1] = '\x83';
    EXPECT_TRUE(lastKnown(other).is_null());
}

// NetApp's array is asked for its identity by a command of its own.
TEST(LastKnownUdid, IsNoneWhereTheGeneratorAsksTheDevice) {
    SickHost host;
    recording::RecordedDevice device = test::diskOf(
        test::Page::inquiry("NETAPP", "LUN"),
        {{0x00, test::Page::supported({0x00, 0x80, 0x83})},
         {0x80, test::Page::serial("80Ab2?IpTK8m")},
         {0x83,
          test::Page::names().naa({0x60, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15})}});
    device.openError = EIO;
    host.addDisk("sda", "2:0:0:1", device);
    const auto one = run(host, {"devices", "--json"}).json()["unidentified"][0];
    EXPECT_TRUE(one["last_known_udid"].is_null()) << one;
}

}  // namespace
