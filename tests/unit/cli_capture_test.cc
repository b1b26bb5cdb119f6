#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "cli/common/command.h"
#include "cli_harness.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using test::CliResult;
using test::runCli;
using test::TempFolder;

constexpr const char* kSamples[] = {"plain-server",
                                    "enterprise",
                                    "families",
                                    "kernel-2.4",
                                    "in-use",
                                    "sick-dead-path",
                                    "sick-all-paths-down",
                                    "sick-withdrawn-lun",
                                    "sick-remapped-lun",
                                    "sick-far-lun",
                                    "sick-write-protected",
                                    "sick-slow-array",
                                    "sick-silent-disk"};

std::string samplePath(const std::string& name) {
    return std::string(SCSITOOL_SAMPLES) + "/" + name + ".json";
}

/// A test's name is letters and digits.
std::string nameOf(std::string sample) {
    const auto isNone = [](unsigned char c) { return std::isalnum(c) == 0; };
    sample.erase(std::remove_if(sample.begin(), sample.end(), isNone), sample.end());
    return sample;
}

/// The command on a recorded host; nothing is asked of the host that stands for the machine.
CliResult onFile(const std::string& file, std::vector<std::string> arguments,
                 const std::string& journal = "") {
    test::CliMachine machine({});
    arguments.insert(arguments.begin(), {"--host", file});
    if (!journal.empty()) {
        arguments.insert(arguments.begin(), {"--journal", journal});
    }
    return machine.run(arguments);
}

using Commands = std::vector<std::vector<std::string>>;

/// Of which driver a node is and whether it answers, of a disk also which volume: paths of one
/// volume answer alike.
std::string likenessOf(const std::string& path, const recording::RecordedDevice& device) {
    constexpr std::size_t kDriver = 7;  // "/dev/sd", "/dev/dm"
    std::string text = path.substr(0, kDriver) + std::to_string(device.openError);
    text += device.standardInquiry ? "|" + std::to_string(device.standardInquiry->error) : "";
    const auto names = device.pages.find(0x83);
    if (path.compare(0, kDriver, "/dev/sd") != 0 || !device.standardInquiry) {
        return text;
    }
    const recording::Bytes& inquiry = device.standardInquiry->bytes;
    text.append(inquiry.begin(), inquiry.end());
    if (names != device.pages.end()) {
        // The logical unit's name; what names the port stands behind it.
        constexpr std::size_t kUnit = 24;
        const recording::Bytes& page = names->second.bytes;
        text.append(page.begin(),
                    page.begin() + static_cast<std::ptrdiff_t>(std::min(page.size(), kUnit)));
    }
    return text;
}

/// What asks one device, of those that are alike the first, or tries to remove it.
void addForDevices(const recording::RecordedHostData& data, Commands& commands) {
    std::set<std::string> asked;
    for (const auto& [path, device] : data.devices) {
        // A node may have been made anywhere; only where the kernel's names lie is looked for them.
        if (path.compare(0, 5, "/dev/") != 0) {
            continue;
        }
        const bool isAsked = asked.insert(likenessOf(path, device)).second;
        for (const char* const command :
             {"validate", "inquiry", "explain", "udid", "find", "udev-export"}) {
            if (isAsked) {
                commands.push_back({command, path});
            }
        }
        if (path.compare(0, 12, "/dev/mapper/") == 0) {
            commands.push_back({"--dry-run", "remove", path});
        }
    }
    const auto addresses = data.directories.find("/sys/class/scsi_device/");
    if (addresses != data.directories.end()) {
        for (const std::string& address : addresses->second) {
            commands.push_back({"--dry-run", "remove-address", address});
        }
    }
}

