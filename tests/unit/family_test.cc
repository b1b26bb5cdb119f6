#include "scsitool/udid/family.h"

#include <gtest/gtest.h>

#include <set>

#include "family_samples.h"
#include "generator_probe.h"
#include "recording_reporter.h"
#include "udid/families.h"

namespace {

using test::claimOf;
using test::RecordingReporter;
using test::recordOf;
using udid::Asked;
using udid::Claim;
using udid::Rule;
using udid::TrimsProduct;
using Lines = std::vector<std::string>;

class Own : public CUdidGenerator {
  public:
    explicit Own(const Claim& claim) : CUdidGenerator("OWN", "DISK"), m_claim(claim) {}
    bool claimDevice(CScsiDeviceData* device) override {
        return udid::claims(m_claim, *this, *device);
    }
    std::string getUniqueDeviceID(CScsiDeviceData*) override { return {}; }

  private:
    Claim m_claim;
};

/// The record as the claim leaves it, "?" before one that was refused.
std::string claimed(const Claim& claim, const std::string& vendor, const std::string& product) {
    Own generator(claim);
    CScsiDeviceData record = recordOf(vendor, product);
    return claimOf(generator, record);
}

TEST(Claim, WithoutConditionsTakesEveryRecord) {
    EXPECT_EQ(claimed(Claim(), "ANY", "THING"), "ANY|THING           ");
}

TEST(Claim, TrimsTheVendorAlwaysAndTheProductWhenItIsCompared) {
    const Claim claim = {
        {{Asked::kVendor, Rule::kEquals, {"A", "B"}}, {Asked::kProduct, Rule::kBeginsWith, {"X"}}}};
    EXPECT_EQ(claimed(claim, "B", "XY"), "B|XY");
    EXPECT_EQ(claimed(claim, "B", "YX"), "?B|YX");
    EXPECT_EQ(claimed(claim, "C", "XY"), "?C|XY              ");
    EXPECT_EQ(claimed(claim, "b", "XY"), "?b|XY              ");
}

TEST(Claim, MayTrimTheProductOfEveryRecord) {
    const Claim claim = {{{Asked::kVendor, Rule::kEquals, {"A"}}}, TrimsProduct::kAlways};
    EXPECT_EQ(claimed(claim, "C", "XY"), "?C|XY");
}

TEST(Claim, WithoutWordsComparesTheKeys) {
    EXPECT_EQ(claimed(udid::kClaimsItsKeys, "OWN", "DISK"), "OWN|DISK");
    EXPECT_EQ(claimed(udid::kClaimsItsKeys, "OWN", "DISKS"), "?OWN|DISKS");
    EXPECT_EQ(claimed(udid::kClaimsItsKeys, "OWNER", "DISK"), "?OWNER|DISK            ");
}

TEST(Claim, AsksInOrderAndReportsUpToTheFirstThatDoesNotHold) {
    const Claim claim = {{{Asked::kProduct, Rule::kContains, {"M", "N"}},
                          {Asked::kVendor, Rule::kContains, {"V", "W"}}}};
    RecordingReporter reporter;
    const udid::ReportScope scope(&reporter);
    EXPECT_EQ(claimed(claim, "AWE", "ANY"), "AWE|ANY");
    EXPECT_EQ(reporter.lines, (Lines{"product ANY not contains M", "product ANY contains N",
                                     "vendor AWE not contains V", "vendor AWE contains W"}));
    reporter.lines.clear();
    EXPECT_EQ(claimed(claim, "AWE", "AY"), "?AWE|AY");
    EXPECT_EQ(reporter.lines, (Lines{"product AY not contains M", "product AY not contains N"}));
}

TEST(Claim, TakesAsManyWordsAsFit) {
    Claim claim;
    claim.conditions[0] = {Asked::kVendor, Rule::kEquals, {}};
    for (std::string_view& word : claim.conditions[0].words) {
        word = "NO";
    }
    claim.conditions[0].words[udid::Condition::kMostWords - 1] = "LAST";
    EXPECT_EQ(claimed(claim, "LAST", "X"), "LAST|X               ");
    EXPECT_EQ(claimed(claim, "OTHER", "X"), "?OTHER|X               ");
}

TEST(Families, HaveNamesAndGeneratorsOfTheirOwn) {
    std::set<std::string> names;
    for (const udid::Family& family : udid::kFamilies) {
        const std::unique_ptr<CUdidGenerator> generator(family.create(family));
        EXPECT_EQ(generator->vendorKey(), family.vendor);
        EXPECT_EQ(generator->productKey(), family.product);
        EXPECT_TRUE(names.insert(family.name).second) << family.name;
    }
}

TEST(Families, AllButTheLastHaveASample) {
    std::set<std::string> sampled;
    for (const test::FamilySample& sample : test::familySamples()) {
        for (const udid::Family& family : udid::kFamilies) {
            const std::unique_ptr<CUdidGenerator> generator(family.create(family));
            CScsiDeviceData record = recordOf(sample);
            if (generator->claimDevice(&record)) {
                sampled.insert(family.name);
                break;
            }
        }
    }
    EXPECT_EQ(sampled.size(), std::size(udid::kFamilies) - 1);
}

/// What a prefix is made of the keys alone needs no device.
TEST(Families, PrefixesOfKeysNeedNoDevice) {
    for (const udid::Family& family : udid::kFamilies) {
        const std::unique_ptr<CUdidGenerator> generator(family.create(family));
        if (!generator->vendorKey().empty()) {
            CScsiDeviceData record = recordOf("ANY", "THING");
            EXPECT_EQ(generator->getUniqueDeviceIDPrefix(nullptr),
                      generator->getUniqueDeviceIDPrefix(&record))
                << family.name;
        }
    }
}

}  // namespace
