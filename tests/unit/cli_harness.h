#ifndef SCSITOOL_TESTS_CLI_HARNESS_H
#define SCSITOOL_TESTS_CLI_HARNESS_H

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "cli/run.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"

namespace test {

/// A folder that goes away with the object.
class TempFolder {
  public:
    TempFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "scsitool-XXXXXX";
        m_path = ::mkdtemp(pattern.data());
    }
    ~TempFolder() { std::filesystem::remove_all(m_path); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string path(const std::string& name) const { return m_path / name; }
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }
    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(path(name), std::ios::binary).rdbuf();
        return text.str();
    }

  private:
    std::filesystem::path m_path;
};

/// The effects in a journal's text, without the line that each run of `arguments` begins with; what
/// is wrong with such a line stands in its place.
inline std::string effectsOf(const std::string& text, const std::vector<std::string>& arguments) {
    std::istringstream lines(text);
    std::string effects;
    for (std::string line; std::getline(lines, line);) {
        const auto object = nlohmann::ordered_json::parse(line);
        if (!object.contains("run")) {
            effects += line + "\n";
            continue;
        }
        nlohmann::ordered_json expected;
        expected["run"]["version"] = "1.1.0";
        expected["run"]["command"] = arguments;
        expected["run"]["at"] = object["run"]["at"];
        std::string at = object["run"]["at"];
        std::replace_if(
            at.begin(), at.end(), [](char digit) { return std::isdigit(digit) != 0; }, '0');
        const bool isRight = line == expected.dump() && at == "0000-00-00T00:00:00.000Z";
        effects += isRight ? "" : "not the run's line: " + line + "\n";
    }
    return effects;
}

/// What one run of the command left.
struct CliResult {
    int status = -1;
    std::string out;
    std::string err;

    nlohmann::ordered_json json() const { return nlohmann::ordered_json::parse(out); }
};

/// Runs the command in this process; `live` stands for the machine.
inline CliResult runCli(const std::vector<std::string>& arguments, host::Host& live,
                        const cli::Surroundings& surroundings = {}) {
    std::ostringstream out;
    std::ostringstream err;
    CliResult result;
    result.status = cli::run(arguments, out, err, surroundings, live);
    result.out = out.str();
    result.err = err.str();
    return result;
}

/// The command on a host that answers from a recording and stands for the machine.
class CliMachine {
  public:
    explicit CliMachine(recording::RecordedHostData data) : m_host(std::move(data), m_journal) {}

    CliResult run(const std::vector<std::string>& arguments,
                  const cli::Surroundings& surroundings = {}) {
        return runCli(arguments, m_host, surroundings);
    }
    host::Host& host() { return m_host; }
    std::vector<std::string> journal() const { return m_journal.lines(); }
    std::size_t openDescriptors() const { return m_host.openDescriptors(); }

  private:
    recording::Journal m_journal;
    recording::RecordedHost m_host;
};

/// A host of three disks: one volume on two paths under a multipath map, and a disk that does not
/// open. The volume names itself by an NAA identifier (page 0x83).
inline recording::RecordedHostData smallHost() {
    const std::string std =
        std::string("\x00\x00\x05\x02\x5b\x00\x00\x02", 8) + "ACME    Disk            0430";
    recording::RecordedDevice disk;
    disk.standardInquiry = recording::RecordedPage(recording::Bytes(std.begin(), std.end()));
    disk.pages[0x00] = recording::Bytes{0x00, 0x00, 0x00, 0x03, 0x00, 0x80, 0x83};
    disk.pages[0x80] = recording::Bytes{0x00, 0x80, 0x00, 0x04, 'A', 'B', '1', '2'};
    disk.pages[0x83] = recording::Bytes{0x00, 0x83, 0x00, 0x0c, 0x01, 0x03, 0x00, 0x08,
                                        0x50, 0x00, 0xc5, 0x00, 0x12, 0x34, 0x56, 0x78};
    disk.idLun = 0x02000105;
    disk.sizeBytes = 1073741824;
    recording::RecordedHostData data;
    data.hostName = "db01";
    data.files["/proc/partitions"] =
        "major minor  #blocks  name\n\n"
        "   8        0    1048576 sda\n   8        1    1048000 sda1\n"
        "   8       16    1048576 sdb\n   8       32    2097152 sdc\n";
    data.directories["/dev/mapper/"] = {".", "..", "control", "mpatha"};
    data.devices["/dev/mapper/control"] = {};
    data.devices["/dev/mapper/mpatha"] = disk;
    data.devices["/dev/sda"] = disk;
    disk.idLun = 0x03000105;
    data.devices["/dev/sdb"] = disk;
    data.devices["/dev/sdc"].openError = 6;
    return data;
}

/// The same host without the disk that does not open.
inline recording::RecordedHostData healthyHost() {
    recording::RecordedHostData data = smallHost();
    std::string& disks = data.files["/proc/partitions"].content;
    disks.erase(disks.find("   8       32"));
    data.devices.erase("/dev/sdc");
    return data;
}

}  // namespace test

#endif
