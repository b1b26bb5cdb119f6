#include "scsitool/udid/hp_udid_generators.h"

#include <gtest/gtest.h>

#include "generator_probe.h"
#include "page_builder.h"

namespace {

using test::bodyOf;
using test::Bytes;
using test::Claim;
using test::claimOf;
using test::counting;
using test::Page;
using test::recordOf;
using test::store;
using test::storeEmpty;

void expectClaims(CUdidGenerator& generator, std::initializer_list<Claim> claims) {
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

class EvaGenerator : public testing::Test {
  protected:
    EvaGenerator() : record(recordOf("HP", "HSV300")) {
        store(record, 0, inquiry());
        store(record, 0x83, names());
    }
    static Page inquiry(std::size_t length = 140) {
        return Page::inquiry("HP", "HSV300", 140)
            .bytes(130, {0x50, 0x01, 0x43, 0x80, 0xFA, 0x0B, 0xCD, 0xEF})
            .cut(length);
    }
    static Page names() { return Page::names().naa(counting(16, 0x61)); }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kNode[] = "5001-4380-FA0B-CDEF##";
    static constexpr char kUnit[] = "6162-6364-6566-6768-696A-6B6C-6D6E-6F70";
    CHpEvaUdidGenerator generator{"HP", "HSV"};
    CScsiDeviceData record;
};

TEST_F(EvaGenerator, ClaimsHsvProductsOfTwoVendors) {
    expectClaims(generator, {{"COMPAQ", "HSV110", true},
                             {"HP", "HSV300", true},
                             {"HP", "HSV", true},
                             {"COMPAQ", "HSV", true},
                             {"HP", "XHSV300", false},
                             {"HP", "HS", false},
                             {"HP", "hsv300", false},
                             {"HP", "", false},
                             {"HPE", "HSV300", false},
                             {"XHP", "HSV300", false},
                             {"COMPAQX", "HSV110", false},
                             {"compaq", "HSV110", false},
                             {"DEC", "HSV110", false}});
}

TEST_F(EvaGenerator, ClaimingTrimsVendorAndProduct) {
    CScsiDeviceData other = recordOf("DEC", "RZ");
    EXPECT_EQ(claimOf(generator, other), "?DEC|RZ");
}

TEST_F(EvaGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##HP##HSV##");
}

TEST_F(EvaGenerator, WritesNodeAndUnitInGroupsOfFourUpperCaseDigits) {
    EXPECT_EQ(body(), std::string(kNode) + kUnit);
}

TEST_F(EvaGenerator, InquiryOf137BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::";
    store(record, 0, inquiry(135));
    EXPECT_EQ(body(), failure);
    store(record, 0, inquiry(136));
    EXPECT_EQ(body(), failure);
    store(record, 0, inquiry(137));
    EXPECT_EQ(body(), std::string("5001-4380-FA0B-CD00##") + kUnit);
    store(record, 0, inquiry(138));
    EXPECT_EQ(body(), std::string(kNode) + kUnit);
}

TEST_F(EvaGenerator, MissingInquiryIsInvalidEnclosureDataWithoutKeys) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::";
    storeEmpty(record, 0);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0);
    EXPECT_EQ(body(), failure);
}

TEST_F(EvaGenerator, Page83OfFewerThan23BytesIsInvalidPageData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:HP:HSV";
    store(record, 0x83, names().cut(0));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(21));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(22));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(23));
    EXPECT_EQ(body(), std::string(kNode) + "6162-6364-6566-6768-696A-6B6C-6D6E-6F00");
    store(record, 0x83, names().cut(24));
    EXPECT_EQ(body(), std::string(kNode) + kUnit);
    storeEmpty(record, 0x83);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), failure);
}

TEST_F(EvaGenerator, APageLengthOf19OrLessIsInvalidDeviceData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:HP:HSV";
    for (const std::size_t length : {0U, 18U, 19U}) {
        store(record, 0x83, names().pageLength(length));
        EXPECT_EQ(body(), failure) << length;
    }
    // The high byte of the field counts.
    for (const std::size_t length : {20U, 21U, 255U, 256U, 0x100U + 19U, 65535U}) {
        store(record, 0x83, names().pageLength(length));
        EXPECT_EQ(body(), std::string(kNode) + kUnit) << length;
    }
}