/// All that reads, and all that acts tried without an effect.
Commands commandsFor(const std::string& file) {
    Commands commands = {{"devices"},
                         {"volumes"},
                         {"volumes", "--paths"},
                         {"disks", "-o", "+used,driver,initiator,target,generic"},
                         {"find", "sda"},
                         {"find", "/"},
                         {"diff", "live", "live"},
                         {"matrix", "live"},
                         {"disks"},
                         {"bus"},
                         {"wwpn"},
                         {"iscsi", "iqn"},
                         {"doctor"},
                         {"doctor", "--json"},
                         {"report"},
                         {"devices", "--json"},
                         {"volumes", "--json"},
                         {"bus", "--json"},
                         {"devices", "--taq"},
                         {"--trace", "6", "devices"},
                         {"--dry-run", "rescan"},
                         {"--dry-run", "rescan", "--changes"},
                         {"--dry-run", "devices", "--rescan"},
                         {"--dry-run", "remove-stale"},
                         {"--dry-run", "remove-stale", "--force"},
                         {"--dry-run", "remove-dead", "--lun0"},
                         {"--dry-run", "remove-dead", "--lun0", "--force"},
                         {"--dry-run", "prune"},
                         {"--dry-run", "prune", "--force"},
                         {"--dry-run", "flush-multipath"},
                         {"--dry-run", "iscsi", "logout", "iqn.1992-08.com.netapp:sn.135902718"},
                         {"--dry-run", "iscsi", "rescan"},
                         {"inquiry", "/dev/none"},
                         {"--dry-run", "remove", "/dev/mapper/none"},
                         {"--dry-run", "remove-address", "9:9:9:9"}};
    addForDevices(recording::loadRecordedHost(file), commands);
    return commands;
}

// By hand: std::regex descends once for every character of a run, and a report's runs are as long
// as its host.
std::string withoutTimes(std::string text) {
    const std::string key = "\"time\":\"";
    for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at)) {
        at += key.size();
        const std::size_t end = text.find_first_not_of("-0123456789T:.", at);
        if (end != std::string::npos && text[end] == 'Z') {
            text.erase(at, end - at);
        }
    }
    return text;
}

std::string transcript(const CliResult& result, const std::string& file) {
    std::string text = std::to_string(result.status) + "\n" + result.out + result.err;
    for (std::size_t at = text.find(file); at != std::string::npos; at = text.find(file)) {
        text.replace(at, file.size(), "FILE");
    }
    // When it was asked stands in a report.
    return withoutTimes(text);
}

/// Each sample by itself, so that the runs of a test can be shared out.
class CliCaptureOf : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Samples, CliCaptureOf, testing::ValuesIn(kSamples),
                         [](const auto& one) { return nameOf(one.param); });

TEST_P(CliCaptureOf, ReplaysASampleAsItIs) {
    const TempFolder folder;
    const std::string name = GetParam();
    const std::string sample = samplePath(name);
    const std::string copy = folder.path(name);
    ASSERT_NE(onFile(sample, {"capture", copy}).status, 1) << name;
    for (const auto& command : commandsFor(sample)) {
        EXPECT_EQ(transcript(onFile(copy, command), copy),
                  transcript(onFile(sample, command), sample))
            << name << ": " << command.front() << " " << command.back();
        // A journal of its own: a dry run's would not be told on standard output then.
        onFile(copy, command, folder.write("journal", ""));
        EXPECT_EQ(folder.read("journal").find("unanswered"), std::string::npos)
            << name << ": " << command.back() << folder.read("journal");
    }
}

// A new command is tried, too, but for those that ask no host anything.
TEST(CliCapture, EveryCommandIsTried) {
    std::set<std::string> tried = {"capture", "help", "__complete"};
    for (const auto& command : commandsFor(samplePath("in-use"))) {
        for (const std::string& word : command) {
            tried.insert(word);
        }
    }
    CLI::App app;
    const cli::CommandList commands = cli::makeCommands();
    for (const auto& command : commands) {
        const std::string name = command->declare(app)->get_name();
        EXPECT_EQ(tried.count(name), 1U) << name;
    }
}

