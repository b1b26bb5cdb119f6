#include "recording/guard/effect/targets.h"

namespace {

using namespace recording::guard;

// A target in words, for tables.
struct Shown {
    std::string operator()(const DiskAt& one) const { return "at " + addressText(one.address); }
    std::string operator()(const DiskNamed& one) const { return "disk " + one.name; }
    std::string operator()(const MapNamed& one) const { return "map " + one.name; }
    std::string operator()(const UnusedMaps&) const { return "unused maps"; }
    std::string operator()(const ScriptRun& one) const {
        return one.script + (one.options.removes ? " removes" : "") +
               (one.options.takesAll ? " all" : "") + (one.options.flushesMaps ? " flushes" : "") +
               (one.options.ignoresRevision ? " ignores" : "");
    }
    std::string operator()(const Sessions& one) const { return "sessions '" + one.target + "'"; }
    std::string operator()(const Untold&) const { return "untold"; }
};

std::string shown(const Targets& targets) {
    std::string text;
    for (const Target& target : targets) {
        text += (text.empty() ? "" : ", ") + std::visit(Shown(), target);
    }
    return text;
}

TEST(GuardTargets, AppendsThatTakeADiskAndAppendsThatTakeNone) {
    const std::string removal = "scsi remove-single-device ";
    const std::string table = "/proc/scsi/scsi";
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {table, removal + "2 0 0 5\n", "at 2:0:0:5"},
        {table, removal + "2 0 0 5", "at 2:0:0:5"},
        {table, removal + "256 1 15 16684\n", "at 256:1:15:16684"},
        {table, removal + "4294967295 0 0 4294967295\n", "at 4294967295:0:0:4294967295"},
        {table, removal + "2 0 0 4294967296\n", "untold"},
        {table, removal + "2 0 0\n", "untold"},
        {table, removal + "2 0 0 5 6\n", "untold"},
        {table, removal + "2 0 0 010\n", "untold"},
        {table, removal + "2 0 0 0x5\n", "untold"},
        {table, removal + "2  0 0 5\n", "untold"},
        {table, removal + "-1 0 0 5\n", "untold"},
        {table, "scsi remove-single-device", "untold"},
        {table, "scsi remove-single-device\n", "untold"},
        {table, "scsi add-single-device 2 0 0 5\n", ""},
        {table, "", ""},
        {"/proc/scsi/qla2xxx/1", "scsi-qlascan\n", ""},
        {"/sys/class/scsi_device/2:0:0:5/device/delete", "1", "at 2:0:0:5"},
        {"/sys/class/scsi_device/2:0:0:4611686018427387904/device/delete", "1",
         "at 2:0:0:4611686018427387904"},
        {"/sys/bus/scsi/devices/2:0:0:5/delete", "1", "at 2:0:0:5"},
        {"/sys/devices/pci0/host2/target2:0:0/2:0:0:5/delete", "", "at 2:0:0:5"},
        {"/sys/block/sdb/device/delete", "1", "disk sdb"},
        {"/sys/class/block/sdb/device/delete", "1", "disk sdb"},
        {"/sys/class/net/eth0/device/delete", "1", "untold"},
        {"/sys/delete", "1", "untold"},
        {"/sys/class/scsi_host/host2/scan", "0 0 5\n", ""},
        {"/home/me/delete", "1", ""},
    };
    for (const auto& [path, text, expected] : cases) {
        EXPECT_EQ(shown(targetsOfAppend(path, text)), expected) << path << " " << text;
    }
}

TEST(GuardTargets, Dmsetup) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"remove /dev/mapper/mpatha", "map /dev/mapper/mpatha"},
        {"remove mpatha mpathb", "map mpatha, map mpathb"},
        {"remove -f --retry mpatha", "map mpatha"},
        {"--force remove mpatha", "map mpatha"},
        {"remove -u mpath-3600", "untold"},
        {"remove", "untold"},
        {"remove_all", "untold"},
        {"wipe_table mpatha", "map mpatha"},
        {"ls --target multipath", ""},
        {"status", ""},
        {"", ""},
    };
    for (const auto& [arguments, expected] : cases) {
        EXPECT_EQ(shown(targetsOfCommand("/usr/sbin/dmsetup " + arguments)), expected) << arguments;
    }
}

TEST(GuardTargets, Multipath) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"-v0 ", ""},
        {"-F", "unused maps"},
        {"-v0 -F", "unused maps"},
        {"-f mpatha", "map mpatha"},
        {"-v2f mpatha", ""},
        {"-fv2 mpatha", "map mpatha"},
        {"-f", "untold"},
        {"-v F", ""},
        {"-ll mpatha", ""},
        {"-v2 -f -b /etc/b mpatha", "map mpatha"},
        {"-r mpatha", ""},
    };
    for (const auto& [arguments, expected] : cases) {
        EXPECT_EQ(shown(targetsOfCommand("/sbin/multipath " + arguments)), expected) << arguments;
    }
}

TEST(GuardTargets, IscsiLogout) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"-m node -T iqn.a --logout", "sessions 'iqn.a'"},
        {"-m node --targetname iqn.a -u", "sessions 'iqn.a'"},
        {"-m node --targetname=iqn.a -u", "sessions 'iqn.a'"},
        {"-m node -uT iqn.a", "sessions 'iqn.a'"},
        {"-m node -Tiqn.a -u", "sessions 'iqn.a'"},
        {"-m node -T iqn.a -p 10.0.0.1 --logou", "sessions 'iqn.a'"},
        {"-m session -r 1 -u", "sessions ''"},
        {"-m node -U all", "sessions ''"},
        {"-m node --logoutall=all", "sessions ''"},
        {"-m node -T iqn.a --login", ""},
        {"-m node -T iqn.u -l", ""},
        {"-m node -T -u", ""},
        {"-m discovery -t sendtargets -p 10.0.0.1", ""},
        {"-m session -R", ""},
    };
    for (const auto& [arguments, expected] : cases) {
        EXPECT_EQ(shown(targetsOfCommand("/sbin/iscsiadm " + arguments)), expected) << arguments;
    }
}

