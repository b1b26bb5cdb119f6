#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "cli/udev/properties.h"
#include "cli/udev/safe_text.h"

namespace {

using cli::picture::Strength;
using cli::picture::UnitNames;
using cli::udev::Identified;
using cli::udev::linkName;
using cli::udev::namesIn;
using cli::udev::namesText;
using cli::udev::propertiesOf;

const UnitNames kAllKinds = {{Strength::kScsiName, "naa.6000c5 x"},
                             {Strength::kT10Vendor, "t10.ACME    A/1"},
                             {Strength::kNaa6, "naa.6000c500000000000000000000000001"},
                             {Strength::kEui64, "eui.0011223344556677"},
                             {Strength::kNaa, "naa.5000c50012345678"}};

std::map<std::string, std::string> keysOf(const Identified& volume) {
    const auto properties = propertiesOf(volume);
    return {properties.begin(), properties.end()};
}

TEST(UdevProperties, ALinkHasRoomForAPartition) {
    EXPECT_EQ(linkName(std::string(240, 'A')), std::string(240, 'A'));
    EXPECT_EQ(linkName(std::string(241, 'A')), "");
    EXPECT_EQ(linkName(std::string(60, ' ')).size(), 240U);
    EXPECT_EQ(linkName(std::string(60, ' ') + "A"), "");
}

TEST(UdevProperties, NamesStandTheStrongestFirstAndComeBack) {
    const std::string text = namesText(kAllKinds);
    EXPECT_EQ(text,
              "naa6:naa.6000c500000000000000000000000001 naa:naa.5000c50012345678 "
              "eui64:eui.0011223344556677 t10:t10.ACME\\x20\\x20\\x20\\x20A\\x2f1 "
              "scsi:naa.6000c5\\x20x");
    EXPECT_THAT(namesIn(text), testing::UnorderedElementsAreArray(kAllKinds));
}

TEST(UdevProperties, NamesThatNobodyWroteAreNone) {
    EXPECT_TRUE(namesIn("").empty());
    EXPECT_TRUE(namesIn("naa.6000 other:x naa6").empty());
    EXPECT_EQ(namesIn("  naa6:a  other:x ").size(), 1U);
}

// The strongest are what volumes are told apart by.
TEST(UdevProperties, NamesBeyondAValuesRoomAreLeftOut) {
    UnitNames names(200, {Strength::kScsiName, "iqn.2026-01.example:volume"});
    names.push_back({Strength::kNaa, "naa.5000c50012345678"});
    const std::string text = namesText(names);
    EXPECT_LE(text.size(), 1024U);
    EXPECT_GT(text.size(), 900U);
    EXPECT_EQ(namesIn(text).front().text, "naa.5000c50012345678");
}

TEST(UdevProperties, AVolumeHasItsUdidInBothForms) {
    Identified volume = {"UDID##ACME##A B##\"1\"", {}, {}};
    const auto keys = keysOf(volume);
    EXPECT_EQ(keys.at("SCSITOOL_UDID"), "UDID##ACME##A B##\\x221\\x22");
    EXPECT_EQ(keys.at("SCSITOOL_UDID_ENC"), "UDID##ACME##A\\x20B##\\x221\\x22");
    EXPECT_EQ(keys.at("SCSITOOL_LINK"), keys.at("SCSITOOL_UDID_ENC"));
    EXPECT_EQ(keys.size(), 3U);
}

TEST(UdevProperties, ASharedUdidGetsNoLink) {
    Identified volume = {"UDID##A", {}, {}};
    volume.isShared = true;
    const auto keys = keysOf(volume);
    EXPECT_EQ(keys.count("SCSITOOL_LINK"), 0U);
    EXPECT_EQ(keys.at("SCSITOOL_SHARED"), "1");
    EXPECT_EQ(keys.at("SCSITOOL_UDID_ENC"), "UDID##A");
}

TEST(UdevProperties, ATooLongUdidGetsNoLink) {
    const auto keys = keysOf({"UDID##" + std::string(235, 'A'), {}, {}});
    EXPECT_EQ(keys.count("SCSITOOL_LINK"), 0U);
    EXPECT_EQ(keys.count("SCSITOOL_UDID_ENC"), 0U);
    EXPECT_EQ(keys.at("SCSITOOL_UDID").size(), 241U);
}

TEST(UdevProperties, AValueOfMoreThanItsRoomIsLeftOut) {
    EXPECT_EQ(keysOf({std::string(1024, 'A'), {}, {}}).count("SCSITOOL_UDID"), 1U);
    EXPECT_EQ(keysOf({std::string(1025, 'A'), {}, {}}).count("SCSITOOL_UDID"), 0U);
}

TEST(UdevProperties, NoValueSpansTwoLines) {
    Identified volume = {"U\nX=1", {}, {{Strength::kScsiName, "a\nSYMLINK=b"}}, 7};
    volume.fields.family = "F\r";
    volume.fields.arraySerial = "S\t";
    volume.fields.volumeId = "\x1b[2J";
    volume.fields.logicalUnitName = "t10.\n";
    const auto keys = keysOf(volume);
    EXPECT_EQ(keys.at("SCSITOOL_PARTITION"), "7");
    EXPECT_EQ(keys.size(), 9U);
    for (const auto& [key, value] : keys) {
        for (const char c : value) {
            EXPECT_TRUE(c >= ' ' && c <= '~') << key << "=" << value;
        }
    }
}

}  // namespace
