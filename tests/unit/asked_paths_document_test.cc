// Whatever a command asks of a host stands in docs/recorded-host.md, in its row or in a section
// that the row leads to: who writes a host by hand has nothing else to go by.
#include <fnmatch.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <set>
#include <sstream>

#include "cli/common/command.h"
#include "cli_harness.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using Words = std::vector<std::string>;

/// Takes down every path and command that is asked for.
class Listener : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    std::set<std::string> asked;

    int openDevice(const std::string& path, host::OpenMode mode) override {
        asked.insert(path);
        return ForwardingHost::openDevice(path, mode);
    }
    host::ReadResult readFile(const std::string& path) override {
        asked.insert(path);
        return ForwardingHost::readFile(path);
    }
    bool pathExists(const std::string& path) override {
        asked.insert(path);
        return ForwardingHost::pathExists(path);
    }
    bool isDirectory(const std::string& path) override {
        asked.insert(path);
        return ForwardingHost::isDirectory(path);
    }
    host::DirectoryListing listDirectory(const std::string& path) override {
        asked.insert(path);
        return ForwardingHost::listDirectory(path);
    }
    int readLink(const std::string& path, std::string& target) override {
        asked.insert(path);
        return ForwardingHost::readLink(path, target);
    }
    int deviceNumber(const std::string& path, host::DeviceNumber& number) override {
        asked.insert(path);
        return ForwardingHost::deviceNumber(path, number);
    }
    int writeAccess(const std::string& path) override {
        asked.insert(path);
        return ForwardingHost::writeAccess(path);
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        asked.insert(command);
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }
};

/// What lies between the slashes.
Words partsOf(const std::string& path) {
    Words parts;
    std::istringstream text(path);
    for (std::string part; std::getline(text, part, '/');) {
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    return parts;
}

std::string document() {
    std::ifstream file(std::string(SCSITOOL_SAMPLES) + "/../docs/recorded-host.md");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The sections by the names that links to them have; of a row, the sections that it leads to.
std::string sectionOf(const std::string& text, const std::string& anchor) {
    std::istringstream lines(text);
    std::string section;
    bool isIn = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 1, "#") == 0) {
            std::string name;
            for (const char c : line.substr(line.find(' ') + 1)) {
                name += c == ' ' ? "-"
                        : std::isalnum(static_cast<unsigned char>(c)) != 0
                            ? std::string(1, static_cast<char>(std::tolower(c)))
                            : "";
            }
            isIn = name == anchor;
        } else if (isIn) {
            section += line + "\n";
        }
    }
    return section;
}

std::string rowOf(const std::string& text, const std::string& command) {
    std::istringstream lines(sectionOf(text, "what-each-command-asks-for"));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t end = line.find(" | ");
        if (end != std::string::npos &&
            line.substr(0, end).find("`" + command + "`") != std::string::npos) {
            return line.substr(end);
        }
    }
    return {};
}

/// What stands between backquotes.
Words spansIn(const std::string& text) {
    Words spans;
    std::size_t begin = text.find('`');
    for (std::size_t end = 0; begin != std::string::npos; begin = text.find('`', end + 1)) {
        end = text.find('`', begin + 1);
        if (end == std::string::npos) {
            break;
        }
        spans.push_back(text.substr(begin + 1, end - begin - 1));
    }
    return spans;
}

