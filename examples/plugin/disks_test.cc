// The plug-in's tests, without hardware, root or a framework: disks_test FOLDER-OF-SAMPLES.
#include "disks.h"

#include <cstdio>
#include <exception>
#include <vector>

#include "scsitool/host/linux_host.h"
#include "scsitool/hosts/recorded_host.h"

namespace {

using plugin::Disks;
using plugin::Result;

int failures = 0;

void check(bool holds, const char* what) {
    if (!holds) {
        std::printf("failed: %s\n", what);
        ++failures;
    }
}

// Keeps what the library traced.
class Lines : public qzfi_pdk_4_4::CFiTraceSink {
  public:
    void write(int, const std::string& message) override { lines.push_back(message); }
    std::vector<std::string> lines;
};

// The plug-in on a recorded host. It closes what it opens, and asks nothing that is not recorded:
// a gap in the recording must not pass for an answer.
Disks findDisksOn(hosts::RecordedHost& recorded) {
    const host::Scope scope(recorded);
    Disks disks = plugin::findDisks(nullptr, 0);
    check(recorded.openDescriptors() == 0, "every device is closed");
    check(recorded.journal().unanswered().empty(), "every question has an answer");
    return disks;
}

Disks findDisksOnSample(const std::string& path) {
    hosts::RecordedHost recorded(path);
    return findDisksOn(recorded);
}

// A host with one disk, told in place.
Disks findDisksOnHostWith(const std::string& disk) {
    hosts::RecordedHost recorded = hosts::RecordedHost::fromText(
        R"({"format": "scsitool-host/1",
            "directories": {"/dev/": ["mapper", "sda"], "/dev/mapper/": []},
            "files": {"/proc/partitions": "major minor  #blocks  name\n\n   8  0  1024 sda\n"},
            "devices": {"/dev/sda": )" +
            disk + "}}",
        "a host with one disk");
    return findDisksOn(recorded);
}

void everyDiskIsKnown(const std::string& samples) {
    const Disks disks = findDisksOnSample(samples + "/plain-server.json");
    check(disks.result == Result::kComplete, "a plain server is complete");
    check(disks.udids.size() == 2, "a plain server has two disks");
    check(disks.udids.count("/dev/sdb") == 1 &&
              disks.udids.at("/dev/sdb") ==
                  "UDID##SEAGATE##ST1800MM0129##WBN0A1B20000E821##5000C500B1A2C3D7",
          "a disk has its UDID");
}

void oneDiskIsMissing(const std::string& samples) {
    const Disks disks = findDisksOnSample(samples + "/enterprise.json");
    check(disks.result == Result::kPartial, "a host with a dead path is partial");
    check(disks.without.size() == 1 && disks.without.count("/dev/sdw") == 1,
          "the dead path is named");
    check(!disks.without.empty() && !disks.without.begin()->second.empty(), "and has its reason");
}

void noPathIsLeft(const std::string& samples) {
    const Disks disks = findDisksOnSample(samples + "/sick-all-paths-down.json");
    check(disks.result == Result::kNothingAnswered, "without a path nothing answers");
    check(disks.without.count("/dev/mapper/mpatha") == 1, "a map without a path is named");
}

void anEmptyListHasItsReason() {
    hosts::RecordedHost empty = hosts::RecordedHost::fromText(
        R"({"format": "scsitool-host/1", "directories": {"/dev/": ["mapper"], "/dev/mapper/": []},
            "files": {"/proc/partitions": "major minor  #blocks  name\n\n"}})",
        "a host without disks");
    check(findDisksOn(empty).result == Result::kNoDisk, "no disk");
    check(findDisksOnHostWith(R"({"open_errno": 13})").result == Result::kNoRight, "no right");
    check(findDisksOnHostWith(R"({"inquiry": {"std": {"errno": 5}}})").result ==
              Result::kNothingAnswered,
          "nothing answered");
}

void theTraceReachesTheSink(const std::string& samples) {
    hosts::RecordedHost recorded(samples + "/plain-server.json");
    const host::Scope scope(recorded);
    const auto lines = std::make_shared<Lines>();
    constexpr int kEverything = 8;
    plugin::findDisks(lines, kEverything);
    check(!lines->lines.empty(), "the library traces");
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: disks_test FOLDER-OF-SAMPLES\n", stderr);
        return 2;
    }
    // No thread of this program reaches the machine, whatever it has forgotten.
    const host::LiveHostRefusal refusal;
    try {
        everyDiskIsKnown(arguments[1]);
        oneDiskIsMissing(arguments[1]);
        noPathIsLeft(arguments[1]);
        anEmptyListHasItsReason();
        theTraceReachesTheSink(arguments[1]);
    } catch (const std::exception& error) {
        std::printf("failed: %s\n", error.what());
        ++failures;
    }
    return failures == 0 ? 0 : 1;
}