TEST(CliCapture, CapturesItsOwnCaptureAsItIs) {
    const TempFolder folder;
    const std::string first = folder.path("first");
    const std::string second = folder.path("second");
    ASSERT_EQ(onFile(samplePath("enterprise"), {"capture", first}).status, 0);
    ASSERT_EQ(onFile(first, {"capture", second}).status, 0);
    EXPECT_EQ(folder.read("first"), folder.read("second"));
}

// Without the letters and digits, and without the lengths of words and columns: what of it is no
// name.
std::string shapeOf(const std::string& text) {
    const auto kindOf = [](char c) {
        return c == ' ' || std::isalnum(static_cast<unsigned char>(c)) != 0 ? ' ' : c;
    };
    std::string shape;
    for (std::size_t i = 0; i < text.size();) {
        const char kind = kindOf(text[i]);
        const std::size_t begin = i++;
        while (i < text.size() && kindOf(text[i]) == kind && (kind == ' ' || kind == '-')) {
            ++i;
        }
        const bool isRule = kind == '-' && i - begin > 1;
        shape += isRule ? ' ' : kind;
    }
    return shape;
}

/// What names became: those of maps by their places in the directory, those of iSCSI targets by the
/// sessions. Of what is not here the name stays.
std::map<std::string, std::string> newNames(const std::string& sample, const std::string& copy) {
    const recording::RecordedHostData original = recording::loadRecordedHost(sample);
    const recording::RecordedHostData redacted = recording::loadRecordedHost(copy);
    std::map<std::string, std::string> names;
    const auto maps = original.directories.find("/dev/mapper/");
    if (maps != original.directories.end()) {
        const auto& others = redacted.directories.at("/dev/mapper/");
        for (std::size_t i = 0; i < maps->second.size(); ++i) {
            names["/dev/mapper/" + maps->second[i]] = "/dev/mapper/" + others.at(i);
        }
    }
    for (const auto& [path, file] : original.files) {
        if (path.find("/targetname") != std::string::npos && file.error == 0) {
            const std::string& other = redacted.files.at(path).content;
            names[file.content.substr(0, file.content.find('\n'))] =
                other.substr(0, other.find('\n'));
        }
    }
    return names;
}

/// The same command by the new names. What shows bytes also as text is asked for a document: a byte
/// that was no letter may be one now.
std::vector<std::string> renamed(std::vector<std::string> command,
                                 const std::map<std::string, std::string>& names) {
    if (command.front() == "inquiry" || command.front() == "explain" ||
        command.front() == "report") {
        command.emplace_back("--json");
    }
    for (std::string& word : command) {
        const auto name = names.find(word);
        word = name != names.end() ? name->second : word;
    }
    return command;
}

TEST_P(CliCaptureOf, RedactedReplaysAlikeButForTheNames) {
    const TempFolder folder;
    const std::string name = GetParam();
    const std::string sample = samplePath(name);
    const std::string copy = folder.path(name);
    ASSERT_NE(onFile(sample, {"capture", copy, "--redact"}).status, 1) << name;
    const auto names = newNames(sample, copy);
    for (const auto& command : commandsFor(sample)) {
        const auto other = renamed(command, names);
        EXPECT_EQ(shapeOf(transcript(onFile(copy, other), copy)),
                  shapeOf(transcript(onFile(sample, renamed(command, {})), sample)))
            << name << ": " << testing::PrintToString(command);
        onFile(copy, other, folder.write("journal", ""));
        EXPECT_EQ(folder.read("journal").find("unanswered"), std::string::npos)
            << name << ": " << testing::PrintToString(command);
    }
}

