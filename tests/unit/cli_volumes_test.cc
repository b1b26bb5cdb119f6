#include <cerrno>
#include <utility>

#include "guard_machine.h"
#include "recording/capture/recorded_host_writer.h"
#include "scsitool/host/forwarding_host.h"
#include "view_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::namedDisk;
using test::silence;
using test::ViewHost;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using test::Words;

const std::string kFirst = "UDID##ACME##RAID_5##A1##6000000A000000000000000000000001";

TEST(CliVolumesView, ShowsWhatAnAdministratorAsksFor) {
    const CliResult result = ViewHost().run({"volumes"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, StartsWith("VOLUME                 SIZE  PATHS  VENDOR  PRODUCT"));
    EXPECT_THAT(result.out, HasSubstr("\n/dev/mapper/mpatha  1.0 GiB    2/2  ACME    RAID 5"));
    EXPECT_THAT(result.out, HasSubstr("  1  unused   " + kFirst + "\n"));
}

TEST(CliVolumesView, RowsStandInNaturalOrder) {
    EXPECT_EQ(ViewHost().column("volume"), "/dev/mapper/mpatha\n/dev/sdz\n/dev/sdaa\n");
}

TEST(CliVolumesView, SortsByAnyColumn) {
    EXPECT_EQ(ViewHost().column("lun", {"--sort", "lun"}), " 1\n 3\n12\n");
    EXPECT_EQ(ViewHost().column("lun", {"--sort", "LUN", "--reverse"}), "12\n 3\n 1\n");
    EXPECT_EQ(ViewHost().column("volume", {"--reverse"}),
              "/dev/sdaa\n/dev/sdz\n/dev/mapper/mpatha\n");
}

TEST(CliVolumesView, WhatIsNotToldIsSortedLast) {
    ViewHost host;
    host.data.directories.erase("/sys/class/block/sdz/holders/");
    host.mount("253:0", "/dev/mapper/mpatha", "/data");
    EXPECT_EQ(host.column("used", {"--sort", "used"}), "/data\nunused\n-\n");
    EXPECT_EQ(host.column("used", {"--sort", "used", "--reverse"}), "unused\n/data\n-\n");
}

// Mounts tell of a device by its number.
TEST(CliVolumesView, WhatHasANumberThatCannotBeReadIsNotUnused) {
    ViewHost host;
    EXPECT_EQ(host.column("used", {"--sort", "used"}), "unused\nunused\nunused\n");
    host.data.files["/sys/class/block/sdz/dev"].error = EMFILE;
    EXPECT_EQ(host.column("used", {"--sort", "used"}), "unused\nunused\n-\n");
}

// One read of a file fails.
class OnceUnread : public host::ForwardingHost {
  public:
    OnceUnread(host::Host& inner, std::string path, int at)
        : ForwardingHost(inner), m_path(std::move(path)), m_at(at) {}

    host::ReadResult readFile(const std::string& path) override {
        return path == m_path && ++m_reads == m_at ? host::ReadResult{EMFILE, 0, {}}
                                                   : ForwardingHost::readFile(path);
    }
    bool hasFailed() const { return m_reads >= m_at; }

  private:
    const std::string m_path;
    const int m_at;
    int m_reads = 0;
};

TEST(CliVolumesView, WhatHasANumberThatCannotBeReadOnceIsNotUnused) {
    ViewHost host;
    host.mount("253:0", "/dev/mapper/mpatha", "/data");
    bool hasFailed = true;
    int at = 1;
    for (; hasFailed; ++at) {
        recording::Journal journal;
        recording::RecordedHost machine(host.data, journal);
        OnceUnread once(machine, "/sys/class/block/dm-0/dev", at);
        const CliResult result = test::runCli(
            {"--jobs", "1", "--deadline", "0", "volumes", "--no-headings", "-o", "used,volume"},
            once);
        EXPECT_THAT(result.out, Not(testing::ContainsRegex("unused +/dev/mapper"))) << at;
        hasFailed = once.hasFailed();
    }
    EXPECT_GT(at, 2);
}

// A partition may be what is used.
TEST(CliVolumesView, WhatHasPartitionsThatCannotBeListedIsNotUnused) {
    ViewHost host;
    host.data.directories.erase("/sys/class/block/sdz/");
    host.data.directoryErrors["/sys/class/block/sdz/"] = EMFILE;
    host.mount("253:0", "/dev/mapper/mpatha", "/data");
    EXPECT_EQ(host.column("used", {"--sort", "used"}), "/data\nunused\n-\n");
}

TEST(CliVolumesView, StateIsShownWhereSomethingIsWrong) {
    ViewHost host;
    EXPECT_THAT(host.run({"volumes"}).out, Not(HasSubstr("STATE")));
    host.setAttribute("3:0:0:1", "state", "offline\n");
    EXPECT_THAT(host.run({"volumes"}).out, HasSubstr("  offline: /dev/sdc  "));
}

TEST(CliVolumesView, APathLivesWhileItRunsAndDeviceMapperHasItActive) {
    ViewHost host;
    EXPECT_THAT(host.column("paths"), StartsWith("2/2\n"));
    host.status("mpatha: 0 8 multipath 2 0 0 0 1 1 A 0 2 0 8:16 A 0 8:32 F 4 ");
    EXPECT_THAT(host.column("paths"), StartsWith("1/2\n"));
    EXPECT_THAT(host.run({"volumes"}).out, HasSubstr("  failed in device-mapper: /dev/sdc  "));
    host.setAttribute("2:0:0:1", "state", "quiesce\n");
    EXPECT_THAT(host.column("paths"), StartsWith("0/2\n"));
}

TEST(CliVolumesView, ADiskThatDoesNotAnswerIsNoLivingPath) {
    ViewHost host;
    silence(host.data.devices["/dev/sdc"], EIO);
    EXPECT_THAT(host.column("paths"), StartsWith("1/2\n"));
}

TEST(CliVolumesView, TheStatusOfAMapThatHasAnotherNameSaysNothing) {
    ViewHost host;
    host.status("mpathb: 0 8 multipath 2 0 0 0 1 1 A 0 1 0 8:16 F 4 ");
    EXPECT_THAT(host.column("paths"), StartsWith("2/2\n"));
}

TEST(CliVolumesView, UsersAreMountSwapLvmMdAndCrypt) {
    ViewHost host;
    host.holders("dm-0", {"dm-1"});
    host.block("dm-1", "253:1", "vg--one-data", "LVM-abc");
    host.mount("253:1", "/dev/mapper/vg--one-data", "/data");
    host.data.files["/proc/swaps"] =
        "Filename Type Size Used Priority\n/dev/sdz partition 1 0 -2\n";
    host.holders("sdaa", {"md127", "dm-2"});
    host.block("md127", "9:127", "", "");
    host.block("dm-2", "253:2", "luks", "CRYPT-x");
    EXPECT_EQ(host.column("used"), "LVM vg-one, /data\nswap\ndm-crypt luks, md127\n");
    const auto volumes = host.run({"volumes", "--json"}).json()["volumes"];
    EXPECT_EQ(volumes[0]["used_by"].dump(),
              R"([{"kind":"lvm","name":"vg-one"},{"kind":"mount","name":"/data"}])");
    EXPECT_EQ(volumes[1]["used_by"].dump(), R"([{"kind":"swap","name":""}])");
}

TEST(CliVolumesView, APartitionsUseIsItsDisks) {
    ViewHost host;
    host.data.directories["/sys/class/block/sdz/"].push_back("sdz1");
    host.block("sdz1", "65:145", "", "");
    host.mount("65:145", "/dev/sdz1", "/boot");
    EXPECT_THAT(host.column("used"), HasSubstr("\n/boot\n"));
}

TEST(CliVolumesView, APartitionOfAMapIsNoUserButWhatIsOnIt) {
    ViewHost host;
    host.holders("dm-0", {"dm-1"});
    host.block("dm-1", "253:1", "mpatha1", "part1-mpath-3600");
    EXPECT_THAT(host.column("used"), StartsWith("unused\n"));
    host.mount("253:1", "/dev/mapper/mpatha1", "/u01");
    EXPECT_THAT(host.column("used"), StartsWith("/u01\n"));
}

TEST(CliVolumesView, APathIsUsedByItsMap) {
    const auto devices = ViewHost().run({"devices", "--json"}).json()["devices"];
    EXPECT_EQ(devices[0]["used_by"].dump(), "[]") << devices[0];
    EXPECT_EQ(devices[2]["name"], "/dev/sdb");
    EXPECT_EQ(devices[2]["used_by"].dump(), R"([{"kind":"map","name":"mpatha"}])");
}

// The users of a device by its name in `devices --json`, where a process has a node open for
// writing.
std::string usersWithWriter(const std::string& writtenNode, const std::string& name) {
    ViewHost host;
    host.data.devices["/dev/mapper/control"] = {};
    host.data.directories["/dev/mapper/"].push_back("control");
    host.data.directories["/proc/"] = {".", "..", "77"};
    host.data.links["/proc/self"] = "1";
    host.data.links["/proc/self/ns/mnt"] = host.data.links["/proc/77/ns/mnt"] = "mnt:[1]";
    host.data.files["/proc/77/stat"] = "77 (dd) S 1 77\n";
    test::addWriter(host.data, writtenNode);
    const test::TempFolder folder;
    const std::string file =
        folder.write("host.json", recording::recordedHostText(host.data, {"a test"}));
    CliMachine machine({});
    const auto document = machine.run({"--host", file, "devices", "--json"}).json();
    for (const auto& device : document["devices"]) {
        if (device["name"] == name) {
            return device["used_by"].dump();
        }
    }
    return "no such device";
}

TEST(CliVolumesView, AProcessThatHasItOpenForWritingIsAUserButNotWhoMakesMaps) {
    EXPECT_THAT(usersWithWriter("/dev/sdz", "/dev/sdz"), HasSubstr(R"("kind":"process")"));
    EXPECT_EQ(usersWithWriter("/dev/mapper/control", "/dev/mapper/control"), "null");
}

TEST(CliVolumesView, SilenceIsNoProofThatNobodyUsesIt) {
    ViewHost host;
    host.data.files.erase("/proc/self/mountinfo");
    EXPECT_EQ(host.column("used"), "-\n-\n-\n");
    EXPECT_TRUE(host.run({"volumes", "--json"}).json()["volumes"][0]["used_by"].is_null());
    EXPECT_EQ(host.run({"volumes", "--unused"}).status, 1);
    host.data.files["/proc/mounts"] = "/dev/sdz / ext4 rw 0 0\n";
    EXPECT_EQ(host.column("used"), "unused\n/\nunused\n");
}

TEST(CliVolumesView, FiltersTakeWhatMatchesAndSayWhereNothingDoes) {
    ViewHost host;
    host.mount("253:0", "/dev/mapper/mpatha", "/data");
    EXPECT_EQ(host.column("volume", {"--used"}), "/dev/mapper/mpatha\n");
    EXPECT_EQ(host.column("volume", {"--unused"}), "/dev/sdz\n/dev/sdaa\n");
    EXPECT_EQ(host.column("volume", {"--udid", "*A2##*"}), "/dev/sdaa\n");
    EXPECT_EQ(host.column("volume", {"--udid", kFirst}), "/dev/mapper/mpatha\n");
    EXPECT_EQ(host.column("volume", {"--lun", "12"}), "/dev/sdaa\n");
    EXPECT_EQ(host.column("volume", {"--lun", "1"}), "/dev/mapper/mpatha\n");
    EXPECT_EQ(host.column("lun", {"--vendor", "acme", "--product", "raid*"}), " 1\n 3\n12\n");
    const CliResult none = host.run({"volumes", "--vendor", "acm", "--unused"});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.err, "scsitool: no volume with --vendor acm --unused, of 3\n");
    EXPECT_EQ(host.run({"volumes", "--used", "--json"}).json()["volumes"].size(), 1U);
    EXPECT_EQ(host.run({"volumes", "--used", "--unused"}).status, 2);
}

