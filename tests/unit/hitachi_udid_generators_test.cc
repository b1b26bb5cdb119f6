#include "scsitool/udid/hitachi_udid_generators.h"

#include <gtest/gtest.h>

#include "generator_probe.h"
#include "page_builder.h"
#include "trace_capture.h"

namespace {

using test::bodyOf;
using test::Bytes;
using test::Claim;
using test::claimOf;
using test::Page;
using test::recordOf;
using test::store;
using test::storeEmpty;

/// INQUIRY data with `text` from byte 36 on.
Page inquiry(const std::string& text, std::size_t length = 96) {
    return Page::inquiry("HITACHI", "OPEN-V", 96).text(36, text).cut(length);
}

template <class Generator>
std::string bodyFor(Generator& generator, const Page& page) {
    CScsiDeviceData record = recordOf("HITACHI", "OPEN-V");
    store(record, 0, page);
    return bodyOf(generator, record);
}

class HitachiGenerator : public testing::Test {
  protected:
    CHitachiUdidGenerator generator{"HITACHI", "HDS"};
};

TEST_F(HitachiGenerator, ClaimsProductsThatBeginWithAModel) {
    for (const char* model : {"9200", "9500V", "DF600F", "DF600F-V", "OPEN-V", "OPEN-0V", "9900",
                              "9910", "9980V", "9970V", "9960", "USP"}) {
        for (const std::string& product :
             {std::string(model), std::string(model) + "   ", std::string(model) + "-SUN"}) {
            CScsiDeviceData device = recordOf("HITACHI", product);
            EXPECT_TRUE(generator.claimDevice(&device)) << product;
        }
        CScsiDeviceData behind = recordOf("HITACHI", std::string("X") + model);
        EXPECT_FALSE(generator.claimDevice(&behind)) << model;
        CScsiDeviceData cut =
            recordOf("HITACHI", std::string(model, std::string(model).size() - 1));
        EXPECT_EQ(generator.claimDevice(&cut), std::string(model) == "DF600F-V") << model;
    }
}

TEST_F(HitachiGenerator, DeclinesOtherVendorsAndProducts) {
    const Claim claims[] = {{"HP", "OPEN-V", false},
                            {"hitachi", "OPEN-V", false},
                            {"HITACHIX", "OPEN-V", false},
                            {"HITACHI", "XOPEN-V", false},
                            {"HITACHI", "open-v", false},
                            {"HITACHI", "OPEN-3", false},
                            {"HITACHI", "", false},
                            {"HITACHI", " OPEN-V", false},
                            {"HITACHI", "DISK-SUBSYSTEM", false}};
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

TEST_F(HitachiGenerator, ClaimingTrimsWhatItComparesAndNoMore) {
    CScsiDeviceData padded = recordOf("HITACHI", "OPEN-V");
    EXPECT_EQ(claimOf(generator, padded), "HITACHI|OPEN-V");
    CScsiDeviceData other = recordOf("HITACHI", "NONE");
    EXPECT_EQ(claimOf(generator, other), "?HITACHI|NONE");
    CScsiDeviceData stranger = recordOf("HP", "OPEN-V");
    EXPECT_EQ(claimOf(generator, stranger), "?HP|OPEN-V          ");
}

TEST_F(HitachiGenerator, PrefixIsTheBaseRules) {
    CScsiDeviceData record = recordOf("HITACHI", "OPEN-V");
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##HITACHI##HDS##");
}

TEST_F(HitachiGenerator, WritesSerialAndLogicalDeviceInDecimal) {
    const std::pair<const char*, const char*> examples[] = {
        {"D600123400A5", "4660##165"},     // the worked example of a DF600
        {"500123450010", "74565##16"},     // the worked example of an OPEN-V
        {"D6xxFFFFFFFF", "65535##65535"},  // four digits each
        {"70001234000A", "70001234##10"},  // a leading 7 is part of the decimal number
        {"7123456A0000", "7123456##0"},    // the decimal number ends at the A
        {"12341A2B0001", "6699##1"},       // everything else: bytes 40 to 43
        {"5 341A2B0001", "6699##1"},       // not quite "50"
        {"D7341A2B0001", "6699##1"},       // not quite "D6"
        {"d6341A2B0001", "6699##1"},       // lower case is something else, too
        {"501a2b3c0001", "666428##1"},     // "50": bytes 39 to 43, hexadecimal
        {"D6000x1F0x1F", "31##31"},        // strtol takes "0x" before hexadecimal digits
        {"D600-00A  -1", "-10##-1"},       // ... and white space and a sign
        {"D600zzzzzzzz", "0##0"},          // no number is 0
        {"D600        ", "0##0"},
        {"D60012 3    ", "18##0"}};  // the number ends at the blank
    for (const auto& [text, expected] : examples) {
        EXPECT_EQ(bodyFor(generator, inquiry(text)), expected) << text;
    }
}

TEST_F(HitachiGenerator, AnEmptyFieldIsZero) {
    EXPECT_EQ(bodyFor(generator, inquiry("")), "0##0");
}

TEST_F(HitachiGenerator, AZeroByteEndsANumber) {
    EXPECT_EQ(bodyFor(generator, inquiry(std::string("D60012\0"
                                                     "4"
                                                     "0\0A5",
                                                     12))),
              "18##0");
}

TEST_F(HitachiGenerator, ANumberIsReadFromItsOwnBytesOnly) {
    EXPECT_EQ(bodyFor(generator, inquiry("D600123400A5FFFFFFFF")), "4660##165");
    EXPECT_EQ(bodyFor(generator, inquiry("70000001000AFFFFFFFF")), "70000001##10");
}

TEST_F(HitachiGenerator, InquiryOf56BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:HITACHI:HDS";
    EXPECT_EQ(bodyFor(generator, inquiry("D600123400A5", 54)), failure);
    EXPECT_EQ(bodyFor(generator, inquiry("D600123400A5", 55)), failure);
    EXPECT_EQ(bodyFor(generator, inquiry("D600123400A5", 56)), "4660##165");
    EXPECT_EQ(bodyFor(generator, inquiry("D600123400A5", 57)), "4660##165");
}

TEST_F(HitachiGenerator, MissingInquiryIsInvalidPageData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:HITACHI:HDS";
    CScsiDeviceData record = recordOf("HITACHI", "OPEN-V");
    EXPECT_EQ(bodyOf(generator, record), failure);
    storeEmpty(record, 0);
    EXPECT_EQ(bodyOf(generator, record), failure);
    store(record, 0, Page(Bytes{}));
    EXPECT_EQ(bodyOf(generator, record), failure);
}

class HpXpGenerator : public testing::Test {
  protected:
    CHpXpUdidGenerator generator{"HP", "XP"};
};

TEST_F(HpXpGenerator, ClaimsHpProductsThatBeginWithOpenV) {
    const Claim claims[] = {
        {"HP", "OPEN-V", true},       {"HP", "OPEN-0V", true},  {"HP", "OPEN-V-SUN", true},
        {"HP", "OPEN-0V*2", true},    {"HP", "XOPEN-V", false}, {"HP", "OPEN-", false},
        {"HP", "OPEN-3", false},      {"HP", "open-v", false},  {"HP", "", false},
        {"HITACHI", "OPEN-V", false}, {"HPE", "OPEN-V", false}, {"hp", "OPEN-V", false},
        {"COMPAQ", "OPEN-V", false}};
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

TEST_F(HpXpGenerator, ClaimingTrimsWhatItComparesAndNoMore) {
    CScsiDeviceData padded = recordOf("HP", "OPEN-V");
    EXPECT_EQ(claimOf(generator, padded), "HP|OPEN-V");
    CScsiDeviceData other = recordOf("HP", "NONE");
    EXPECT_EQ(claimOf(generator, other), "?HP|NONE");
    CScsiDeviceData stranger = recordOf("HITACHI", "OPEN-V");
    EXPECT_EQ(claimOf(generator, stranger), "?HITACHI|OPEN-V          ");
}

TEST_F(HpXpGenerator, PrefixIsTheBaseRules) {
    CScsiDeviceData record = recordOf("HP", "OPEN-V");
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##HP##XP##");
}

TEST_F(HpXpGenerator, ReadsASerialBehind50Only) {
    const std::pair<const char*, const char*> examples[] = {
        {"500123450010", "74565##16"}, {"D600123400A5", "0##165"}, {"700012340010", "0##16"},
        {"123412340010", "0##16"},     {"5 0123450010", "0##16"},  {"50zzzzzz00FF", "0##255"}};
    for (const auto& [text, expected] : examples) {
        EXPECT_EQ(bodyFor(generator, inquiry(text)), expected) << text;
    }
}

TEST_F(HpXpGenerator, TwoArraysWithoutASerialShareTheirUdids) {
    EXPECT_EQ(bodyFor(generator, inquiry("R50111110010")),
              bodyFor(generator, inquiry("R50222220010")));
}

TEST_F(HpXpGenerator, InquiryOf56BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:HP:XP";
    EXPECT_EQ(bodyFor(generator, inquiry("500123450010", 54)), failure);
    EXPECT_EQ(bodyFor(generator, inquiry("500123450010", 55)), failure);
    EXPECT_EQ(bodyFor(generator, inquiry("500123450010", 56)), "74565##16");
    EXPECT_EQ(bodyFor(generator, inquiry("500123450010", 57)), "74565##16");
}

TEST_F(HpXpGenerator, MissingInquiryIsInvalidPageData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:HP:XP";
    CScsiDeviceData record = recordOf("HP", "OPEN-V");
    EXPECT_EQ(bodyOf(generator, record), failure);
    storeEmpty(record, 0);
    EXPECT_EQ(bodyOf(generator, record), failure);
    store(record, 0, Page(Bytes{}));
    EXPECT_EQ(bodyOf(generator, record), failure);
}

TEST(HitachiAndHpXp, EachClaimsTheProductOfItsOwnVendorOnly) {
    CHitachiUdidGenerator hitachi("HITACHI", "HDS");
    CHpXpUdidGenerator xp("HP", "XP");
    CScsiDeviceData ofHp = recordOf("HP", "OPEN-V");
    CScsiDeviceData ofHitachi = recordOf("HITACHI", "OPEN-V");
    EXPECT_TRUE(xp.claimDevice(&ofHp));
    EXPECT_FALSE(hitachi.claimDevice(&ofHp));
    EXPECT_TRUE(hitachi.claimDevice(&ofHitachi));
    EXPECT_FALSE(xp.claimDevice(&ofHitachi));
}

}  // namespace
