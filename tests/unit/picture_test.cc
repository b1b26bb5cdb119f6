#include "cli/picture/picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "page_builder.h"

namespace {

using cli::SeenAnswer;
using cli::picture::Agreement;
using cli::picture::agreement;
using cli::picture::Condition;
using cli::picture::Contradiction;
using cli::picture::Device;
using cli::picture::doubtsOf;
using cli::picture::Kind;
using cli::picture::Picture;
using cli::picture::pictureOf;
using cli::picture::shownName;
using cli::picture::State;
using cli::picture::stateOf;
using cli::picture::Strength;
using cli::picture::UnitName;
using cli::picture::unitNames;
using cli::picture::UnitNames;
using recording::guard::Answer;
using test::Bytes;
using test::Page;
using testing::ElementsAre;
using testing::IsEmpty;

Bytes naa6(std::uint8_t last) {
    return {0x60, 0, 0, 0x0a, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last};
}

UnitNames namesIn(const Page& page) {
    return unitNames(Bytes(page.data().begin() + 4, page.data().end()));
}

std::vector<std::string> texts(const UnitNames& names) {
    std::vector<std::string> list;
    for (const UnitName& name : names) {
        list.push_back(name.text);
    }
    return list;
}

TEST(UnitNames, OnlyThoseOfTheLogicalUnitCount) {
    EXPECT_THAT(texts(namesIn(Page::names()
                                  .naa({0x50, 1, 2, 3, 4, 5, 6, 7})
                                  .designator(1, 1, 3, {0x50, 9, 9, 9, 9, 9, 9, 9})
                                  .designator(1, 1, 4, {0, 0, 0, 1})
                                  .designator(1, 2, 3, {0x50, 8, 8, 8, 8, 8, 8, 8}))),
                ElementsAre("naa.5001020304050607"));
}

TEST(UnitNames, EveryKindHasItsText) {
    const Bytes t10 = {'A', 'C', 'M', 'E', ' ', ' ', ' ', ' ', 'L', '1', ' ', 0, 'x'};
    EXPECT_THAT(texts(namesIn(Page::names()
                                  .designator(2, 0, 1, t10)
                                  .designator(1, 0, 2, {0, 0x25, 0x38, 1, 2, 3, 4, 5})
                                  .naa(naa6(1))
                                  .naa({0x20, 0, 0, 0, 0, 0, 0, 1})
                                  .naa({0x30, 0, 0, 0, 0, 0, 0, 1})
                                  .designator(3, 0, 8, {'i', 'q', 'n', '.', 'x', 0, 0, 0}))),
                ElementsAre("t10.ACME    L1", "eui.0025380102030405",
                            "naa.6000000a000000000000000000000001", "naa.2000000000000001",
                            "naa.3000000000000001", "iqn.x"));
}

TEST(UnitNames, WhatNamesNothingIsLeftOut) {
    EXPECT_THAT(namesIn(Page::names()
                            .designator(1, 0, 2, Bytes(8, 0))
                            .designator(2, 0, 1, Bytes(8, ' '))
                            .designator(1, 0, 0, {1, 2, 3})
                            .designator(1, 0, 7, Bytes(16, 1))
                            .naa({0x60, 1, 2, 3, 4, 5, 6, 7})
                            .naa({0x40, 1, 2, 3, 4, 5, 6, 7})
                            .designator(1, 0, 3, {})),
                IsEmpty());
}

TEST(UnitNames, ADesignatorThatIsCutOffIsNone) {
    Bytes page = Page::names().naa(naa6(1)).data();
    page.erase(page.begin(), page.begin() + 4);
    EXPECT_EQ(unitNames(page).size(), 1U);
    page.pop_back();
    EXPECT_THAT(unitNames(page), IsEmpty());
    EXPECT_THAT(unitNames({1, 3, 0}), IsEmpty());
    EXPECT_THAT(unitNames({}), IsEmpty());
}

TEST(UnitNames, TheStrongestIsShown) {
    EXPECT_EQ(
        shownName({{Strength::kScsiName, "s"}, {Strength::kNaa, "5"}, {Strength::kNaa6, "6"}}),
        "6");
    EXPECT_EQ(shownName({}), "");
}

TEST(UnitNames, TheStrongestKindThatBothHaveDecides) {
    const UnitName six = {Strength::kNaa6, "naa.6"};
    const UnitName other = {Strength::kNaa6, "naa.6b"};
    const UnitName five = {Strength::kNaa, "naa.5"};
    const UnitName t10 = {Strength::kT10Vendor, "t10.x"};
    EXPECT_EQ(agreement({six}, {six}), Agreement::kSame);
    EXPECT_EQ(agreement({six, five}, {other, five}), Agreement::kDifferent);
    EXPECT_EQ(agreement({six, five}, {five}), Agreement::kSame);
    EXPECT_EQ(agreement({six, other}, {other}), Agreement::kSame);
    EXPECT_EQ(agreement({t10, five}, {five, {Strength::kT10Vendor, "t10.y"}}), Agreement::kSame);
    EXPECT_EQ(agreement({six}, {five}), Agreement::kUntold);
    EXPECT_EQ(agreement({}, {five}), Agreement::kUntold);
}

SeenAnswer opened(int openResult) {
    SeenAnswer seen;
    seen.openResult = openResult;
    return seen;
}

SeenAnswer asked(int result, Answer::Kind kind, const std::string& why = "") {
    SeenAnswer seen = opened(0);
    seen.inquiryResult = result;
    seen.answer.kind = kind;
    seen.answer.why = why;
    return seen;
}

const SeenAnswer kWell = asked(0, Answer::Kind::kConnected);

TEST(DeviceState, IsTheKernelsWordFirst) {
    EXPECT_EQ(stateOf(kWell, {"offline", ""}, 10).text, "offline");
    EXPECT_EQ(stateOf(kWell, {"transport-offline", ""}, 10).text, "offline");
    EXPECT_EQ(stateOf(kWell, {"deleted", ""}, 10).text, "gone");
    EXPECT_EQ(stateOf(kWell, {"cancel", ""}, 10).text, "gone");
    EXPECT_EQ(stateOf(kWell, {"running", ""}, 10).text, "ok");
    EXPECT_EQ(stateOf(kWell, {"", ""}, 10).text, "ok");
    EXPECT_EQ(stateOf(kWell, {"blocked", ""}, 10).text, "ok");
    EXPECT_EQ(stateOf(opened(-ETIMEDOUT), {"blocked", ""}, 10).text, "blocked");
    EXPECT_EQ(stateOf(opened(-EROFS), {"blocked", ""}, 10).text,
              "cannot be opened: read-only file system");
}

TEST(DeviceState, OfADeviceThatDoesNotOpen) {
    EXPECT_EQ(stateOf(opened(-EROFS), {}, 10).text, "cannot be opened: read-only file system");
    EXPECT_EQ(stateOf(opened(-EACCES), {}, 10).text, "cannot be opened: permission denied");
    EXPECT_EQ(stateOf(opened(-ENOENT), {}, 10).text, "cannot be opened: no such file or directory");
    EXPECT_EQ(stateOf(opened(-ENXIO), {}, 10).text, "gone");
    EXPECT_EQ(stateOf(opened(-ENODEV), {}, 10).text, "gone");
    EXPECT_EQ(stateOf(opened(-ETIMEDOUT), {}, 10).text, "no answer in 10 s");
    EXPECT_EQ(stateOf(opened(-ETIMEDOUT), {}, 3).text, "no answer in 3 s");
    EXPECT_EQ(stateOf(opened(-ETIMEDOUT), {}, 0).text, "no answer in time");
    EXPECT_EQ(stateOf(opened(-EROFS), {}, 10).condition, Condition::kNotOpened);
    EXPECT_EQ(stateOf(opened(-ETIMEDOUT), {}, 10).condition, Condition::kNoAnswer);
    EXPECT_EQ(stateOf({}, {}, 10).condition, Condition::kNotAsked);
}

TEST(DeviceState, OfADeviceThatDoesNotAnswer) {
    using K = Answer::Kind;
    EXPECT_EQ(stateOf(asked(-ETIMEDOUT, K::kUnclear, "Connection timed out"), {}, 10).text,
              "no answer in 10 s");
    EXPECT_EQ(stateOf(asked(-EIO, K::kUnclear, "Input/output error"), {}, 10).text,
              "no answer: input/output error");
    EXPECT_EQ(stateOf(asked(8, K::kUnclear, "INQUIRY ended with SCSI status 8"), {}, 10).text,
              "no answer: INQUIRY ended with SCSI status 8");
    EXPECT_EQ(stateOf(asked(0, K::kUnclear, "the INQUIRY data are zeros"), {}, 10).text,
              "no answer: the INQUIRY data are zeros");
    EXPECT_EQ(stateOf(asked(-ENXIO, K::kGone, "No such device or address"), {}, 10).text, "gone");
    EXPECT_EQ(stateOf(asked(2, K::kGone, "INQUIRY ended with ..."), {}, 10).text, "gone");
}

TEST(DeviceState, WhatFailsBehindTheInquiryIsAnAnswerInPart) {
    SeenAnswer seen = kWell;
    seen.laterError = -EIO;
    EXPECT_EQ(stateOf(seen, {}, 10).text, "answered in part: input/output error");
    EXPECT_EQ(stateOf(seen, {}, 10).condition, Condition::kInPart);
    seen.laterError = -ETIMEDOUT;
    EXPECT_EQ(stateOf(seen, {}, 10).text, "no answer in 10 s");
    seen = kWell;
    seen.missingPage = "page 0x80: SCSI status 8";
    EXPECT_EQ(stateOf(seen, {}, 10).text, "answered in part: page 0x80: SCSI status 8");
    EXPECT_EQ(stateOf(seen, {}, 10).condition, Condition::kInPart);
    EXPECT_EQ(stateOf(seen, {"running", "standby"}, 10).condition, Condition::kInPart);
    EXPECT_EQ(stateOf(seen, {"offline", ""}, 10).text, "offline");
    seen = asked(-EIO, Answer::Kind::kUnclear);
    seen.missingPage = "page 0x80: SCSI status 8";
    EXPECT_EQ(stateOf(seen, {}, 10).text, "no answer: input/output error");
    seen = asked(-EIO, Answer::Kind::kUnclear);
    seen.laterError = -ENXIO;
    EXPECT_EQ(stateOf(seen, {}, 10).text, "no answer: input/output error");
}

TEST(DeviceState, APortThatTakesNoDataIsStandby) {
    EXPECT_EQ(stateOf(kWell, {"running", "standby"}, 10).text, "standby");
    EXPECT_EQ(stateOf(kWell, {"running", "unavailable"}, 10).text, "standby");
    EXPECT_EQ(stateOf(kWell, {"running", "active/non-optimized"}, 10).text, "ok");
    EXPECT_EQ(stateOf(opened(-EIO), {"running", "standby"}, 10).text,
              "cannot be opened: input/output error");
}

Device disk(const std::string& name, const std::string& udid, const UnitNames& names = {},
            std::uint64_t sizeKb = 1024) {
    Device device;
    device.name = "/dev/" + name;
    device.kernelName = name;
    device.udid = udid;
    device.names = names;
    device.sizeKb = sizeKb;
    device.isListed = true;
    return device;
}

Device dead(const std::string& name, const std::string& lastKnown = "") {
    Device device = disk(name, "UDID######/DEV/" + name + "@GUEST");
    device.isPathUdid = true;
    device.lastKnownUdid = lastKnown;
    device.state = {Condition::kNoAnswer, "no answer in 10 s"};
    return device;
}

Device map(const std::string& name, const std::vector<std::string>& paths, Device device) {
    device.name = "/dev/mapper/" + name;
    device.kernelName = "dm-" + name;
    device.kind = Kind::kMap;
    device.paths = paths;
    return device;
}

UnitNames six(const std::string& digits) {
    return {{Strength::kNaa6, "naa.6" + digits}};
}

// "UDID: names" a volume
std::vector<std::string> volumes(const Picture& picture) {
    std::vector<std::string> list;
    for (const cli::picture::Volume& volume : picture.volumes) {
        std::string text =
            volume.udid + (volume.isLastKnown ? "?" : "") + (volume.isPathUdid ? "@" : "") + ":";
        for (const std::size_t place : volume.devices) {
            text += " " + picture.devices[place].name;
        }
        list.push_back(text);
    }
    return list;
}

std::vector<std::string> found(const Picture& picture) {
    std::vector<std::string> list;
    for (const Contradiction& one : picture.contradictions) {
        list.push_back(std::string(nameOf(one.kind)) + ": " + one.text);
    }
    return list;
}

TEST(PictureVolumes, OneUdidIsOneVolume) {
    const Picture picture = pictureOf({disk("sdb", "B"), disk("sda", "A"), disk("sdc", "A")});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/sda /dev/sdc", "B: /dev/sdb"));
    EXPECT_THAT(found(picture), IsEmpty());
}

TEST(PictureVolumes, DevicesWithoutAnyIdentityStandAlone) {
    EXPECT_THAT(volumes(pictureOf({disk("sda", ""), disk("sdb", ""), dead("sdc")})),
                ElementsAre(": /dev/sda", ": /dev/sdb", "UDID######/DEV/sdc@GUEST@: /dev/sdc"));
}

TEST(PictureVolumes, AMapWhoseAskedPathIsDeadStaysWithItsVolume) {
    const Picture picture =
        pictureOf({map("b", {"sda", "sdb"}, dead("b")), dead("sda"), disk("sdb", "A", six("1"))});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/mapper/b /dev/sda /dev/sdb"));
    EXPECT_THAT(found(picture), IsEmpty());
}

TEST(PictureVolumes, AMapWithAllPathsDownIsWhatItsPathsWere) {
    EXPECT_THAT(volumes(pictureOf(
                    {map("b", {"sda", "sdb"}, dead("b")), dead("sda", "A"), dead("sdb", "A")})),
                ElementsAre("A?: /dev/mapper/b /dev/sda /dev/sdb"));
    EXPECT_THAT(volumes(pictureOf({map("b", {"sda", "sdb"}, dead("b")), dead("sda"), dead("sdb")})),
                ElementsAre("UDID######/DEV/b@GUEST@: /dev/mapper/b /dev/sda /dev/sdb"));
}

TEST(PictureVolumes, ALivingPathNamesTheVolumeBeforeADeadOne) {
    EXPECT_THAT(volumes(pictureOf(
                    {map("b", {"sda", "sdb"}, dead("b")), dead("sda", "OLD"), disk("sdb", "A")})),
                ElementsAre("A: /dev/mapper/b /dev/sdb", "OLD?: /dev/sda"));
}

TEST(PictureVolumes, OneUdidAndTwoNamesAreTwoVolumes) {
    const Picture picture = pictureOf(
        {disk("sda", "A", six("1")), disk("sdb", "A", six("2")), disk("sdc", "A", six("1"))});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/sda /dev/sdc", "A: /dev/sdb"));
    EXPECT_THAT(found(picture),
                ElementsAre("two-volumes-one-udid: 2 volumes have the UDID A: /dev/sda /dev/sdc: "
                            "naa.61, /dev/sdb: naa.62"));
    EXPECT_THAT(picture.devices[1].marks, ElementsAre("one UDID, 2 volumes: naa.62"));
    EXPECT_TRUE(picture.devices[0].isAlarming);
}

TEST(PictureVolumes, WithoutNamesTheSizeTells) {
    const Picture picture = pictureOf({disk("sda", "A", {}, 1024), disk("sdb", "A", {}, 2048)});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/sda", "A: /dev/sdb"));
    EXPECT_THAT(found(picture),
                ElementsAre("two-volumes-one-udid: 2 volumes have the UDID A: /dev/sda: 1.0 MiB, "
                            "/dev/sdb: 2.0 MiB"));
    EXPECT_THAT(volumes(pictureOf({disk("sda", "A", {}, 1024), disk("sdb", "A", {}, 0)})),
                ElementsAre("A: /dev/sda /dev/sdb"));
}

TEST(PictureVolumes, SilenceIsNoContradiction) {
    EXPECT_THAT(volumes(pictureOf({disk("sda", "A", six("1")), disk("sdb", "A")})),
                ElementsAre("A: /dev/sda /dev/sdb"));
    EXPECT_THAT(volumes(pictureOf(
                    {disk("sda", "A", six("1")), disk("sdb", "A", {{Strength::kNaa, "naa.5"}})})),
                ElementsAre("A: /dev/sda /dev/sdb"));
}

TEST(PictureVolumes, ASilentPathOfTwoVolumesOfOneUdidGoesWithItsMap) {
    const Picture picture =
        pictureOf({disk("sda", "A", six("1")), disk("sdb", "A", six("2")), dead("sdc", "A"),
                   map("b", {"sdb", "sdc"}, disk("b", "A", six("2")))});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/mapper/b /dev/sdb /dev/sdc", "A: /dev/sda"));
}

TEST(PictureVolumes, OneNameAndTwoSizesIsAVolumeWhosePathsDoNotAgreeYet) {
    const Picture picture =
        pictureOf({disk("sda", "A", six("1"), 1024), disk("sdb", "A", six("1"), 2048)});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/sda /dev/sdb"));
    EXPECT_THAT(found(picture),
                ElementsAre("sizes-differ: the paths of naa.61 differ in size: /dev/sda: 1024 KiB, "
                            "/dev/sdb: 2048 KiB"));
    EXPECT_THAT(picture.devices[1].marks, ElementsAre("2048 KiB, other paths differ"));
    EXPECT_FALSE(picture.devices[1].isAlarming);
}

TEST(PictureVolumes, ASizeThatIsNotToldIsNone) {
    Device silent = dead("sdb", "A");
    silent.sizeKb = 4096;
    EXPECT_THAT(
        found(pictureOf({disk("sda", "A", six("1"), 1024), silent, disk("sdc", "A", six("1"), 0)})),
        IsEmpty());
}

TEST(PictureVolumes, ControlNodesAreNone) {
    Device control = disk("mapper/control", "UDID######/DEV/MAPPER/CONTROL@GUEST");
    control.kind = Kind::kOther;
    control.isPathUdid = true;
    control.sizeKb.reset();
    control.state = {Condition::kNoScsi, "no SCSI disk"};
    EXPECT_THAT(volumes(pictureOf({control})), IsEmpty());
    control.sizeKb = 4;
    EXPECT_EQ(volumes(pictureOf({control})).size(), 1U);
}

TEST(PictureContradictions, AMapOverTwoVolumesIsTheWorst) {
    const Picture picture = pictureOf({map("b", {"sda", "sdb"}, disk("b", "A", six("1"))),
                                       disk("sda", "A", six("1")), disk("sdb", "B", six("2"))});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/mapper/b /dev/sda", "B: /dev/sdb"));
    EXPECT_THAT(found(picture),
                ElementsAre("map-over-volumes: the paths of /dev/mapper/b are different volumes: "
                            "/dev/sda: A, /dev/sdb: B"));
    EXPECT_THAT(picture.devices[0].marks, ElementsAre("its paths are different volumes"));
    EXPECT_THAT(picture.devices[2].marks, ElementsAre("path of /dev/mapper/b to another volume"));
}

TEST(PictureContradictions, PathsOfOneUdidAreToldApartByTheirNames) {
    const Picture picture = pictureOf({map("b", {"sda", "sdb"}, disk("b", "A", six("1"))),
                                       disk("sda", "A", six("1")), disk("sdb", "A", six("2"))});
    EXPECT_THAT(found(picture),
                ElementsAre("map-over-volumes: the paths of /dev/mapper/b are different volumes: "
                            "/dev/sda: naa.61, /dev/sdb: naa.62",
                            "two-volumes-one-udid: 2 volumes have the UDID A: /dev/mapper/b "
                            "/dev/sda: naa.61, /dev/sdb: naa.62"));
}

TEST(PictureContradictions, ADeadPathIsWhatItLastWas) {
    const Picture picture =
        pictureOf({map("b", {"sda", "sdb"}, disk("b", "A")), disk("sda", "A"), dead("sdb", "B")});
    EXPECT_THAT(found(picture),
                ElementsAre("map-over-volumes: the paths of /dev/mapper/b are different volumes: "
                            "/dev/sda: A, /dev/sdb: B (last known)"));
}

TEST(PictureContradictions, OneNameUnderTwoUdidsIsTold) {
    const Picture picture = pictureOf({map("b", {"sda", "sdb"}, disk("b", "A", six("1"))),
                                       disk("sda", "A", six("1")), disk("sdb", "B", six("1"))});
    EXPECT_THAT(volumes(picture), ElementsAre("A: /dev/mapper/b /dev/sda", "B: /dev/sdb"));
    EXPECT_THAT(found(picture),
                ElementsAre("one-volume-two-udids: the volume naa.61 has 2 UDIDs: /dev/mapper/b "
                            "/dev/sda: A, /dev/sdb: B"));
    EXPECT_THAT(picture.devices[2].marks, ElementsAre("one volume, 2 UDIDs: naa.61"));
}

TEST(PictureContradictions, ANameThatProductsHandOutTwiceIsNoneToGoBy) {
    const UnitNames t10 = {{Strength::kT10Vendor, "t10.ACME"}};
    EXPECT_THAT(found(pictureOf({disk("sda", "A", t10), disk("sdb", "B", t10)})), IsEmpty());
    // The array's own name beside that of the unit.
    UnitNames one = six("1");
    UnitNames other = six("2");
    one.push_back({Strength::kNaa6, "naa.6f"});
    other.push_back({Strength::kNaa6, "naa.6f"});
    EXPECT_THAT(found(pictureOf({disk("sda", "A", one), disk("sdb", "B", other)})), IsEmpty());
}

TEST(PictureContradictions, ADiskThatIsAnotherThanTheKernelFoundIsTold) {
    Device remapped = disk("sda", "A", six("1"));
    remapped.keptNames = six("2");
    const Picture picture = pictureOf({remapped});
    EXPECT_THAT(found(picture),
                ElementsAre("another-volume: /dev/sda is another volume than the kernel found "
                            "there: it is naa.61 and was naa.62"));
    EXPECT_THAT(picture.devices[0].marks,
                ElementsAre("another volume than the kernel found: it was naa.62"));
    remapped.keptNames = six("1");
    EXPECT_THAT(found(pictureOf({remapped})), IsEmpty());
    remapped.keptNames = {};
    EXPECT_THAT(found(pictureOf({remapped})), IsEmpty());
}

TEST(PictureDoubts, CountWhatDidNotAnswer) {
    Device rejected = disk("sde", "");
    rejected.state = {Condition::kNotOpened, "cannot be opened: permission denied"};
    Device partly = disk("sdg", "");
    partly.state = {Condition::kInPart, "answered in part: input/output error"};
    Device unasked = disk("sdf", "");
    unasked.state = {Condition::kNotAsked, "not asked"};
    const Picture picture = pictureOf({disk("sda", "A"), dead("sdb"), dead("sdc"), rejected,
                                       unasked, partly, map("b", {}, dead("b"))});
    EXPECT_THAT(doubtsOf(picture, "; run it as root"),
                ElementsAre("2 of 6 disks did not answer: /dev/sdb /dev/sdc",
                            "1 of 6 disks answered in part: /dev/sdg",
                            "1 of 6 disks cannot be opened: permission denied: /dev/sde; run it "
                            "as root",
                            "1 of 1 multipath device did not answer: /dev/mapper/b",
                            "1 of 6 disks were not asked: /dev/sdf"));
    EXPECT_THAT(doubtsOf(pictureOf({disk("sda", "A")}), ""), IsEmpty());
}

TEST(PictureDoubts, ALongListIsCut) {
    for (const int count : {16, 17, 19}) {
        std::vector<Device> devices;
        for (int i = 0; i < count; ++i) {
            devices.push_back(dead("sd" + std::string(1, static_cast<char>('a' + i))));
        }
        const std::string line = doubtsOf(pictureOf(devices), "").front();
        EXPECT_EQ(line.find("/dev/sdq") != std::string::npos, false) << count;
        EXPECT_THAT(line, testing::EndsWith(count == 16   ? "/dev/sdp"
                                            : count == 17 ? "/dev/sdp and 1 more"
                                                          : "/dev/sdp and 3 more"));
    }
}

}  // namespace