// Every disk's UDID is made by the same generator.
TEST(CliCapture, RedactedPagesAreClaimedAsTheOriginalsAre) {
    const TempFolder folder;
    const auto generatorsOf = [](const std::string& sample, const std::string& file) {
        std::vector<std::string> generators;
        for (const auto& [path, device] : recording::loadRecordedHost(sample).devices) {
            // A volume group's map is called otherwise.
            if (path.compare(0, 7, "/dev/sd") != 0) {
                continue;
            }
            const CliResult result = onFile(file, {"explain", path, "--json"});
            if (result.status == 0) {
                const auto explained = result.json()["explanations"].at(0);
                generators.push_back(path + explained["outcome"].dump() +
                                     explained["made_by"].dump());
            }
        }
        return generators;
    };
    for (const char* const name : kSamples) {
        const std::string sample = samplePath(name);
        const std::string copy = folder.path(name);
        ASSERT_NE(onFile(sample, {"capture", copy, "--redact"}).status, 1) << name;
        EXPECT_EQ(generatorsOf(sample, copy), generatorsOf(sample, sample)) << name;
    }
}

TEST(CliCapture, RedactsDifferentlyEachTime) {
    const TempFolder folder;
    onFile(samplePath("plain-server"), {"capture", folder.path("a"), "--redact"});
    onFile(samplePath("plain-server"), {"capture", folder.path("b"), "--redact"});
    EXPECT_NE(folder.read("a"), folder.read("b"));
}

TEST(CliCapture, WritesForItsOwnerAndReplacesARegularFile) {
    const TempFolder folder;
    const std::string file = folder.write("host.json", "old");
    test::CliMachine machine(test::smallHost());
    const CliResult result = machine.run({"capture", file});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(folder.read("host.json").substr(0, 2), "{\n");
    struct stat status;
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(machine.openDescriptors(), 0U);
}

TEST(CliCapture, RefusesWhatIsNoFileBeforeItAsksAnything) {
    test::CliMachine machine(test::smallHost());
    const CliResult result = machine.run({"capture", "/dev/null"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: /dev/null: it is there and no regular file (a link, a directory or a "
              "device); name another file\n");
    EXPECT_TRUE(machine.journal().empty());
    EXPECT_EQ(machine.run({"capture", "/nonexistent/x"}).err,
              "scsitool: /nonexistent/x: cannot write the recording: No such file or directory; "
              "nothing was left there\n");
}

TEST(CliCapture, DryRunWritesNothing) {
    const TempFolder folder;
    test::CliMachine machine(test::smallHost());
    const CliResult result = machine.run({"--dry-run", "capture", folder.path("x")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.substr(0, 12), "would write ");
    EXPECT_EQ(folder.read("x"), "");
}

// Refuses and remembers whatever changes a host.
class Untouched : public host::ForwardingHost {
  public:
    explicit Untouched(host::Host& inner) : ForwardingHost(inner) {}
    int effects = 0;

    host::AppendResult appendFile(const std::string&, const std::string&,
                                  const host::BeforeWrite&) override {
        ++effects;
        return {};
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        // The guard asks sg_inq, which reads.
        effects +=
            host::isReadCommand(command) || command.rfind("/usr/bin/sg_inq ", 0) == 0 ? 0 : 1;
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }
    int runShell(const std::string&) override {
        ++effects;
        return 0;
    }
    void sleepSeconds(unsigned) override { ++effects; }
};

TEST(CliCapture, HasNoEffectOnTheHost) {
    const TempFolder folder;
    for (const char* const name : kSamples) {
        recording::Journal journal;
        recording::RecordedHost recorded(recording::loadRecordedHost(samplePath(name)), journal);
        Untouched host(recorded);
        EXPECT_NE(runCli({"capture", folder.path("x"), "--redact"}, host).status, 1);
        EXPECT_EQ(host.effects, 0) << name;
    }
}

TEST(CliCapture, SaysInTheFileAndOnTheScreenWhatItLeftOut) {
    const TempFolder folder;
    recording::RecordedHostData data = test::smallHost();
    data.directories["/dev/mapper/"].push_back("\xFF");
    data.devices["/dev/mapper/\xFF"] = {};
    test::CliMachine machine(data);
    const CliResult result = machine.run({"capture", folder.path("x"), "--json"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_FALSE(result.json()["remarks"].empty());
    EXPECT_NE(folder.read("x").find("its name is not UTF-8"), std::string::npos);
    recording::loadRecordedHost(folder.path("x"));
}

}  // namespace