TEST(CliVolumesView, ColumnsAreChosenAddedAndListed) {
    const ViewHost host;
    EXPECT_EQ(host.column("kernel,lun"), "dm-0   1\nsdz    3\nsdaa  12\n");
    EXPECT_THAT(host.run({"volumes", "-o", "+driver,KIB"}).out,
                HasSubstr("USED BY  DRIVER      KIB  UDID\n"));
    const CliResult help = host.run({"volumes", "-o", "help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, StartsWith("COLUMN"));
    EXPECT_THAT(help.out, HasSubstr("\nudid        UDID            the Unique Device ID\n"));
    EXPECT_EQ(host.run({"disks", "-o", "help", "--json"}).json()["columns"][0]["name"], "volume");
    for (const Words& wrong : {Words{"-o", "frob"}, Words{"--sort", "frob"}, Words{"-o", "size,"},
                               Words{"-o", "+frob"}}) {
        Words arguments = {"volumes"};
        arguments.insert(arguments.end(), wrong.begin(), wrong.end());
        const CliResult result = host.run(arguments);
        EXPECT_EQ(result.status, 2) << wrong[1];
        EXPECT_THAT(result.err, HasSubstr("; the columns are volume, device, ")) << wrong[1];
    }
    EXPECT_THAT(host.run({"volumes", "-o", "size,frob"}).err,
                StartsWith("scsitool: -o: there is no column 'frob'; the columns are "));
}

TEST(CliVolumesView, PathsAreATreeWithTheirPorts) {
    ViewHost host;
    host.data.links["/sys/class/scsi_device/2:0:0:1"] =
        "../../devices/pci0/host2/rport-2:0-7/target2:0:0/2:0:0:1/scsi_device/2:0:0:1";
    host.data.files["/sys/class/fc_host/host2/port_name"] = "0x21\n";
    host.data.files["/sys/class/fc_remote_ports/rport-2:0-7/port_name"] = "0x50\n";
    host.data.files["/sys/class/scsi_host/host2/proc_name"] = "qla2xxx\n";
    host.data.links["/sys/class/scsi_device/3:0:0:1"] =
        "../../devices/platform/host3/session4/target3:0:0/3:0:0:1/scsi_device/3:0:0:1";
    host.data.files["/sys/class/iscsi_session/session4/targetname"] = "iqn.t\n";
    host.data.files["/sys/class/iscsi_session/session4/initiatorname"] = "iqn.i\n";
    host.data.files["/sys/class/scsi_host/host3/proc_name"] = "<NULL>\n";
    host.status("mpatha: 0 8 multipath 2 0 0 0 1 1 A 0 2 0 8:16 A 0 8:32 F 4 ");
    EXPECT_EQ(
        host.run({"volumes", "--paths", "--lun", "1", "-o", "volume,lun"}).out,
        "VOLUME              LUN\n"
        "   ADDRESS  DEVICE    STATE                    INITIATOR PORT  TARGET PORT  GROUP  "
        "DRIVER\n"
        "/dev/mapper/mpatha    1\n"
        "|- 2:0:0:1  /dev/sdb  ok                       0x21            0x50             -  "
        "qla2xxx\n"
        "`- 3:0:0:1  /dev/sdc  failed in device-mapper  iqn.i           iqn.t            -  -\n");
    const auto path = host.run({"volumes", "--json"}).json()["volumes"][0]["devices"][2];
    EXPECT_EQ(path["mapper_state"], "failed");
    EXPECT_EQ(path["lives"], false);
    EXPECT_EQ(path["target_port"], "iqn.t");
}

// A map whose paths all run for the kernel may have lost some of them for device-mapper.
TEST(CliVolumesView, SaysThatDeviceMapperDidNotTell) {
    ViewHost host;
    host.status("Command failed.");
    host.data.commands.back().exitStatus = 1;
    const CliResult failed = host.run({"volumes"});
    EXPECT_EQ(failed.status, 3);
    EXPECT_EQ(failed.err,
              "scsitool: what device-mapper holds of the paths is not known: /usr/sbin/dmsetup "
              "status --target multipath ended with exit status 1: Command failed.\n");
    host.data.commands.back().exitStatus = 0;
    EXPECT_EQ(host.run({"volumes"}).status, 0);
}

TEST(CliVolumesView, ADeviceMapperThatHangsIsToldOf) {
    ViewHost host;
    host.status("");
    host.data.commands.back().timedOut = true;
    for (const char* const command : {"devices", "volumes"}) {
        const CliResult result = host.run({command});
        EXPECT_EQ(result.status, 3) << command;
        EXPECT_EQ(result.err,
                  "scsitool: what device-mapper holds of the paths is not known: /usr/sbin/dmsetup "
                  "status --target multipath was ended at its time limit\n");
    }
}

TEST(CliVolumesView, SasPathsAreNamedByTheirAddresses) {
    ViewHost host;
    host.data.links["/sys/class/scsi_device/2:0:0:3"] =
        "../../devices/pci0/host2/port-2:0/end_device-2:0/target2:0:0/2:0:0:3/scsi_device/2:0:0:3";
    host.data.files["/sys/class/sas_device/end_device-2:0/sas_address"] = "0x5000c5\n";
    host.data.files["/sys/class/scsi_host/host2/host_sas_address"] = "0x500605\n";
    EXPECT_EQ(host.column("initiator,target", {"--lun", "3"}), "0x500605  0x5000c5\n");
}

TEST(CliVolumesView, TheUdidStaysWholeAtEveryWidth) {
    CliMachine machine(ViewHost().data);
    for (const std::size_t width : {20U, 40U, 80U, 100U, 120U, 200U}) {
        cli::Surroundings terminal;
        terminal.outIsTerminal = true;
        terminal.width = width;
        const std::string text = machine.run({"volumes"}, terminal).out;
        EXPECT_THAT(text, HasSubstr(" " + kFirst + "\n")) << width;
        EXPECT_EQ(text.find("\n  " + kFirst + "\n") != std::string::npos, width < 121) << width;
    }
}

TEST(CliVolumesView, WhatADeviceSaysIsShownEscaped) {
    ViewHost host;
    host.mount("65:144", "/dev/sdz", "/a\\033[2J");
    EXPECT_THAT(host.column("used"), HasSubstr("\n/a\\x1b[2J\n"));
}

}  // namespace