class MsaGenerator : public testing::Test {
  protected:
    MsaGenerator() : record(recordOf("HP", "MSA2012fc")) {
        store(record, 0, inquiry());
        store(record, 0x83, names());
    }
    static Page inquiry(std::size_t length = 130) {
        return Page::inquiry("HP", "MSA2012fc", 130).text(96, "3CL8349XYZ0123NOT").cut(length);
    }
    static Page names(std::size_t length = 80) {
        return Page::vpd(0x83, 80).text(36, "600C0FF000D5A1B2C3D4E5F601000000NO").cut(length);
    }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kArray[] = "3CL8349XYZ0123##";
    static constexpr char kUnit[] = "600C0FF000D5A1B2C3D4E5F601000000";
    CHpMsaUdidGenerator generator{"HP", "MSA"};
    CScsiDeviceData record;
};

TEST_F(MsaGenerator, ClaimsAnyVendorThatContainsHpOrCompaq) {
    expectClaims(generator, {{"HP", "MSA2012fc", true},
                             {"COMPAQ", "MSA1000", true},
                             {"HPE", "MSA 2040 SAN", true},
                             {"XHPX", "xMSAx", true},
                             {"xCOMPAQ", "MSA", true},
                             {"HP", "LOGICAL MSA", true},
                             {"HP", "msa2012", false},
                             {"HP", "MS A", false},
                             {"HP", "", false},
                             {"hp", "MSA", false},
                             {"H P", "MSA", false},
                             {"COMPA", "MSA", false},
                             {"IBM", "MSA", false},
                             {"", "MSA", false}});
}

TEST_F(MsaGenerator, ClaimingTrimsVendorAndProduct) {
    CScsiDeviceData other = recordOf("DEC", "RZ");
    EXPECT_EQ(claimOf(generator, other), "?DEC|RZ");
}

TEST_F(MsaGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##HP##MSA##");
}

TEST_F(MsaGenerator, TakesSerialAndNameAsText) {
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
}

TEST_F(MsaGenerator, AZeroByteEndsEitherText) {
    store(record, 0, inquiry().set(100, 0));
    store(record, 0x83, names().set(40, 0));
    EXPECT_EQ(body(), "3CL8##600C");
    store(record, 0, inquiry().set(96, 0));
    store(record, 0x83, names().set(36, 0));
    EXPECT_EQ(body(), "##");
}

TEST_F(MsaGenerator, BlanksInEitherTextStay) {
    store(record, 0, inquiry().text(96, " 1234567890   "));
    EXPECT_EQ(body(), std::string(" 1234567890   ##") + kUnit);
}

TEST_F(MsaGenerator, InquiryOf120BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:HP:MSA";
    store(record, 0, inquiry(118));
    EXPECT_EQ(body(), failure);
    store(record, 0, inquiry(119));
    EXPECT_EQ(body(), failure);
    store(record, 0, inquiry(120));
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
    store(record, 0, inquiry(121));
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
    storeEmpty(record, 0);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0);
    EXPECT_EQ(body(), failure);
}

TEST_F(MsaGenerator, Page83OfFewerThan68BytesIsInvalidDeviceData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:HP:MSA";
    store(record, 0x83, names(66));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names(67));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names(68));
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
    store(record, 0x83, names(69));
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
    storeEmpty(record, 0x83);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), failure);
}

class ThreeParGenerator : public testing::Test {
  protected:
    ThreeParGenerator() : record(recordOf("3PARdata", "VV")) {
        store(record, 0x80, Page::serial("50002AC00123"));
        store(record, 0x83, names());
    }
    static Page names() { return Page::names().naa(counting(16, 0x61)); }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kUnit[] = "6162636465666768696A6B6C6D6E6F70";
    CHp3parUdidGenerator generator{"HP", "3PAR"};
    CScsiDeviceData record;
};

TEST_F(ThreeParGenerator, ClaimsOneVendorAndProduct) {
    expectClaims(generator, {{"3PARdata", "VV", true},
                             {"3PARdata", "VV              ", true},
                             {"3PARdata", "VV2", false},
                             {"3PARdata", "XVV", false},
                             {"3PARdata", " VV", false},
                             {"3PARdata", "vv", false},
                             {"3PARdata", "SES", false},
                             {"3PARDATA", "VV", false},
                             {"HP", "VV", false}});
}

