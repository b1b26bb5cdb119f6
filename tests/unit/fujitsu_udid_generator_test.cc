#include "scsitool/udid/fujitsu_udid_generator.h"

#include <gtest/gtest.h>

#include "generator_probe.h"
#include "page_builder.h"

namespace {

using test::bodyOf;
using test::Claim;
using test::claimOf;
using test::counting;
using test::Page;
using test::recordOf;
using test::store;
using test::storeEmpty;

class EternusGenerator : public testing::Test {
  protected:
    EternusGenerator() : record(recordOf("FUJITSU", "ETERNUS_DXL")) {
        store(record, 0, inquiry("0123ABCD"));
        store(record, 0x83, names());
    }
    static Page inquiry(const std::string& array, std::size_t length = 96) {
        return Page::inquiry("FUJITSU", "ETERNUS_DXL", 96).text(36, array).cut(length);
    }
    static Page names() { return Page::names().naa(counting(16, 0xB1)); }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kUnit[] = "##B1B2B3B4B5B6B7B8B9BABBBCBDBEBFC0";
    CFujitsuEternusUdidGenerator generator{"FUJITSU", "ETERNUS"};
    CScsiDeviceData record;
};

TEST_F(EternusGenerator, ClaimsFujitsuProductsThatBeginWithEternus) {
    const Claim claims[] = {{"FUJITSU", "ETERNUS_DX", true},  {"FUJITSU", "ETERNUS_DX      ", true},
                            {"FUJITSU", "ETERNUS", true},     {"FUJITSU", "XETERNUS", false},
                            {"FUJITSU", "MY ETERNUS", false}, {"FUJITSU", "ETERNU", false},
                            {"FUJITSU", "eternus_dx", false}, {"FUJITSU", "", false},
                            {"fujitsu", "ETERNUS_DX", false}, {"FUJITSUX", "ETERNUS_DX", false},
                            {"", "ETERNUS_DX", false}};
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

TEST_F(EternusGenerator, ClaimingTrimsTheProductOnlyWhenTheVendorFits) {
    CScsiDeviceData fitting = recordOf("FUJITSU", "MAX");
    EXPECT_EQ(claimOf(generator, fitting), "?FUJITSU|MAX");
    CScsiDeviceData other = recordOf("HP", "MAX");
    EXPECT_EQ(claimOf(generator, other), "?HP|MAX             ");
}

TEST_F(EternusGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##FUJITSU##ETERNUS##");
}

TEST_F(EternusGenerator, WritesArrayAndUnit) {
    EXPECT_EQ(body(), std::string("0123ABCD") + kUnit);
}

TEST_F(EternusGenerator, TrimsTheArrayIdentifierAndEndsItAtAZero) {
    store(record, 0, inquiry("  AB CD  X"));
    EXPECT_EQ(body(), std::string("AB CD") + kUnit);
    store(record, 0, inquiry("ABCDEFGHIJ"));
    EXPECT_EQ(body(), std::string("ABCDEFGH") + kUnit);
    store(record, 0, inquiry("ABCDEFGH").set(39, 0));
    EXPECT_EQ(body(), std::string("ABC") + kUnit);
}

TEST_F(EternusGenerator, AllBlanksGiveAnEmptyArrayPart) {
    store(record, 0, inquiry("        "));
    EXPECT_EQ(body(), kUnit);
    store(record, 0, inquiry("").set(36, 0));
    EXPECT_EQ(body(), kUnit);
}

TEST_F(EternusGenerator, InquiryOf44BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::";
    store(record, 0, inquiry("0123ABCD", 42));
    EXPECT_EQ(body(), failure);
    store(record, 0, inquiry("0123ABCD", 43));
    EXPECT_EQ(body(), failure);
    store(record, 0, inquiry("0123ABCD", 44));
    EXPECT_EQ(body(), std::string("0123ABCD") + kUnit);
    store(record, 0, inquiry("0123ABCD", 45));
    EXPECT_EQ(body(), std::string("0123ABCD") + kUnit);
    storeEmpty(record, 0);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0);
    EXPECT_EQ(body(), failure);
}

TEST_F(EternusGenerator, Page83Of24BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:FUJITSU:ETERNUS";
    store(record, 0x83, names().cut(22));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(23));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(24));
    EXPECT_EQ(body(), std::string("0123ABCD") + kUnit);
    store(record, 0x83, names().cut(25));
    EXPECT_EQ(body(), std::string("0123ABCD") + kUnit);
    storeEmpty(record, 0x83);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), failure);
}

}  // namespace
