#include <cerrno>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <sstream>

#include "cli/doctor/doctor_text.h"
#include "cli/doctor/finding.h"
#include "doctor_machine.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using recording::RecordedHostData;
using test::CliResult;
using test::runOnMachine;
using test::runOnRecording;
using test::soundMachine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Json = nlohmann::ordered_json;

std::string manual() {
    std::ifstream stream(std::string(SCSITOOL_SAMPLES) + "/../docs/doctor.md");
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

TEST(DoctorKinds, HaveEachACodeOfItsOwnInAscendingOrder) {
    std::string last;
    std::set<cli::doctor::Kind> kinds;
    for (const cli::doctor::KindText& text : cli::doctor::kindTexts()) {
        EXPECT_TRUE(std::regex_match(text.code, std::regex("DOC[0-9]{3}"))) << text.code;
        EXPECT_LT(last, text.code);
        last = text.code;
        EXPECT_TRUE(kinds.insert(text.kind).second) << text.code;
        EXPECT_EQ(&cli::doctor::textOf(text.kind), &text);
    }
}

TEST(DoctorKinds, SayWhyAndWhatToDoInASentence) {
    for (const cli::doctor::KindText& text : cli::doctor::kindTexts()) {
        for (const std::string sentence : {text.why, text.remedy}) {
            EXPECT_EQ(sentence.find(". "), std::string::npos) << text.code << ": " << sentence;
            EXPECT_EQ(sentence.back(), '.') << text.code << ": " << sentence;
        }
        EXPECT_NE(text.title[std::string(text.title).size() - 1], '.') << text.code;
    }
}

TEST(DoctorManual, DescribesEveryKindInItsWords) {
    const std::string text = manual();
    for (const cli::doctor::KindText& kind : cli::doctor::kindTexts()) {
        const std::string entry = std::string("\n### ") + kind.code + " " + kind.title +
                                  "\n\nSeverity: " + nameOf(kind.severity) +
                                  ".\n\nWhy it matters: " + kind.why +
                                  "\n\nWhat to do: " + kind.remedy + "\n\nIt is found ";
        EXPECT_NE(text.find(entry), std::string::npos) << entry;
    }
}

TEST(DoctorManual, DescribesNoKindThatIsNot) {
    const std::string text = manual();
    const std::regex heading("\n### (DOC[0-9]+) ");
    std::vector<std::string> described;
    for (std::sregex_iterator match(text.begin(), text.end(), heading), end; match != end;
         ++match) {
        described.push_back((*match)[1]);
    }
    std::vector<std::string> codes;
    for (const cli::doctor::KindText& kind : cli::doctor::kindTexts()) {
        codes.emplace_back(kind.code);
    }
    EXPECT_EQ(described, codes);
}

TEST(DoctorManual, DescribesEveryAbilityInItsOrder) {
    const std::string text = manual();
    const std::string table = text.substr(text.find("| ability | it is |"));
    std::vector<std::string> described;
    const std::regex row("\n\\| ([^|]+) \\| [^|]+ \\| [^|]+ \\|");
    for (std::sregex_iterator match(table.begin(), table.end(), row), end; match != end; ++match) {
        described.push_back((*match)[1]);
    }
    std::vector<std::string> names;
    const Json found = runOnMachine(soundMachine(), {"doctor", "--json"}).json();
    for (const Json& ability : found["abilities"]) {
        names.push_back(ability["name"]);
    }
    EXPECT_EQ(described, names);
}

std::vector<std::string> codesIn(const CliResult& result) {
    std::vector<std::string> codes;
    const Json document = result.json();
    for (const Json& finding : document["findings"]) {
        codes.push_back(finding["code"]);
    }
    return codes;
}

Json abilityOf(const CliResult& result, const std::string& name) {
    const Json document = result.json();
    for (const Json& ability : document["abilities"]) {
        if (ability["name"] == name) {
            return ability;
        }
    }
    return {};
}

TEST(Doctor, FindsNothingOnASoundMachine) {
    const CliResult found = runOnMachine(soundMachine(), {"doctor"});
    EXPECT_EQ(found.status, 0);
    EXPECT_EQ(found.err, "");
    EXPECT_EQ(found.out,
              "ABILITY                    WORKS  MISSING\n"
              "open disks                 yes    -\n"
              "send SCSI commands         yes    -\n"
              "read the SCSI inventory    yes    -\n"
              "rescan                     yes    -\n"
              "remove-stale               yes    -\n"
              "prune                      yes    -\n"
              "refresh multipath maps     yes    -\n"
              "remove multipath maps      yes    -\n"
              "flush-multipath            yes    -\n"
              "refresh PowerPath devices  yes    -\n"
              "iscsi                      yes    -\n"
              "iscsi iqn                  yes    -\n"
              "wwpn                       yes    -\n"
              "\n"
              "nothing was found\n");
}

TEST(Doctor, HasNoEffectAndLeavesNothingOpen) {
    test::CliMachine machine(soundMachine());
    EXPECT_EQ(machine.run({"doctor"}, test::root()).status, 0);
    for (const std::string& line : machine.journal()) {
        const Json effect = Json::parse(line);
        EXPECT_EQ(effect["effect"], "command") << line;
        const std::string command = effect["command"];
        EXPECT_TRUE(host::isReadCommand(command) || command.find("/usr/bin/sg_inq ") == 0) << line;
    }
    EXPECT_EQ(machine.openDescriptors(), 0U);
}

// Something that a machine lacks, and what is found then.
struct Lack {
    std::string name;
    std::function<void(RecordedHostData&)> bring;
    std::string ability;
    Json missing;
    Json remedy;
    std::vector<std::string> codes;
};

void die(RecordedHostData& data, int error) {
    for (const char* disk : {"/dev/sdb", "/dev/sdc", "/dev/sdd"}) {
        data.devices[disk].openError = error;
    }
}

std::vector<Lack> lacks() {
    using Data = RecordedHostData;
    const std::string multipath =
        "install multipath-tools (Debian, Ubuntu, SUSE) or device-mapper-multipath (Red Hat)";
    const std::string sgUtils = "install sg3-utils (Debian, Ubuntu) or sg3_utils (Red Hat, SUSE)";
    const std::string iscsi =
        "install open-iscsi (Debian, Ubuntu, SUSE) or iscsi-initiator-utils (Red Hat)";
    const auto without = [](const std::string& path) {
        return [path](Data& data) { data.files.erase(path); };
    };
    return {
        {"rights",
         [](Data& data) { die(data, EACCES); },
         "open disks",
         "/dev/sdb: Permission denied",
         "give it the device nodes of the disks",
         {"DOC001"}},
        {"the inventory",
         without("/proc/scsi/scsi"),
         "read the SCSI inventory",
         "/proc/scsi/scsi: No such file or directory",
         "boot a kernel built with CONFIG_SCSI_PROC_FS",
         {"DOC003"}},
        {"the inventory's content",
         [](Data& data) { data.files["/proc/scsi/scsi"].error = EIO; },
         "read the SCSI inventory",
         "/proc/scsi/scsi: Input/output error",
         nullptr,
         {"DOC003"}},
        {"the script",
         without("/usr/bin/rescan-scsi-bus.sh"),
         "rescan",
         "rescan-scsi-bus.sh is neither in /bin nor in /usr/bin",
         sgUtils,
         {"DOC004"}},
        {"the script for remove-stale",
         without("/usr/bin/rescan-scsi-bus.sh"),
         "remove-stale",
         "rescan-scsi-bus.sh is neither in /bin nor in /usr/bin",
         sgUtils,
         {"DOC004"}},
        {"a script that fits",
         [](Data& data) {
             data.files["/usr/bin/rescan-scsi-bus.sh"] = test::rescanScript(test::kUnreadable);
         },
         "remove-stale",
         "version 20230413 of the script cannot read what sg_inq 2.10 20210328 prints: it looks "
         "for ' *PQual=\\([0-9]*\\)  Device.*'",
         "install a script and an sg_inq that belong together",
         {"DOC005"}},
        {"sg_inq",
         [](Data& data) { test::takeCommandAway(data, "/usr/bin/sg_inq --len=36 /dev/sg1"); },
         "remove-stale",
         "there is no /usr/bin/sg_inq",
         sgUtils,
         {}},
        {"pidof",
         [](Data& data) {
             data.files.erase("/sbin/pidof");
             test::takeCommandAway(data, "/sbin/pidof -x multipathd");
         },
         "flush-multipath",
         "there is no /sbin/pidof",
         "install sysvinit-utils or procps (Debian, Ubuntu), procps-ng (Red Hat) or procps (SUSE)",
         {"DOC006"}},
        {"rights to run pidof",
         [](Data& data) { test::takeCommandAway(data, "/sbin/pidof -x multipathd"); },
         "flush-multipath",
         "/sbin/pidof cannot be started",
         "install sysvinit-utils or procps (Debian, Ubuntu), procps-ng (Red Hat) or procps (SUSE)",
         {"DOC006"}},
        {"multipath",
         without("/sbin/multipath"),
         "refresh multipath maps",
         "there is no /sbin/multipath",
         multipath,
         {"DOC007"}},
        {"multipath for the flush",
         without("/sbin/multipath"),
         "flush-multipath",
         "there is no /sbin/multipath",
         multipath,
         {"DOC007"}},
        {"dmsetup",
         without("/usr/sbin/dmsetup"),
         "remove multipath maps",
         "there is no /usr/sbin/dmsetup",
         "install dmsetup (Debian, Ubuntu) or device-mapper (Red Hat, SUSE)",
         {"DOC007"}},
        {"the daemon",
         [](Data& data) {
             test::commandOf(data, "/sbin/pidof -x multipathd")->output.clear();
             test::commandOf(data, "/sbin/pidof -x multipathd")->exitStatus = 1;
         },
         "flush-multipath",
         "multipathd does not run",
         "systemctl enable --now multipathd",
         {"DOC008"}},
        {"a daemon that pidof names",
         [](Data& data) { test::commandOf(data, "/sbin/pidof -x multipathd")->output.clear(); },
         "flush-multipath",
         "multipathd does not run",
         "systemctl enable --now multipathd",
         {"DOC008"}},
        {"iscsiadm",
         without("/sbin/iscsiadm"),
         "iscsi",
         "there is no /sbin/iscsiadm",
         iscsi,
         {"DOC009"}},
        {"iscsiadm for the name",
         without("/sbin/iscsiadm"),
         "iscsi iqn",
         "there is no /sbin/iscsiadm",
         iscsi,
         {"DOC009"}},
        {"the name's file",
         without("/etc/iscsi/initiatorname.iscsi"),
         "iscsi iqn",
         "there is no /etc/iscsi/initiatorname.iscsi",
         iscsi,
         {"DOC010"}},
        {"rights on the name",
         [](Data& data) { data.files["/etc/iscsi/initiatorname.iscsi"].error = EACCES; },
         "iscsi iqn",
         "/etc/iscsi/initiatorname.iscsi: Permission denied",
         nullptr,
         {"DOC010"}},
        {"the name",
         [](Data& data) { data.files["/etc/iscsi/initiatorname.iscsi"] = "# none\n"; },
         "iscsi iqn",
         "/etc/iscsi/initiatorname.iscsi has no InitiatorName",
         "write a line InitiatorName=NAME to it; iscsi-iname makes a name",
         {"DOC010"}},
        {"powermt",
         [](Data& data) {
             data.files.erase("/sbin/powermt");
             const recording::RecordedDevice disk = data.devices["/dev/sdb"];
             test::addBlock(data, "emcpowera", test::blockNumber(120, 0));
             data.devices["/dev/emcpowera"] = disk;
             data.devices["/dev/emcpowera"].number = test::blockNumber(120, 0);
         },
         "refresh PowerPath devices",
         "there is no /sbin/powermt",
         "install the PowerPath package of its vendor",
         {"DOC011"}},
        {"Fibre Channel",
         [](Data& data) {
             test::takeCommandAway(data, "/bin/ls /sys/class/fc_host/");
             test::commandOf(data, "/bin/ls /sys/class/fc_host/")->output = {"none"};
             data.commands.push_back({"/bin/ls /sys/class/scsi_host/", {}});
         },
         "wwpn",
         "no Fibre Channel port is named in /proc/scsi or /sys/class/fc_host",
         "where there is such an adapter, load its driver",
         {}},
        {"ls",
         [](Data& data) {
             test::takeCommandAway(data, "/bin/ls /sys/class/fc_host/");
             data.commands.push_back({"/bin/ls /sys/class/scsi_host/", {}, 127});
         },
         "wwpn",
         "there is no /bin/ls",
         "install coreutils",
         {}},
    };
}

TEST(Doctor, SaysWhatIsMissingAndWhatBringsIt) {
    for (const Lack& lack : lacks()) {
        RecordedHostData data = soundMachine();
        lack.bring(data);
        const CliResult found = runOnMachine(data, {"doctor", "--json"});
        const Json ability = abilityOf(found, lack.ability);
        EXPECT_EQ(ability["works"], false) << lack.name << ": " << ability;
        EXPECT_EQ(ability["missing"], lack.missing) << lack.name;
        EXPECT_EQ(ability["remedy"], lack.remedy) << lack.name;
        EXPECT_EQ(codesIn(found), lack.codes) << lack.name << ": " << found.out;
        EXPECT_EQ(found.status, lack.codes.empty() ? 0 : 3) << lack.name << ": " << found.err;
    }
}

TEST(Doctor, FindsEveryAbilitysKind) {
    std::set<std::string> found = {"DOC002"};  // below
    for (const Lack& lack : lacks()) {
        found.insert(lack.codes.begin(), lack.codes.end());
    }
    std::set<std::string> kinds;
    for (const cli::doctor::KindText& kind : cli::doctor::kindTexts()) {
        if (kind.kind <= cli::doctor::Kind::kNoPowerPathTool) {
            kinds.insert(kind.code);
        }
    }
    EXPECT_EQ(found, kinds);
}

// The kernel of sdb takes no SCSI_IOCTL_SEND_COMMAND.
RecordedHostData withoutTheIoctl() {
    RecordedHostData data = soundMachine();
    for (const char* disk : {"/dev/sdb", "/dev/sdc", "/dev/sdd"}) {
        recording::RecordedDevice& device = data.devices[disk];
        const recording::Bytes block = {0x12, 0, 0, 0, 36, 0};
        device.sgIo[block] = device.standardInquiry->bytes;
        device.standardInquiry.reset();
        device.pages.clear();
    }
    return data;
}

TEST(Doctor, TellsAKernelWithoutTheIoctlFromASilentDisk) {
    const CliResult found = runOnMachine(withoutTheIoctl(), {"doctor", "--json"});
    const Json ability = abilityOf(found, "send SCSI commands");
    EXPECT_EQ(ability["works"], false);
    EXPECT_EQ(ability["missing"],
              "SCSI_IOCTL_SEND_COMMAND: inappropriate ioctl for device, where SG_IO is answered");
    EXPECT_EQ(ability["remedy"],
              "capture the host again with this version, which asks by SG_IO then");
    EXPECT_THAT(codesIn(found), testing::Contains("DOC002"));
    EXPECT_EQ(found.json()["findings"][0]["devices"], Json({"/dev/sdb", "/dev/sdc", "/dev/sdd"}));
}

TEST(Doctor, WhatDoesNotMatterOnAHostIsNoFinding) {
    RecordedHostData data = soundMachine();
    for (const char* tool : {"/sbin/multipath", "/usr/sbin/dmsetup", "/sbin/pidof", "/sbin/powermt",
                             "/sbin/iscsiadm"}) {
        data.files.erase(tool);
    }
    test::takeCommandAway(data, "/sbin/pidof -x multipathd");
    auto& names = data.directories["/sys/class/block/"];
    names.erase(std::find(names.begin(), names.end(), "dm-0"));
    data.directories["/dev/mapper/"] = {".", "..", "control"};
    data.directories.erase("/sys/class/iscsi_session/");
    const CliResult found = runOnMachine(data, {"doctor", "--json"});
    EXPECT_THAT(codesIn(found), IsEmpty());
    EXPECT_EQ(abilityOf(found, "iscsi")["works"], false);
    EXPECT_EQ(found.status, 0) << found.err;
}

TEST(Doctor, AUserIsToldToBeRoot) {
    RecordedHostData data = soundMachine();
    die(data, EACCES);
    test::CliMachine machine(data);
    cli::Surroundings user;
    user.isRoot = false;
    const CliResult found = machine.run({"doctor", "--json"}, user);
    EXPECT_EQ(abilityOf(found, "open disks")["remedy"], "run it as root");
}

TEST(Doctor, WhatARecordingDoesNotSpeakOfIsNotMissing) {
    RecordedHostData data = soundMachine();
    for (const char* path : {"/sbin/multipath", "/usr/sbin/dmsetup", "/sbin/powermt",
                             "/sbin/iscsiadm", "/proc/scsi/scsi", "/usr/bin/rescan-scsi-bus.sh"}) {
        data.files.erase(path);
    }
    data.commands.clear();
    data.directories["/proc/"].emplace_back("scsi");
    const CliResult found = runOnRecording(data, {"doctor", "--json"});
    EXPECT_THAT(codesIn(found), IsEmpty());
    EXPECT_EQ(found.status, 0) << found.err;
    const std::vector<std::pair<std::string, std::string>> untold = {
        {"read the SCSI inventory", "/proc/scsi/scsi"},
        {"rescan", "/bin/rescan-scsi-bus.sh"},
        {"remove-stale", "/bin/rescan-scsi-bus.sh"},
        {"refresh multipath maps", "/sbin/multipath"},
        {"remove multipath maps", "/usr/sbin/dmsetup"},
        {"flush-multipath", "/sbin/pidof -x multipathd"},
        {"refresh PowerPath devices", "/sbin/powermt"},
        {"iscsi", "/sbin/iscsiadm"},
        {"iscsi iqn", "/sbin/iscsiadm"},
        {"wwpn", "/bin/ls /sys/class/fc_host/"}};
    for (const auto& [name, what] : untold) {
        const Json ability = abilityOf(found, name);
        EXPECT_EQ(ability["works"], nullptr) << name;
        EXPECT_EQ(ability["missing"], "this recording has no answer for " + what) << name;
        EXPECT_EQ(ability["remedy"], nullptr) << name;
    }
}

/// A machine on which one read of the list of disks fails.
class UnreadList : public host::ForwardingHost {
  public:
    UnreadList(host::Host& inner, int which) : ForwardingHost(inner), m_left(which) {}

    host::ReadResult readFile(const std::string& path) override {
        if (path != "/proc/partitions" || --m_left != 0) {
            return ForwardingHost::readFile(path);
        }
        host::ReadResult failed;
        failed.openError = EMFILE;
        return failed;
    }
    bool hasFailed() const { return m_left <= 0; }

  private:
    int m_left;
};

// Who could not read it has not looked at the disks.
TEST(Doctor, AListThatCannotBeReadIsTold) {
    test::CliMachine machine(soundMachine());
    const CliResult whole =
        test::runCli({"--jobs", "1", "--deadline", "0", "doctor"}, machine.host(), test::root());
    ASSERT_EQ(whole.status, 0) << whole.err;
    int told = 0;
    for (int which = 1; which < 100; ++which) {
        UnreadList sick(machine.host(), which);
        const CliResult result =
            test::runCli({"--jobs", "1", "--deadline", "0", "doctor"}, sick, test::root());
        if (!sick.hasFailed()) {
            break;
        }
        told += result.status == 3 ? 1 : 0;
        EXPECT_TRUE(result.status == 3 || result.out == whole.out) << which << result.out;
        EXPECT_EQ(result.err,
                  result.status == 3 ? "scsitool: /proc/partitions: Too many open files\n" : "");
    }
    EXPECT_GE(told, 1);
}

// A capture has the tools that were looked for in vain as such.
TEST(Doctor, WhatARecordingSaysIsNotThereIsMissing) {
    RecordedHostData data = soundMachine();
    data.files["/sbin/iscsiadm"].error = ENOENT;
    const CliResult found = runOnRecording(data, {"doctor", "--json"});
    EXPECT_EQ(abilityOf(found, "iscsi")["missing"], "there is no /sbin/iscsiadm");
    EXPECT_THAT(codesIn(found), ElementsAre("DOC009"));
}

TEST(Doctor, FindingsAreToldByKindAndWorstFirst) {
    RecordedHostData data = soundMachine();
    data.files.erase("/sbin/multipath");
    data.files.erase("/usr/sbin/dmsetup");
    data.files["/usr/bin/rescan-scsi-bus.sh"] = test::rescanScript(test::kUnreadable);
    const CliResult found = runOnMachine(data, {"doctor"});
    EXPECT_EQ(found.status, 3);
    EXPECT_EQ(found.err, "scsitool: found 1 error, 2 warnings\n");
    EXPECT_EQ(
        found.out.substr(found.out.find("DOC")),
        "DOC005  error: The rescan script cannot read what sg_inq prints\n"
        "  /usr/bin/rescan-scsi-bus.sh /usr/bin/sg_inq: version 20230413 of the script cannot "
        "read what sg_inq 2.10 20210328 prints: it looks for ' *PQual=\\([0-9]*\\)  "
        "Device.*'\n"
        "  Why: The script takes every disk for gone then, and with an option that removes it "
        "removes disks in use.\n"
        "  Do:  Remove what is gone with prune, or install a script and an sg_inq that belong "
        "together.\n"
        "\n"
        "DOC007  warning: A multipath tool is missing\n"
        "  /dev/mapper/mpatha: there is no /sbin/multipath\n"
        "  /dev/mapper/mpatha: there is no /usr/sbin/dmsetup\n"
        "  Why: This host has multipath maps, which are refreshed, flushed and removed by it.\n"
        "  Do:  Install multipath-tools and dmsetup (Debian, Ubuntu), device-mapper-multipath "
        "(Red Hat) or multipath-tools (SUSE).\n");
}

TEST(Doctor, OnATerminalErrorsAreRedAndLinesFit) {
    RecordedHostData data = soundMachine();
    data.files["/usr/bin/rescan-scsi-bus.sh"] = test::rescanScript(test::kUnreadable);
    cli::Surroundings terminal = test::root();
    terminal.outIsTerminal = true;
    terminal.colour = true;
    terminal.width = 60;
    test::CliMachine machine(data);
    const std::string out = machine.run({"doctor"}, terminal).out;
    EXPECT_THAT(out, HasSubstr("\n\033[31mDOC005  error\033[0m: The rescan"));
    EXPECT_THAT(out, HasSubstr("\n  Why: The script takes every disk for gone then, and with\n"
                               "       an option that removes it removes disks in use.\n"));
}

TEST(Doctor, WhatSteersATerminalIsEscaped) {
    RecordedHostData data = soundMachine();
    test::commandOf(data, "/usr/bin/sg_inq -V")->output = {"Version string: \033[2J"};
    data.files["/usr/bin/rescan-scsi-bus.sh"] = test::rescanScript(test::kUnreadable);
    const CliResult found = runOnMachine(data, {"doctor"});
    EXPECT_THAT(found.out, HasSubstr("sg_inq \\x1b[2J prints"));
    EXPECT_EQ(found.out.find('\033'), std::string::npos);
}

}  // namespace
