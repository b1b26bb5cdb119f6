#include "cli/comparison/same_volume.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli_harness.h"
#include "temporary_directory.h"

namespace {

using cli::comparison::IdentifiedDevice;
using cli::comparison::sameVolume;
using cli::comparison::sameVolumeSentence;
using cli::comparison::sameVolumeTable;
using cli::picture::Agreement;
using cli::picture::Strength;

IdentifiedDevice device(const std::string& name, const std::string& unit, const std::string& udid) {
    IdentifiedDevice made;
    made.name = name;
    if (!unit.empty()) {
        made.names = {{Strength::kNaa6, unit}};
        made.fields.logicalUnitName = unit;
    }
    made.fields.family = "LSI";
    made.udid = udid;
    return made;
}

TEST(SameVolume, TheNamesOfTheLogicalUnitGoBeforeTheUdids) {
    EXPECT_EQ(sameVolume(device("a", "naa.6a", "U1"), device("b", "naa.6a", "U2")),
              Agreement::kSame);
    EXPECT_EQ(sameVolume(device("a", "naa.6a", "U1"), device("b", "naa.6b", "U1")),
              Agreement::kDifferent);
}

TEST(SameVolume, WithoutANameInCommonTheUdidsTell) {
    EXPECT_EQ(sameVolume(device("a", "naa.6a", "U1"), device("b", "", "U1")), Agreement::kSame);
    EXPECT_EQ(sameVolume(device("a", "", "U1"), device("b", "", "U2")), Agreement::kDifferent);
}

TEST(SameVolume, AUdidOfAPathTellsNothing) {
    IdentifiedDevice path = device("a", "", "U1");
    path.fields.family.clear();
    EXPECT_EQ(sameVolume(path, device("b", "", "U1")), Agreement::kUntold);
    EXPECT_EQ(sameVolume(device("b", "", "U1"), path), Agreement::kUntold);
    EXPECT_EQ(sameVolume(device("a", "", ""), device("b", "", "U1")), Agreement::kUntold);
}

TEST(SameVolume, TheSentenceSaysByWhat) {
    const IdentifiedDevice one = device("/dev/sdh", "naa.6a", "U1");
    EXPECT_EQ(sameVolumeSentence(one, device("/dev/sdq", "naa.6a", "U2")),
              "/dev/sdh as mailed and /dev/sdq are the same volume: page 0x83 names one logical "
              "unit");
    EXPECT_EQ(sameVolumeSentence(one, device("/dev/sdq", "naa.6b", "U1")),
              "/dev/sdh as mailed and /dev/sdq are not the same volume: page 0x83 names two "
              "logical units");
    EXPECT_EQ(sameVolumeSentence(one, device("/dev/sdq", "", "U1")),
              "/dev/sdh as mailed and /dev/sdq are the same volume: page 0x83 has no name in "
              "common, their UDIDs are equal");
    EXPECT_EQ(sameVolumeSentence(one, device("/dev/sdq", "", "U2")),
              "/dev/sdh as mailed and /dev/sdq are not the same volume: page 0x83 has no name in "
              "common, their UDIDs differ");
    EXPECT_EQ(sameVolumeSentence(one, device("/dev/sdq", "", "")),
              "/dev/sdh as mailed and /dev/sdq: it cannot be told whether they are the same "
              "volume, one has neither a name in page 0x83 nor a UDID of its volume");
}

TEST(SameVolume, TheTableShowsBothWhereTheyDiffer) {
    IdentifiedDevice one = device("/dev/sdh", "naa.6a", "U1");
    one.fields.targetPort = "naa.51";
    IdentifiedDevice other = device("/dev/sdq", "naa.6a", "U1");
    other.fields.serial = "S1";
    EXPECT_EQ(sameVolumeTable(one, other, {}),
              "WHAT         SAME  WHERE             VALUE\n"
              "UDID         yes   both              U1\n"
              "Family       yes   both              LSI\n"
              "Unit name    yes   both              naa.6a\n"
              "Target port  no    /dev/sdh, mailed  naa.51\n"
              "                   /dev/sdq          -\n"
              "Unit serial  no    /dev/sdh, mailed  -\n"
              "                   /dev/sdq          S1\n");
}

constexpr const char* kSample = SCSITOOL_SAMPLES "/enterprise.json";
constexpr const char* kMail = SCSITOOL_SAMPLES "/mailed-pages.txt";

TEST(ExplainSameAs, AMailedPageOfTheVolumeIsKnown) {
    const test::CliResult result = test::CliMachine({}).run(
        {"--host", kSample, "explain", kMail, "--same-as", "/dev/sdq", "--json"});
    EXPECT_EQ(result.status, 0) << result.err;
    const auto comparison = result.json()["comparisons"].at(0);
    EXPECT_EQ(comparison["same"], true);
    EXPECT_EQ(comparison["device"]["name"], "/dev/sdq");
    EXPECT_EQ(comparison["mailed"]["udid"], comparison["device"]["udid"]);
}

TEST(ExplainSameAs, AnotherVolumeIsToldWithTheTable) {
    const test::CliResult result =
        test::CliMachine({}).run({"--host", kSample, "explain", kMail, "--same-as", "sdb"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.out, testing::StartsWith("WHAT          SAME  WHERE             VALUE\n"));
    EXPECT_THAT(result.err, testing::EndsWith(
                                " as mailed and /dev/sdb are not the same volume: page 0x83 names "
                                "two logical units\n"));
}

TEST(ExplainSameAs, NeedsATextAndADeviceThatIsThere) {
    EXPECT_EQ(test::CliMachine({})
                  .run({"--host", kSample, "explain", "/dev/sdq", "--same-as", "/dev/sdq"})
                  .err,
              "scsitool: --same-as compares what was mailed: name a file of pages, or - for "
              "standard input\n");
    const test::CliResult result =
        test::CliMachine({}).run({"--host", kSample, "explain", kMail, "--same-as", "/dev/sdzz"});
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.err, testing::HasSubstr("/dev/sdzz"));
}

TEST(ExplainShort, LeavesThePagesAndWhoDeclinedOut) {
    const std::string text =
        test::CliMachine({}).run({"--host", kSample, "explain", "/dev/sdq", "--short"}).out;
    EXPECT_THAT(text, testing::HasSubstr("\nIBM ESS, DS8000, SVC  claims  vendor \"IBM\" begins "));
    EXPECT_THAT(text, testing::HasSubstr("\nPART    FROM "));
    EXPECT_THAT(text, testing::EndsWith("\nUDID##IBM##TOTALSTORAGE##IBM.2107-75ABCD1##100A\n"));
    for (const char* const left : {"Designators", "declines", "VPD page", "INQUIRY data, 96"}) {
        EXPECT_EQ(text.find(left), std::string::npos) << left;
    }
}

}  // namespace