TEST_F(ThreeParGenerator, ClaimingTrimsVendorAndProduct) {
    CScsiDeviceData other = recordOf("DEC", "RZ");
    EXPECT_EQ(claimOf(generator, other), "?DEC|RZ");
}

TEST_F(ThreeParGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##HP##3PAR##");
}

TEST_F(ThreeParGenerator, WritesSerialAndUnit) {
    EXPECT_EQ(body(), std::string("50002AC00123##") + kUnit);
}

TEST_F(ThreeParGenerator, TrimsBlanksAtBothEndsOfTheSerial) {
    store(record, 0x80, Page::serial("   12 34   "));
    EXPECT_EQ(body(), std::string("12 34##") + kUnit);
    store(record, 0x80, Page::serial("          "));
    EXPECT_EQ(body(), std::string("##") + kUnit);
    store(record, 0x80, Page::serial("\t12345678"));
    EXPECT_EQ(body(), std::string("\t12345678##") + kUnit);
}

TEST_F(ThreeParGenerator, TheSerialEndsAtItsLengthItsFirstZeroOrThePage) {
    store(record, 0x80, Page::serial("1234567890").set(3, 4));
    EXPECT_EQ(body(), std::string("1234##") + kUnit);
    store(record, 0x80, Page::serial("1234567890").set(3, 0));
    EXPECT_EQ(body(), std::string("##") + kUnit);
    store(record, 0x80, Page::serial("1234567890").set(7, 0));
    EXPECT_EQ(body(), std::string("123##") + kUnit);
    store(record, 0x80, Page::serial("1234567890").set(3, 255));
    EXPECT_EQ(body(), std::string("1234567890##") + kUnit);
}

TEST_F(ThreeParGenerator, ASerialOf251BytesIsTakenWhole) {
    const std::string serial(251, 'Z');
    store(record, 0x80, Page::serial(serial));
    EXPECT_EQ(body(), serial + "##" + kUnit);
}

TEST_F(ThreeParGenerator, Page80Of12BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::";
    store(record, 0x80, Page::serial("123456"));
    EXPECT_EQ(body(), failure);
    store(record, 0x80, Page::serial("1234567"));
    EXPECT_EQ(body(), failure);
    store(record, 0x80, Page::serial("12345678"));
    EXPECT_EQ(body(), std::string("12345678##") + kUnit);
    store(record, 0x80, Page::serial("123456789"));
    EXPECT_EQ(body(), std::string("123456789##") + kUnit);
    storeEmpty(record, 0x80);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0x80);
    EXPECT_EQ(body(), failure);
}

TEST_F(ThreeParGenerator, Page83Of16To23BytesPassesAndReadsZeros) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:HP:3PAR";
    const std::string array = "50002AC00123##";
    store(record, 0x83, names().cut(14));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(15));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(16));
    EXPECT_EQ(body(), array + "61626364656667680000000000000000");
    store(record, 0x83, names().cut(17));
    EXPECT_EQ(body(), array + "61626364656667686900000000000000");
    store(record, 0x83, names().cut(23));
    EXPECT_EQ(body(), array + "6162636465666768696A6B6C6D6E6F00");
    store(record, 0x83, names().cut(24));
    EXPECT_EQ(body(), array + kUnit);
    storeEmpty(record, 0x83);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), failure);
}

TEST(HpFamilies, ACompaqDeviceIsAnEvaOrAnMsaByItsProduct) {
    CHpEvaUdidGenerator eva("HP", "HSV");
    CHpMsaUdidGenerator msa("HP", "MSA");
    CScsiDeviceData hsv = recordOf("COMPAQ", "HSV110");
    EXPECT_TRUE(eva.claimDevice(&hsv));
    EXPECT_FALSE(msa.claimDevice(&hsv));
    CScsiDeviceData smart = recordOf("COMPAQ", "MSA1000 VOLUME");
    EXPECT_FALSE(eva.claimDevice(&smart));
    EXPECT_TRUE(msa.claimDevice(&smart));
}

}  // namespace
