#include <cerrno>
#include <functional>

#include "doctor_machine.h"

namespace {

using recording::RecordedHostData;
using test::CliResult;
using test::commandOf;
using test::runOnMachine;
using test::runOnRecording;
using test::soundMachine;
using test::takeCommandAway;
using Arguments = std::vector<std::string>;
using Change = std::function<void(RecordedHostData&)>;

constexpr const char* kScript = "/usr/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d";

// The machine with an answer to every command that an operation runs.
RecordedHostData machine() {
    RecordedHostData data = soundMachine();
    for (const char* command :
         {kScript, "/usr/bin/rescan-scsi-bus.sh --remove --flush -d", "/sbin/multipath -v0 ",
          "/sbin/multipath -F", "/sbin/iscsiadm -m session -R", "/sbin/powermt save",
          "/sbin/powermt release", "/sbin/powermt config",
          "/sbin/powermt check force dev=all class=all",
          "/usr/sbin/dmsetup remove /dev/mapper/mpatha"}) {
        data.commands.push_back({command, {}});
    }
    return data;
}

// What is said on standard error, with which exit status.
struct Said {
    std::string name;
    Arguments arguments;
    Change change;
    int status;
    std::string line;
};

void fail(RecordedHostData& data, const std::string& command, int status,
          const std::string& output) {
    commandOf(data, command)->exitStatus = status;
    commandOf(data, command)->output = {output};
}

Change without(const std::string& path) {
    return [path](RecordedHostData& data) { data.files.erase(path); };
}

Change withoutDaemonQuestion() {
    return [](RecordedHostData& data) {
        data.files.erase("/sbin/pidof");
        takeCommandAway(data, "/sbin/pidof -x multipathd");
    };
}

Change withoutTool(const std::string& path, const std::string& command) {
    return [=](RecordedHostData& data) {
        data.files.erase(path);
        takeCommandAway(data, command);
    };
}

const std::string kSgUtils = "install sg3-utils (Debian, Ubuntu) or sg3_utils (Red Hat, SUSE)";
const std::string kMultipathTools =
    "install multipath-tools (Debian, Ubuntu, SUSE) or device-mapper-multipath (Red Hat)";
const std::string kIscsi =
    "install open-iscsi (Debian, Ubuntu, SUSE) or iscsi-initiator-utils (Red Hat)";

std::vector<Said> saidOnAMachine() {
    using Data = RecordedHostData;
    const auto nothing = [](Data&) {};
    return {
        {"flush without pidof",
         {"flush-multipath"},
         withoutDaemonQuestion(),
         1,
         "nothing was flushed: there is no /sbin/pidof; install sysvinit-utils or procps (Debian, "
         "Ubuntu), procps-ng (Red Hat) or procps (SUSE)"},
        {"flush with a pidof that cannot run",
         {"flush-multipath"},
         [](Data& data) { takeCommandAway(data, "/sbin/pidof -x multipathd"); },
         1,
         "nothing was flushed: /sbin/pidof -x multipathd could not be started"},
        {"flush without the daemon",
         {"flush-multipath"},
         [](Data& data) { commandOf(data, "/sbin/pidof -x multipathd")->exitStatus = 1; },
         1,
         "nothing was flushed: multipathd does not run"},
        {"flush with a pidof that fails",
         {"flush-multipath"},
         [](Data& data) { fail(data, "/sbin/pidof -x multipathd", 2, "usage"); },
         1,
         "nothing was flushed: /sbin/pidof -x multipathd ended with exit status 2: usage"},
        {"flush without multipath",
         {"flush-multipath"},
         withoutTool("/sbin/multipath", "/sbin/multipath -F"),
         1,
         "nothing was flushed: there is no /sbin/multipath; " + kMultipathTools},
        {"flush of maps in use",
         {"flush-multipath"},
         [](Data& data) { fail(data, "/sbin/multipath -F", 1, "mpatha: map in use"); },
         0,
         ""},
        {"the inventory's EIO",
         {"bus"},
         [](Data& data) { data.files["/proc/scsi/scsi"].error = EIO; },
         1,
         "/proc/scsi/scsi: Input/output error; try 'scsitool disks'"},
        {"no inventory",
         {"bus"},
         without("/proc/scsi/scsi"),
         1,
         "/proc/scsi/scsi: No such file or directory; a kernel built without CONFIG_SCSI_PROC_FS "
         "has no such table; try 'scsitool disks'"},
        {"no inventory for the dead",
         {"remove-dead"},
         without("/proc/scsi/scsi"),
         1,
         "/proc/scsi/scsi: No such file or directory; without the inventory nothing is known to be "
         "dead"},
        {"no script",
         {"rescan"},
         without("/usr/bin/rescan-scsi-bus.sh"),
         1,
         "rescan-scsi-bus.sh is neither in /bin nor in /usr/bin; " + kSgUtils},
        {"a script that fails",
         {"rescan"},
         [](Data& data) { fail(data, kScript, 1, "no host"); },
         3,
         std::string("the rescan is not complete: ") + kScript +
             " ended with exit status 1: no host"},
        {"a script that hangs",
         {"rescan"},
         [](Data& data) { commandOf(data, kScript)->timedOut = true; },
         3,
         std::string("the rescan is not complete: ") + kScript + " was ended at its time limit"},
        {"a script that fails before the map",
         {"devices", "--rescan"},
         [](Data& data) { fail(data, kScript, 1, "no host"); },
         3,
         std::string("the rescan is not complete: ") + kScript +
             " ended with exit status 1: no host"},
        {"no script before the map",
         {"devices", "--rescan"},
         without("/usr/bin/rescan-scsi-bus.sh"),
         3,
         "the rescan is not complete: rescan-scsi-bus.sh is neither in /bin nor in /usr/bin; " +
             kSgUtils},
        {"a multipath layer that fails",
         {"devices", "--rescan"},
         [](Data& data) { fail(data, "/sbin/multipath -v0 ", 1, "error"); },
         3,
         "the rescan is not complete: /sbin/multipath -v0  ended with exit status 1: error"},
        {"no multipath tool for maps",
         {"devices", "--rescan"},
         withoutTool("/sbin/multipath", "/sbin/multipath -v0 "),
         3,
         "the rescan is not complete: there is no /sbin/multipath; " + kMultipathTools},
        {"no multipath tool and no map",
         {"devices", "--rescan"},
         [](Data& data) {
             withoutTool("/sbin/multipath", "/sbin/multipath -v0 ")(data);
             data.files["/sys/class/block/dm-0/dm/uuid"] = "LVM-1\n";
         },
         0,
         ""},
        {"PowerPath that fails",
         {"devices", "--rescan"},
         [](Data& data) { fail(data, "/sbin/powermt config", 2, "no license"); },
         3,
         "the rescan is not complete: /sbin/powermt config ended with exit status 2: no license"},
        {"a rescan for a name",
         {"udid", "/dev/sdz", "--rescan-if-missing"},
         nothing,
         1,
         "/dev/sdz: cannot open the device: No such file or directory"},
        {"no iscsiadm",
         {"iscsi", "iqn"},
         without("/sbin/iscsiadm"),
         1,
         "there is no /sbin/iscsiadm; " + kIscsi},
        {"no name file",
         {"iscsi", "iqn"},
         without("/etc/iscsi/initiatorname.iscsi"),
         1,
         "/etc/iscsi/initiatorname.iscsi: No such file or directory"},
        {"a name file that is closed",
         {"iscsi", "iqn"},
         [](Data& data) { data.files["/etc/iscsi/initiatorname.iscsi"].error = EACCES; },
         1,
         "/etc/iscsi/initiatorname.iscsi: Permission denied"},
        {"a name file without a name",
         {"iscsi", "iqn"},
         [](Data& data) { data.files["/etc/iscsi/initiatorname.iscsi"] = "#\n"; },
         1,
         "/etc/iscsi/initiatorname.iscsi has no InitiatorName"},
        {"no iscsiadm for a rescan",
         {"iscsi", "rescan"},
         withoutTool("/sbin/iscsiadm", "/sbin/iscsiadm -m session -R"),
         1,
         "there is no /sbin/iscsiadm; " + kIscsi},
        {"no dmsetup",
         {"remove", "/dev/mapper/mpatha"},
         withoutTool("/usr/sbin/dmsetup", "/usr/sbin/dmsetup remove /dev/mapper/mpatha"),
         1,
         "there is no /usr/sbin/dmsetup; install dmsetup (Debian, Ubuntu) or device-mapper (Red "
         "Hat, SUSE)"},
        {"no ports",
         {"wwpn"},
         [](Data& data) { data.files.erase("/sys/class/fc_host/host2/port_name"); },
         1,
         "no Fibre Channel port found: neither the qla2xxx, qla2300 and lpfc drivers' files under "
         "/proc/scsi nor /sys/class/fc_host name one"},
        {"no ls",
         {"wwpn"},
         [](Data& data) {
             data.files.erase("/bin/ls");
             for (const char* folder : {"/proc/scsi/qla2xxx/", "/proc/scsi/qla2300/",
                                        "/proc/scsi/lpfc/", "/sys/class/fc_host/"}) {
                 takeCommandAway(data, std::string("/bin/ls ") + folder);
             }
         },
         1,
         "there is no /bin/ls; install coreutils"},
        {"no disk",
         {"disks"},
         [](Data& data) {
             data = {};
             data.files["/proc/partitions"] = "   8 0 1 nvme0n1\n";
         },
         1,
         "no SCSI disk found: /proc/partitions names no sd disk; where one is connected, try "
         "'scsitool rescan'"},
        {"no list of disks",
         {"disks"},
         [](Data& data) { data = {}; },
         1,
         "no SCSI disk found: /proc/partitions: No such file or directory"},
        {"a device that is none",
         {"validate", "/dev/none"},
         nothing,
         1,
         "/dev/none: cannot open the device: No such file or directory"},
        {"a disk that is write-protected",
         {"validate", "/dev/sdb"},
         [](Data& data) { data.devices["/dev/sdb"].writeError = EROFS; },
         1,
         "/dev/sdb: cannot open the device for writing: Read-only file system"},
        {"a node that is no disk",
         {"udid", "/dev/st0"},
         [](Data& data) { data.devices["/dev/st0"] = {}; },
         1,
         "/dev/st0: it is neither a whole sd disk of /proc/partitions nor a multipath device; "
         "'scsitool devices' lists the names"},
        {"a silent disk",
         {"inquiry", "/dev/sdb"},
         [](Data& data) { data.devices["/dev/sdb"].standardInquiry->error = EIO; },
         1,
         "/dev/sdb: the device opens and did not answer INQUIRY: Input/output error"},
    };
}

TEST(CliMessages, SayWhatWasSeen) {
    for (const Said& said : saidOnAMachine()) {
        RecordedHostData data = machine();
        said.change(data);
        const CliResult result = runOnMachine(data, said.arguments);
        EXPECT_EQ(result.status, said.status) << said.name << ": " << result.err;
        EXPECT_EQ(result.err, said.line.empty() ? "" : "scsitool: " + said.line + "\n")
            << said.name;
    }
}

// Everything else of a rescan that is not complete is printed.
TEST(CliMessages, ARescanThatIsNotCompleteShowsTheRest) {
    RecordedHostData data = machine();
    fail(data, kScript, 1, "no host");
    const CliResult devices = runOnMachine(data, {"devices", "--rescan"});
    EXPECT_THAT(devices.out, testing::HasSubstr("/dev/sdb"));
    const CliResult rescan = runOnMachine(data, {"rescan", "--changes"});
    EXPECT_EQ(rescan.status, 3);
    EXPECT_EQ(rescan.out, "no host\n\nno change\n");
    const CliResult document = runOnMachine(data, {"rescan", "--json"});
    EXPECT_EQ(document.json()["scsitool"]["exit_status"], 3);
    EXPECT_EQ(document.json().count("error"), 0U);
}

TEST(CliMessages, AfterARemovalTheRescanMayBeMissing) {
    RecordedHostData data = machine();
    data.devices["/dev/sdb"].openError = ENXIO;
    fail(data, kScript, 1, "no host");
    const CliResult result = runOnMachine(data, {"remove-dead"});
    EXPECT_EQ(result.status, 3) << result.err;
    EXPECT_EQ(result.err, std::string("scsitool: the rescan is not complete: ") + kScript +
                              " ended with exit status 1: no host\n");
    EXPECT_THAT(result.out, testing::HasSubstr("   2        0       0    5\n"));
}

// What a recording does not speak of is never missing on its host.
TEST(CliMessages, OfARecordingSayThatItHasNoAnswer) {
    const std::vector<std::pair<Arguments, std::string>> said = {
        {{"disks"}, "no SCSI disk found: this recording has no answer for /proc/partitions"},
        {{"bus"}, "this recording has no answer for /proc/scsi/scsi; try 'scsitool disks'"},
        {{"rescan"}, "this recording has no answer for /bin/rescan-scsi-bus.sh"},
        {{"remove-stale"}, "this recording has no answer for /bin/rescan-scsi-bus.sh"},
        {{"flush-multipath"},
         "nothing was flushed: this recording has no answer for the command /sbin/pidof -x "
         "multipathd"},
        {{"iscsi", "iqn"}, "this recording has no answer for /sbin/iscsiadm"},
        {{"iscsi", "rescan"},
         "this recording has no answer for the command /sbin/iscsiadm -m session -R"},
        {{"remove", "/dev/mapper/x"},
         "this recording has no answer for the command /usr/sbin/dmsetup remove /dev/mapper/x"},
        {{"wwpn"}, "this recording has no answer for the command /bin/ls /proc/scsi/qla2xxx/"},
        {{"validate", "/dev/sda"}, "this recording has no answer for /dev/sda"},
        {{"udid", "/dev/sda"}, "this recording has no answer for /dev/sda"},
        {{"inquiry", "/dev/sda"}, "this recording has no answer for /dev/sda"},
        {{"remove-dead"},
         "this recording has no answer for /proc/scsi/scsi; without the inventory nothing is known "
         "to be dead"},
    };
    for (const auto& [arguments, line] : said) {
        const CliResult result = runOnRecording({}, arguments);
        EXPECT_EQ(result.status, 1) << arguments.front();
        EXPECT_EQ(result.err.substr(0, result.err.find('\n')), "scsitool: " + line)
            << arguments.front();
        EXPECT_EQ(result.err.find("install"), std::string::npos) << result.err;
    }
}

}  // namespace