TEST(GuardTargets, EveryWordingOfARescanThatRemovesOrAddsAgain) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"--alltargets --issue-lip -d", ""},
        {"-r", " removes"},
        {"-dr", " removes"},
        {"-rd", " removes"},
        {"--remove", " removes"},
        {"'--remove'", " removes"},
        {"--re\"move\"", " removes"},
        {"--rem", " removes"},
        {"--r", " removes"},
        {"--remove=1", " removes"},
        {"--forceremove", " removes all"},
        {"--forcerem", " removes all"},
        {"--forcerescan", " removes all"},
        {"--forceres", " removes all"},
        {"--force", " removes all"},
        {"--f", " removes all flushes"},
        {"-f", " flushes"},
        {"--flush", " flushes"},
        {"-m", " flushes"},
        {"-u", " flushes"},
        {"--remove --flush -d", " removes flushes"},
        {"1 2 -r", " removes"},
        {"-- -r", " removes"},
        {"'' -r", " removes"},
        {"-L 3 -r", " removes"},
        {"--ignore-rev -r", " removes ignores"},
        {"--removed", ""},
        {"remove", ""},
        {"-", ""},
        {"--", ""},
        {"--nooptscan --resize -s -c -l -w --hosts=1", ""},
        {"--reportlun2 --sparselun --largelun --attachpq3", ""},
    };
    for (const auto& [arguments, options] : cases) {
        const std::string script = "/usr/bin/rescan-scsi-bus.sh";
        EXPECT_EQ(shown(targetsOfCommand(script + " " + arguments)),
                  options.empty() ? "" : script + options)
            << arguments;
    }
}

TEST(GuardTargets, HostsOfARescan) {
    const auto looks = [](const std::vector<std::string>& words, std::uint64_t host) {
        return parseRescanOptions(words).looksAtHost(host);
    };
    EXPECT_TRUE(looks({}, 7));
    EXPECT_TRUE(looks({"--hosts=7"}, 7));
    EXPECT_FALSE(looks({"--hosts=6"}, 7));
    EXPECT_TRUE(looks({"--hosts=1,6-8"}, 7));
    EXPECT_FALSE(looks({"--hosts=1,6-8"}, 5));
    EXPECT_FALSE(looks({"--hosts=1,6-8"}, 9));
    EXPECT_TRUE(looks({"--hosts=1", "--hosts=7"}, 7));
    for (const char* odd : {"--hosts=", "--hosts=a", "--hosts=1,", "--hosts=-1", "--hosts=1-",
                            "--hosts=010", "--hosts=1,x"}) {
        EXPECT_TRUE(looks({odd}, 7)) << odd;
        EXPECT_TRUE(looks({"--hosts=1", odd}, 7)) << odd;
    }
}

TEST(GuardTargets, OtherCommandsTakeNothingAndShellsAreNotTakenApart) {
    EXPECT_EQ(shown(targetsOfCommand("")), "");
    EXPECT_EQ(shown(targetsOfCommand("/bin/ls /sys/class/fc_host/")), "");
    EXPECT_EQ(shown(targetsOfCommand("/sbin/powermt check force dev=all class=all")), "");
    EXPECT_EQ(shown(targetsOfCommand("/bin/sh -c 'rescan-scsi-bus.sh -r'")), "untold");
    EXPECT_EQ(shown(targetsOfCommand("bash /usr/bin/rescan-scsi-bus.sh")), "untold");
    EXPECT_EQ(shown(targetsOfShellLine("/bin/echo hello")), "");
    EXPECT_EQ(shown(targetsOfShellLine("echo 1 > /sys/block/sdb/device/delete")), "untold");
    EXPECT_EQ(shown(targetsOfShellLine("echo scsi remove-single-device 1 0 0 1 > x")), "untold");
    EXPECT_EQ(shown(targetsOfShellLine("dmsetup remove a")), "untold");
    const std::string tail = " 1 5 7\" >  /proc/scsi/scsi";
    EXPECT_EQ(shown(targetsOfShellLine("/bin/echo \"scsi remove-single-device 2" + tail)),
              "at 2:1:5:7");
    EXPECT_EQ(shown(targetsOfShellLine("/bin/echo \"scsi add-single-device 2" + tail)), "");
    EXPECT_EQ(shown(targetsOfShellLine("/bin/echo \"scsi remove-single-device -2" + tail)),
              "untold");
    EXPECT_EQ(shown(targetsOfShellLine("/bin/echo \"$(rescan-scsi-bus.sh -r)" + tail)), "untold");
}

TEST(GuardTargets, Addresses) {
    for (const char* text : {"0:0:0:0", "2:0:0:5", "4294967295:0:0:18446744073709551615"}) {
        const auto address = parseAddress(text);
        ASSERT_TRUE(address) << text;
        EXPECT_EQ(addressText(*address), text);
    }
    for (const char* text :
         {"", ":::", "2:0:0", "2:0:0:", "2:0:0:5:", "2:0:0:5:6", "02:0:0:5", "2:0:0:05", "a:0:0:5",
          "2:0:0:5 ", "4294967296:0:0:1", "0:0:0:18446744073709551616", "0:0:-1:1"}) {
        EXPECT_FALSE(parseAddress(text)) << text;
    }
    EXPECT_EQ(parseDecimal("9", 9), 9U);
    EXPECT_FALSE(parseDecimal("10", 9));
    EXPECT_FALSE(parseDecimal("9", 8));
}

}  // namespace
