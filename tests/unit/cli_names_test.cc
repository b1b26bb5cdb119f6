#include "view_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::namedDisk;
using test::ViewHost;
using test::Words;
using testing::HasSubstr;

// The view host with the names that udev, multipathd and people give.
class NamedHost : public ViewHost {
  public:
    NamedHost() {
        data.files["/sys/class/block/dm-0/dm/uuid"] = "mpath-36000000a000000000000000000000001\n";
        const std::string generic = "/sys/class/scsi_device/2:0:0:3/device/scsi_generic/";
        data.directories[generic] = {"sg7"};
        link("by-id/wwn-0x6000000a000000000000000000000003", "../../sdz");
        link("by-path/pci-1-lun-3", "../../sdz");
        link("by-uuid/1234-abcd", "../../sdz");
        link("by-id/dm-name-mpatha", "../../dm-0");
        mount("65:144", "/dev/sdz", "/data");
    }
    void link(const std::string& name, const std::string& target) {
        const std::string folder = "/dev/disk/" + name.substr(0, name.find('/') + 1);
        data.directories[folder].push_back(name.substr(name.find('/') + 1));
        data.links["/dev/disk/" + name] = target;
    }
    std::string nameOf(const std::string& word) const {
        const CliResult result = run({"find", word, "--json"});
        return result.status == 0 ? result.json()["name"].get<std::string>()
                                  : std::to_string(result.status) + " " + result.err;
    }
};

TEST(CliNames, ADiskIsKnownByEachOfItsNames) {
    const NamedHost host;
    for (const char* const word :
         {"/dev/sdz", "sdz", "2:0:0:3", "[2:0:0:3]", "sg7", "/dev/sg7",
          "/dev/disk/by-id/wwn-0x6000000a000000000000000000000003",
          "wwn-0x6000000a000000000000000000000003", "/dev/disk/by-path/pci-1-lun-3", "pci-1-lun-3",
          "1234-abcd", "naa.6000000a000000000000000000000003", "0x6000000A000000000000000000000003",
          "36000000a000000000000000000000003", "/data", "/data/",
          "UDID##ACME##RAID_5##A3##6000000A000000000000000000000003",
          "udid##acme##raid_5##a3##6000000a000000000000000000000003", "##A3##"}) {
        EXPECT_EQ(host.nameOf(word), "/dev/sdz") << word;
    }
}

TEST(CliNames, AVolumeIsItsMap) {
    const NamedHost host;
    for (const char* const word :
         {"/dev/mapper/mpatha", "mpatha", "dm-0", "/dev/dm-0", "dm-name-mpatha",
          "/dev/disk/by-id/dm-name-mpatha", "6000000a000000000000000000000001",
          "mpath-36000000a000000000000000000000001", "A1##6000000A"}) {
        EXPECT_EQ(host.nameOf(word), "/dev/mapper/mpatha") << word;
    }
    EXPECT_EQ(host.nameOf("sdb"), "/dev/sdb");
}

TEST(CliNames, WithoutAMapAVolumeIsItsFirstPath) {
    NamedHost host;
    host.disk("sdd", "3:0:0:3", "8:48", 3);
    EXPECT_EQ(host.nameOf("6000000a000000000000000000000003"), "/dev/sdd");
}

TEST(CliNames, WhatStandsOnADeviceNamesIt) {
    NamedHost host;
    host.block("sdz1", "65:145", "", "");
    host.block("dm-3", "253:3", "vg-lv", "LVM-x");
    host.data.directories["/sys/class/block/dm-3/slaves/"] = {"sdz1"};
    host.mount("253:3", "/dev/mapper/vg-lv", "/lv");
    for (const char* const word : {"sdz1", "/dev/sdz1", "vg-lv", "dm-3", "/lv"}) {
        EXPECT_EQ(host.nameOf(word), "/dev/sdz") << word;
    }
}

TEST(CliNames, WhatCouldBeSeveralIsListed) {
    NamedHost host;
    EXPECT_EQ(host.nameOf("RAID_5"),
              "2 scsitool: 'RAID_5' could be /dev/mapper/mpatha, /dev/sdz, /dev/sdaa; name one of "
              "them\n");
    host.block("dm-3", "253:3", "vg-lv", "LVM-x");
    host.data.directories["/sys/class/block/dm-3/slaves/"] = {"sdz", "dm-0"};
    EXPECT_EQ(host.nameOf("vg-lv"),
              "2 scsitool: 'vg-lv' could be /dev/mapper/mpatha, /dev/sdz; name one of them\n");
    host.addMap("dm-4", "sdz", {}, namedDisk("A9", 9));
    EXPECT_EQ(host.nameOf("sdz"),
              "2 scsitool: 'sdz' could be /dev/mapper/sdz, /dev/sdz; name one of them\n");
    EXPECT_EQ(host.nameOf("/dev/sdz"), "/dev/sdz");
}

TEST(CliNames, APartOfAUdidHasFourCharactersOrMore) {
    EXPECT_EQ(NamedHost().nameOf("A3##"), "/dev/sdz");
    EXPECT_THAT(NamedHost().nameOf("A3#"), HasSubstr("1 scsitool: 'A3#' names no device: "));
}

TEST(CliNames, ManyAreCounted) {
    ViewHost host;
    for (char c = 'a'; c < 'a' + 9; ++c) {
        host.disk(std::string("sdm") + c, "4:0:0:" + std::to_string(c), "70:" + std::to_string(c),
                  c);
    }
    EXPECT_THAT(host.run({"udid", "RAID_5"}).err, HasSubstr(" and 4 more; name one of them\n"));
}

