#include "scsitool/udid/lsi_udid_generator.h"

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

class LsiGenerator : public testing::Test {
  protected:
    LsiGenerator() : record(recordOf("LSI", "INF-01-00")) {
        store(record, 0xC8, arrayPage());
        store(record, 0x83, names());
    }
    static Page arrayPage() { return Page::vpd(0xC8, 120).bytes(90, counting(17, 0xA6)); }
    static Page names() { return Page::names().naa(counting(16, 0x61)); }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kArray[] = "a6a7a8a9aaabacadaeafb0b1b2b3b4b5##";
    static constexpr char kUnit[] = "6162636465666768696A6B6C6D6E6F70";
    CLsiUdidGenerator generator{"ENGENIO", "UNIVERSAL"};
    CScsiDeviceData record;
};

TEST_F(LsiGenerator, ClaimsLsiProductsThatBeginWithOneOfThreeWords) {
    const Claim claims[] = {{"LSI", "INF-01-00", true},
                            {"LSI", "INF", true},
                            {"LSI", "UNIVERSAL XPORT", true},
                            {"LSI", "MPP_VIRTUAL_DISK", true},
                            {"LSI", "MPP_VIRTUAL", false},
                            {"LSI", "XINF-01-00", false},
                            {"LSI", "inf-01-00", false},
                            {"LSI", "VirtualDisk", false},
                            {"LSI", "", false},
                            {"ENGENIO", "INF-01-00", false},
                            {"ENGENIO", "UNIVERSAL", false},
                            {"LSILOGIC", "INF-01-00", false},
                            {"lsi", "INF-01-00", false}};
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

TEST_F(LsiGenerator, ClaimingTrimsVendorAndProduct) {
    CScsiDeviceData other = recordOf("DEC", "RZ");
    EXPECT_EQ(claimOf(generator, other), "?DEC|RZ");
}

TEST_F(LsiGenerator, PrefixIsTheBaseRulesWithItsOwnKeys) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##ENGENIO##UNIVERSAL##");
}

TEST_F(LsiGenerator, WritesTheArrayInLowerAndTheUnitInUpperCase) {
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
}

TEST_F(LsiGenerator, PageC8Of106BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::";
    store(record, 0xC8, arrayPage().cut(104));
    EXPECT_EQ(body(), failure);
    store(record, 0xC8, arrayPage().cut(105));
    EXPECT_EQ(body(), failure);
    store(record, 0xC8, arrayPage().cut(106));
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
    store(record, 0xC8, arrayPage().cut(107));
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
    storeEmpty(record, 0xC8);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0xC8);
    EXPECT_EQ(body(), failure);
}

TEST_F(LsiGenerator, Page83OfFewerThan23BytesIsInvalidPageData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:ENGENIO:UNIVERSAL";
    store(record, 0x83, names().cut(21));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(22));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(23));
    EXPECT_EQ(body(), std::string(kArray) + "6162636465666768696A6B6C6D6E6F00");
    store(record, 0x83, names().cut(24));
    EXPECT_EQ(body(), std::string(kArray) + kUnit);
    storeEmpty(record, 0x83);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), failure);
}

TEST_F(LsiGenerator, APageLengthOf19OrLessIsInvalidDeviceData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:ENGENIO:UNIVERSAL";
    for (const std::size_t length : {0U, 18U, 19U}) {
        store(record, 0x83, names().pageLength(length));
        EXPECT_EQ(body(), failure) << length;
    }
    for (const std::size_t length : {20U, 21U, 255U, 256U, 0x100U + 19U, 65535U}) {
        store(record, 0x83, names().pageLength(length));
        EXPECT_EQ(body(), std::string(kArray) + kUnit) << length;
    }
}

}  // namespace
