#include <functional>
#include <initializer_list>

#include "cli/prune/verdict.h"

namespace {

using namespace cli::prune;
using recording::guard::Answer;
using Bytes = std::vector<std::uint8_t>;

Answer silent(const std::string& why) {
    Answer answer;
    answer.kind = Answer::Kind::kGone;
    answer.why = why;
    return answer;
}

// A designator of page 0x83: type and association in byte 1.
Bytes designator(unsigned type, const Bytes& content, unsigned association = 0,
                 std::uint8_t codeSet = 1) {
    Bytes bytes = {codeSet, static_cast<std::uint8_t>(association << 4 | type), 0,
                   static_cast<std::uint8_t>(content.size())};
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
}

Bytes page(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

Bytes serial(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

// A disk that answers as the kernel has it, in everything that there is to compare.
DiskSighting livingDisk() {
    DiskSighting disk;
    disk.shown = "/dev/sdb";
    disk.state = "running";
    disk.answer.kind = Answer::Kind::kConnected;
    disk.kernel = {"ACME", "Disk", "0", page({designator(3, {0x50, 0x01})}), serial("A1")};
    disk.live = disk.kernel;
    return disk;
}

DiskSighting silentDisk(const std::string& state, const Answer& answer) {
    DiskSighting disk;
    disk.state = state;
    disk.answer = answer;
    return disk;
}

void expectVerdict(const DiskSighting& disk, Finding finding, const std::string& reason) {
    const Verdict verdict = judgeDisk(disk);
    EXPECT_STREQ(nameOf(verdict.finding), nameOf(finding)) << reason;
    EXPECT_EQ(verdict.reason, reason);
}

TEST(PruneVerdict, WhatAnswersAsTheKernelHasItLivesInEveryState) {
    for (const char* state : {"running", "offline", "transport-offline", "blocked", ""}) {
        DiskSighting disk = livingDisk();
        disk.state = state;
        disk.failures = {"/sys/x: Input/output error"};
        expectVerdict(disk, Finding::kLives, "");
    }
}

TEST(PruneVerdict, WhatTheKernelHasGivenUpIsOffline) {
    const Answer answer = silent("No such device or address");
    expectVerdict(silentDisk("offline", answer), Finding::kOffline, "its state is offline");
    expectVerdict(silentDisk("transport-offline", answer), Finding::kOffline,
                  "its state is transport-offline");
    expectVerdict(silentDisk("running", answer), Finding::kNoDevice,
                  "no device behind its node: No such device or address");
    expectVerdict(silentDisk("", answer), Finding::kNoDevice,
                  "no device behind its node: No such device or address");
}

TEST(PruneVerdict, OnlyANotSupportedUnitIsGoneByItsAnswer) {
    Answer answer = silent("its INQUIRY data say peripheral qualifier 3");
    answer.qualifier = 3;
    answer.isNotSupported = true;
    expectVerdict(silentDisk("running", answer), Finding::kNotSupported,
                  "no such logical unit: its INQUIRY data say peripheral qualifier 3");
    answer.isNotSupported = false;
    for (const unsigned qualifier : {1U, 2U, 4U, 7U}) {
        answer.qualifier = qualifier;
        answer.why = "qualifier";
        expectVerdict(silentDisk("running", answer), Finding::kUntold, "qualifier");
    }
}

TEST(PruneVerdict, WhatCouldNotBeAskedIsNeverGone) {
    Answer answer;
    answer.why = "Permission denied";
    for (const char* state : {"running", "offline", "transport-offline", "blocked", ""}) {
        expectVerdict(silentDisk(state, answer), Finding::kUntold, "Permission denied");
    }
}

TEST(PruneVerdict, WhatCouldNotBeFoundOutBesidesIsNeverGone) {
    DiskSighting disk = silentDisk("offline", silent("x"));
    disk.failures = {"/sys/x: Input/output error", "more"};
    expectVerdict(disk, Finding::kUntold, "/sys/x: Input/output error");
    DiskSighting another = livingDisk();
    another.live.designators = page({designator(3, {0x50, 0x02})});
    another.failures = {"/sys/y: Input/output error"};
    expectVerdict(another, Finding::kUntold, "/sys/y: Input/output error");
}

TEST(PruneVerdict, WhatARecordingDoesNotSpeakOfIsNoEvidence) {
    Answer answer = silent("No such file or directory");
    answer.isUnspoken = true;
    expectVerdict(silentDisk("running", answer), Finding::kLives, "");
    expectVerdict(silentDisk("offline", answer), Finding::kOffline, "its state is offline");
}

TEST(PruneVerdict, AnotherNameOfTheUnitIsAnotherDisk) {
    DiskSighting disk = livingDisk();
    disk.live.designators = page({designator(3, {0x50, 0x02})});
    expectVerdict(disk, Finding::kAnotherDisk,
                  "answers as 5002 (page 0x83), the kernel took it for 5001");
}

TEST(PruneVerdict, AUnitOfTheSameNameIsTheSameUnderAnotherProductNameAndSerialNumber) {
    DiskSighting disk = livingDisk();
    disk.live.vendor = "OTHER";
    disk.live.product = "Name after an upgrade";
    disk.live.serialNumber = serial("B2");
    expectVerdict(disk, Finding::kLives, "");
}

TEST(PruneVerdict, TheStrongestKindOfNameThatBothHaveDecides) {
    const Bytes naa1 = designator(3, {0x50, 0x01});
    const Bytes naa2 = designator(3, {0x50, 0x02});
    const Bytes vendor1 = designator(0, {0x01});
    const Bytes vendor2 = designator(0, {0x02});
    const Bytes text1 = designator(1, {'A', '1'}, 0, 2);
    const Bytes text2 = designator(1, {'A', '2'}, 0, 2);
    DiskSighting disk = livingDisk();
    disk.kernel.designators = page({vendor1, naa1});
    disk.live.designators = page({vendor1, naa2});
    EXPECT_EQ(judgeDisk(disk).finding, Finding::kAnotherDisk) << "the weaker one is the same";
    disk.live.designators = page({vendor2, naa1});
    EXPECT_EQ(judgeDisk(disk).finding, Finding::kLives) << "the weaker one is another";
    disk.kernel.designators = page({text1});
    disk.live.designators = page({naa2, text2});
    expectVerdict(disk, Finding::kAnotherDisk,
                  "answers as A2 (page 0x83), the kernel took it for A1");
    disk.live.designators = page({naa2, text1, text2});
    EXPECT_EQ(judgeDisk(disk).finding, Finding::kLives) << "one shared name is enough";
}

TEST(PruneVerdict, ThePortsNamesAreNotCompared) {
    DiskSighting disk = livingDisk();
    disk.kernel.designators = page({designator(3, {0x50, 0x01}), designator(3, {0x60}, 1)});
    disk.live.designators = page({designator(3, {0x50, 0x01}), designator(3, {0x61}, 1)});
    expectVerdict(disk, Finding::kLives, "");
    disk.live.designators = page({designator(3, {0x50, 0x02}), designator(3, {0x60}, 1)});
    EXPECT_EQ(judgeDisk(disk).finding, Finding::kAnotherDisk);
}

TEST(PruneVerdict, WithoutANameToCompareTheProductDecides) {
    const auto changed = [](const std::function<void(Identity&)>& change) {
        DiskSighting disk = livingDisk();
        disk.kernel.designators.clear();
        change(disk.live);
        return judgeDisk(disk);
    };
    EXPECT_EQ(changed([](Identity&) {}).finding, Finding::kLives);
    EXPECT_EQ(changed([](Identity& live) { live.vendor = "OTHER"; }).reason,
              "answers as OTHER Disk, the kernel took it for ACME Disk");
    EXPECT_EQ(changed([](Identity& live) { live.product = "LUNZ"; }).reason,
              "answers as ACME LUNZ, the kernel took it for ACME Disk");
    EXPECT_EQ(changed([](Identity& live) { live.deviceType = "12"; }).reason,
              "answers as ACME Disk (device type 12), the kernel took it for ACME Disk");
    EXPECT_EQ(changed([](Identity& live) { live.serialNumber = serial("B2"); }).reason,
              "answers with serial number B2 (page 0x80), the kernel took it for A1");
    EXPECT_EQ(changed([](Identity& live) {
                  live.serialNumber = serial(std::string(" A1\0 ", 5));
              }).finding,
              Finding::kLives)
        << "blanks do not count";
}

TEST(PruneVerdict, WhatTheKernelDoesNotTellIsNotCompared) {
    DiskSighting disk = livingDisk();
    disk.kernel = {};
    expectVerdict(disk, Finding::kLives, "");
}

TEST(PruneVerdict, WhatAnswersWithoutItsNamesCannotBeTold) {
    const std::string untold =
        "it answers, and does not tell (pages 0x83 and 0x80) whether it is still the disk that the "
        "kernel took it for";
    DiskSighting disk = livingDisk();
    disk.live.designators.clear();
    expectVerdict(disk, Finding::kLives, "");  // the serial number is the same
    disk.live.serialNumber.clear();
    expectVerdict(disk, Finding::kUntold, untold);
    disk.kernel.serialNumber.clear();
    expectVerdict(disk, Finding::kUntold, untold);
    disk.kernel.designators.clear();
    expectVerdict(disk, Finding::kLives, "");  // there is nothing that it could tell
}

TEST(PruneVerdict, APageThatEndsInsideADesignatorIsReadAsFarAsItGoes) {
    DiskSighting disk = livingDisk();
    const Bytes whole = page({designator(3, {0x50, 0x02})});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        disk.live.designators.assign(whole.begin(),
                                     whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(judgeDisk(disk).finding, Finding::kLives) << length;
    }
    disk.live.designators = whole;
    EXPECT_EQ(judgeDisk(disk).finding, Finding::kAnotherDisk);
}

TEST(PruneVerdict, AMapIsWithoutAPathWhenAllBelowItIsGone) {
    const PathSighting offline = {"sdb", Finding::kOffline, false};
    const PathSighting removed = {"sdc", std::nullopt, true};
    MapSighting map;
    map.paths = {offline, removed};
    EXPECT_EQ(judgeMap(map).finding, Finding::kNoPath);
    EXPECT_EQ(judgeMap(map).reason, "no path: every disk below it is gone (sdb sdc)");
    map.paths = {};
    EXPECT_EQ(judgeMap(map).reason, "no path: nothing is below it");
    for (const auto& other :
         {std::optional<Finding>(Finding::kLives), std::optional<Finding>(Finding::kUntold),
          std::optional<Finding>(Finding::kAnotherDisk), std::optional<Finding>()}) {
        map.paths = {offline, {"sdd", other, false}};
        EXPECT_EQ(judgeMap(map).finding, Finding::kLives);
    }
    map.paths = {offline};
    map.failures = {"/sys/x: Input/output error"};
    EXPECT_EQ(judgeMap(map).finding, Finding::kUntold);
    EXPECT_EQ(judgeMap(map).reason, "/sys/x: Input/output error");
    map.failures.clear();
    map.paths.clear();
    map.isThere = false;
    EXPECT_EQ(judgeMap(map).finding, Finding::kLives);
}

TEST(PruneVerdict, OnlyTheGoneAndTheStaleMayGo) {
    for (const Finding finding : {Finding::kOffline, Finding::kNotSupported, Finding::kNoDevice,
                                  Finding::kAnotherDisk, Finding::kNoPath}) {
        EXPECT_TRUE(isRemovable(finding)) << nameOf(finding);
    }
    EXPECT_FALSE(isRemovable(Finding::kLives));
    EXPECT_FALSE(isRemovable(Finding::kUntold));
    EXPECT_FALSE(isGone(Finding::kAnotherDisk));
    EXPECT_FALSE(isGone(Finding::kNoPath));
}

}  // namespace