TEST(CliNames, WhatNamesNothingSaysSo) {
    const NamedHost host;
    EXPECT_EQ(host.nameOf("frob"),
              "1 scsitool: 'frob' names no device: no node, address, link, WWN, mount point and no "
              "part of a UDID; 'scsitool volumes' lists what there is\n");
    EXPECT_EQ(host.nameOf("/nothing"),
              "1 scsitool: /nothing: cannot open the device: No such file or directory\n");
}

TEST(CliNames, EveryCommandTakesThem) {
    const NamedHost host;
    EXPECT_EQ(host.run({"udid", "/data"}).out,
              "UDID##ACME##RAID_5##A3##6000000A000000000000000000000003\n");
    for (const char* const command : {"devices", "validate", "inquiry", "explain"}) {
        const CliResult result = host.run({command, "[2:0:0:3]"});
        EXPECT_EQ(result.status, 0) << command << result.err;
        EXPECT_THAT(result.out, HasSubstr("/dev/sdz")) << command;
    }
}

TEST(CliNames, FindPrintsEveryName) {
    EXPECT_EQ(NamedHost().run({"find", "sdz"}).out,
              "KIND     NAME\n"
              "node     /dev/sdz\n"
              "kernel   sdz\n"
              "number   65:144\n"
              "address  2:0:0:3\n"
              "generic  /dev/sg7\n"
              "link     /dev/disk/by-id/wwn-0x6000000a000000000000000000000003\n"
              "link     /dev/disk/by-path/pci-1-lun-3\n"
              "link     /dev/disk/by-uuid/1234-abcd\n"
              "mount    /data\n"
              "unit     naa.6000000a000000000000000000000003\n"
              "udid     UDID##ACME##RAID_5##A3##6000000A000000000000000000000003\n");
    EXPECT_THAT(NamedHost().run({"find", "mpatha"}).out,
                HasSubstr("\npath    /dev/sdb\npath    /dev/sdc\n"));
    EXPECT_THAT(NamedHost().run({"find", "sdb"}).out, HasSubstr("\nmap      /dev/mapper/mpatha\n"));
}

TEST(CliNames, ADiskIsRemovedByANameOfItAlone) {
    NamedHost host;
    host.data.directories["/sys/class/scsi_device/2:0:0:3/device/block/"] = {"sdz"};
    host.data.files["/proc/scsi/scsi"] = "";
    const auto removed = [&](const std::string& word) {
        const CliResult result = host.run({"--dry-run", "remove-address", word, "--force"});
        return std::to_string(result.status) + " " + result.out.substr(0, result.out.find('\n')) +
               result.err;
    };
    for (const char* const word :
         {"sdz", "[2:0:0:3]", "2:0:0:3", "/data", "A3##6000", "6000000a000000000000000000000003"}) {
        EXPECT_THAT(removed(word), HasSubstr("scsi remove-single-device 2 0 0 3")) << word;
    }
    EXPECT_EQ(
        removed("6000000a000000000000000000000001"),
        "2 scsitool: '6000000a000000000000000000000001' could be /dev/sdb, /dev/sdc; name one "
        "of them\n");
    EXPECT_EQ(removed("A1##6000"),
              "2 scsitool: 'A1##6000' could be /dev/sdb, /dev/sdc; name one of them\n");
    EXPECT_EQ(removed("mpatha"),
              "2 scsitool: 'mpatha' is /dev/mapper/mpatha, which is no disk; name a path of it\n");
    for (const char* const word : {"frob", "A3##600"}) {
        EXPECT_THAT(removed(word),
                    HasSubstr(std::string("1 scsitool: '") + word + "' names no device: "));
    }
}

TEST(CliNames, AMapIsRemovedByANameOfItAlone) {
    NamedHost host;
    host.block("dm-3", "253:3", "vg-lv", "LVM-x");
    const auto removed = [&](const std::string& word) {
        const CliResult result = host.run({"--dry-run", "remove", word, "--force"});
        return std::to_string(result.status) + " " + result.out + result.err;
    };
    const std::string done = "would run: /usr/sbin/dmsetup remove /dev/mapper/mpatha\n";
    EXPECT_EQ(removed("/dev/mapper/mpatha"), "0 " + done);
    for (const char* const word : {"mpatha", "dm-0", "/dev/dm-0", "dm-name-mpatha",
                                   "6000000a000000000000000000000001", "A1##6000"}) {
        EXPECT_THAT(removed(word), HasSubstr(done)) << word;
        EXPECT_THAT(removed(word), HasSubstr(std::string(word) + " is /dev/mapper/mpatha\n"));
    }
    EXPECT_THAT(removed("vg-lv"), HasSubstr("dmsetup remove /dev/mapper/vg-lv\n"));
    EXPECT_THAT(removed("sdz"), HasSubstr("1 scsitool: 'sdz' names no device: "));
    EXPECT_THAT(removed("/dev/sdz"), HasSubstr("only maps under /dev/mapper are removed"));
}

TEST(CliNames, AnEmptyArgumentIsNamed) {
    for (const auto& [words, name] :
         std::vector<std::pair<Words, std::string>>{{{"devices", ""}, "NAME"},
                                                    {{"udid", ""}, "NAME"},
                                                    {{"remove", ""}, "PATH"},
                                                    {{"volumes", "-o", ""}, "--columns"},
                                                    {{"volumes", "--vendor", ""}, "--vendor"}}) {
        const CliResult result = ViewHost().run(words);
        EXPECT_EQ(result.status, 2) << name;
        EXPECT_EQ(result.err, "scsitool: the argument " + name + " is empty; see 'scsitool " +
                                  words[0] + " --help'\n");
    }
    EXPECT_EQ(ViewHost().run({"devices", "--host", ""}).err,
              "scsitool: the argument --host is empty; see 'scsitool --help'\n");
}

}  // namespace