// Numbers are alike.
std::string withoutNumbers(const std::string& asked) {
    std::string text;
    for (const char c : asked) {
        const bool isDigit = std::isdigit(static_cast<unsigned char>(c)) != 0;
        if (!isDigit || text.empty() || text.back() != '0') {
            text += isDigit ? '0' : c;
        }
    }
    return text;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// What of a path lies between the slashes, a name the host gave as a pattern.
Words patternsOf(const std::string& span) {
    std::string pattern = withoutNumbers(span);
    const std::pair<const char*, const char*> kNames[] = {{"H:C:T:L", "0:0:0:0"},
                                                          {"PID", "0"},
                                                          {"NAME", "*"},
                                                          {"PARTITION", "*"},
                                                          {"sdX", "sd*[a-z]"},
                                                          {"powerX", "power*[a-z]"},
                                                          {"sgN", "sg0"},
                                                          {"dm-N", "dm-0"},
                                                          {"hostN", "host0"},
                                                          {"sessionN", "session0"},
                                                          {"rport-N", "rport-0:0-0"},
                                                          {"end_device-N", "end_device-0:0"},
                                                          {"/N", "/0"}};
    for (const auto& [name, is] : kNames) {
        pattern = replaced(pattern, name, is);
    }
    return partsOf(pattern);
}

bool match(const Words& patterns, Words::const_iterator parts) {
    return std::equal(patterns.begin(), patterns.end(), parts,
                      [](const std::string& pattern, const std::string& part) {
                          return fnmatch(pattern.c_str(), part.c_str(), 0) == 0;
                      });
}

bool startsWith(const Words& path, const Words& patterns) {
    return path.size() >= patterns.size() && match(patterns, path.begin());
}

bool endsWith(const Words& path, const Words& patterns) {
    return path.size() >= patterns.size() &&
           match(patterns, path.end() - static_cast<std::ptrdiff_t>(patterns.size()));
}

/// What a text says is asked for: paths, and names below its folders. Whoever asks for a path has
/// listed the folders on the way, and looks at each thing in a folder that is listed.
class Told {
  public:
    explicit Told(const std::string& text) {
        for (const std::string& span : spansIn(text)) {
            const bool isFolder = span.front() == '/' && span.back() == '/';
            auto& list = isFolder ? m_folders : span.front() == '/' ? m_paths : m_names;
            list.push_back(patternsOf(span));
        }
    }
    bool has(const std::string& asked) const {
        const Words path = partsOf(asked);
        return std::any_of(m_paths.begin(), m_paths.end(),
                           [&](const Words& told) { return leadsTo(path, told); }) ||
               std::any_of(m_folders.begin(), m_folders.end(), [&](const Words& folder) {
                   return leadsTo(path, folder) ||
                          (startsWith(path, folder) &&
                           (path.size() == folder.size() + 1 || isNamedBelow(path, folder)));
               });
    }

  private:
    static bool leadsTo(const Words& path, const Words& told) {
        return path.size() <= told.size() &&
               startsWith(path, Words(told.begin(),
                                      told.begin() + static_cast<std::ptrdiff_t>(path.size())));
    }
    bool isNamedBelow(Words path, const Words& folder) const {
        const auto names = [&](const Words& name) {
            return path.size() >= folder.size() + name.size() && endsWith(path, name);
        };
        if (std::any_of(m_names.begin(), m_names.end(), names)) {
            return true;
        }
        path.pop_back();
        return std::any_of(m_names.begin(), m_names.end(), names);
    }

    std::vector<Words> m_paths;
    std::vector<Words> m_folders;
    std::vector<Words> m_names;
};

/// The row of a command with the sections that it leads to, and those that these lead to.
Words textsFor(const std::string& text, const std::string& command) {
    Words texts = {rowOf(text, command)};
    std::set<std::string> known;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string from = texts[i];
        for (std::size_t at = from.find("](#"); at != std::string::npos;
             at = from.find("](#", at + 1)) {
            const std::string section = from.substr(at + 3, from.find(')', at) - at - 3);
            if (known.insert(section).second) {
                texts.push_back(sectionOf(text, section));
            }
        }
    }
    return texts;
}

std::set<std::string> askedBy(const std::string& sample, Words words) {
    recording::Journal journal;
    recording::RecordedHost recorded(
        recording::loadRecordedHost(std::string(SCSITOOL_SAMPLES) + "/" + sample + ".json"),
        journal);
    Listener listener(recorded);
    words.insert(words.begin(), {"--jobs", "1", "--deadline", "0", "--dry-run"});
    cli::Surroundings surroundings;
    surroundings.isRoot = true;
    test::runCli(words, listener, surroundings);
    std::set<std::string> asked;
    for (const std::string& one : listener.asked) {
        asked.insert(withoutNumbers(one));
    }
    return asked;
}

const std::pair<const char*, Words> kCommands[] = {
    {"devices", {"devices"}},
    {"volumes", {"volumes", "--paths"}},
    {"find", {"find", "/dev/sda"}},
    {"report", {"report"}},
    {"diff", {"diff", "live", "live"}},
    {"matrix", {"matrix", "live"}},
    {"udid", {"udid", "/dev/sda"}},
    {"udev-export", {"udev-export", "/dev/sda"}},
    {"validate", {"validate", "/dev/sda"}},
    {"inquiry", {"inquiry", "/dev/sda"}},
    {"explain", {"explain", "/dev/sda"}},
    {"disks", {"disks"}},
    {"bus", {"bus"}},
    {"wwpn", {"wwpn"}},
    {"iscsi iqn", {"iscsi", "iqn"}},
    {"iscsi discover", {"iscsi", "discover", "10.0.0.1"}},
    {"iscsi login", {"iscsi", "login", "iqn.1992-08.com.netapp:sn.135902718"}},
    {"iscsi rescan", {"iscsi", "rescan"}},
    {"iscsi logout", {"iscsi", "logout", "iqn.1992-08.com.netapp:sn.135902718"}},
    {"rescan", {"rescan"}},
    {"rescan", {"rescan", "--changes"}},
    {"remove-dead", {"remove-dead", "--lun0"}},
    {"remove-address", {"remove-address", "0:0:0:0"}},
    {"remove-stale", {"remove-stale"}},
    {"prune", {"prune"}},
    {"remove", {"remove", "/dev/mapper/mpatha"}},
    {"flush-multipath", {"flush-multipath"}},
    {"doctor", {"doctor"}},
    {"capture", {"capture", "/dev/null/never-written"}}};

// A directory and a path that only exists are asked for with or without the last "/".
TEST(AskedPathsDocument, SaysWhatEachCommandAsksFor) {
    const std::string text = document();
    for (const auto& [command, words] : kCommands) {
        const Words texts = textsFor(text, command);
        EXPECT_FALSE(texts.front().empty()) << command << " has no row";
        std::vector<Told> told;
        for (const std::string& one : texts) {
            told.emplace_back(one);
        }
        std::set<std::string> asked;
        for (const char* const sample : {"in-use", "enterprise", "kernel-2.4", "sick-dead-path",
                                         "sick-withdrawn-lun", "sick-far-lun"}) {
            asked.merge(askedBy(sample, words));
        }
        std::set<std::string> untold;
        for (const std::string& one : asked) {
            if (std::none_of(told.begin(), told.end(),
                             [&](const Told& by) { return by.has(one); })) {
                untold.insert(one);
            }
        }
        EXPECT_EQ(untold, std::set<std::string>()) << command;
    }
}

TEST(AskedPathsDocument, HasARowForEveryCommand) {
    CLI::App app;
    for (const auto& command : cli::makeCommands()) {
        const std::string name = command->declare(app)->get_name();
        const bool isTried =
            std::any_of(std::begin(kCommands), std::end(kCommands),
                        [&](const auto& tried) { return tried.second.front() == name; });
        EXPECT_TRUE(isTried || name == "help" || name == "__complete") << name;
    }
}

// What this test is worth: a path that nobody wrote down is found out.
TEST(AskedPathsDocument, KnowsWhatIsNotSaid) {
    EXPECT_TRUE(Told("read `/proc/partitions`").has("/proc/partitions"));
    EXPECT_FALSE(Told("read `/proc/partitions`").has("/proc/partition"));
    EXPECT_TRUE(Told("`/sys/class/block/` with `dev`").has("/sys/class/block/sda/dev"));
    EXPECT_FALSE(Told("`/sys/class/block/` with `dev`").has("/sys/class/block/sda/size"));
    EXPECT_TRUE(Told("`/dev/sdX`").has("/dev/sdaa"));
    EXPECT_FALSE(Told("`/dev/sdX`").has("/dev/sg0"));
    EXPECT_FALSE(rowOf(document(), "prune").empty());
    EXPECT_TRUE(rowOf(document(), "no-such-command").empty());
}

}  // namespace
