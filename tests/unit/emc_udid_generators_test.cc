#include "scsitool/udid/emc_udid_generators.h"

#include <gtest/gtest.h>

#include "generator_probe.h"
#include "page_builder.h"
#include "slot_of.h"
#include "trace_capture.h"

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
using Lines = std::vector<std::string>;

constexpr char kUnit[] = "01:02:03:04:05:06:07:08:09:0a:0b:0c:0d:0e:0f:10";

/// Page 0xC0 with an array serial in its place.
Page arrayPage(const std::string& serial, std::size_t length = 80) {
    Page page = Page::vpd(0xC0, length);
    return page.set(49, static_cast<std::uint8_t>(serial.size())).text(50, serial);
}

class ClariionGenerator : public testing::Test {
  protected:
    ClariionGenerator() : record(recordOf("DGC", "RAID 5")) {
        generator.registerTraceLog(trace.log());
        store(record, 0x83, Page::names().naa(counting(16)));
    }
    std::string body() { return bodyOf(generator, record); }

    CEmcClariionUdidGenerator generator{"DGC", ""};
    CScsiDeviceData record;
    test::TraceCapture trace;
};

TEST_F(ClariionGenerator, ClaimsDgcProductsThatContainOneOfFourWords) {
    const Claim claims[] = {
        {"DGC", "RAID 5", true},    {"DGC", "VRAID", true},    {"DGC", "DISK", true},
        {"DGC", "xDISKx", true},    {"DGC", "VNX5300", true},  {"DGC", "CX4", true},
        {"DGC", "aCX", true},       {"DGC", "LUNZ", false},    {"DGC", "raid 5", false},
        {"DGC", "", false},         {"DGC", "RAI D", false},   {"DGCX", "RAID 5", false},
        {"dgc", "RAID 5", false},   {" DGC", "RAID 5", false}, {"", "RAID 5", false},
        {"EMC", "SYMMETRIX", false}};
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

TEST_F(ClariionGenerator, ClaimingTrimsTheProductOnlyWhenTheVendorFits) {
    CScsiDeviceData fitting = recordOf("DGC", "LUNZ");
    EXPECT_EQ(claimOf(generator, fitting), "?DGC|LUNZ");
    CScsiDeviceData other = recordOf("HP", "RAID 5");
    EXPECT_EQ(claimOf(generator, other), "?HP|RAID 5          ");
}

TEST_F(ClariionGenerator, PrefixNamesTheFamilyAndNotTheProduct) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##DGC##CLARIION##");
    CEmcClariionUdidGenerator lower("dgc  ", "ignored");
    EXPECT_EQ(lower.getUniqueDeviceIDPrefix(&record), "UDID##DGC##CLARIION##");
}

TEST_F(ClariionGenerator, AddsTheSerialCheckAfterTheBody) {
    EXPECT_EQ(test::slotOf(&CEmcClariionUdidGenerator::checkForArraySerialNo),
              test::slotOf(&CUdidGenerator::getUniqueDeviceID) + 1);
}

TEST_F(ClariionGenerator, TakesTheArraySerialFromPageC0) {
    store(record, 0xC0, arrayPage("APM00123456789"));
    EXPECT_EQ(body(), std::string("APM00123456789##") + kUnit);
    EXPECT_EQ(trace.lines(),
              (Lines{"[3] clariion EnclosureID=APM00123456789##",
                     std::string("[3] GetScsiModePage83 CEmcClariionUdidGenerator::getUniqueDevice"
                                 "ID : UDID=APM00123456789##") +
                         kUnit + ":"}));
}

TEST_F(ClariionGenerator, TakesAtMostFourteenCharactersOfTheSerial) {
    store(record, 0xC0, arrayPage("ABCDEFGHIJKLM"));
    EXPECT_EQ(body(), std::string("ABCDEFGHIJKLM##") + kUnit);
    store(record, 0xC0, arrayPage("ABCDEFGHIJKLMN"));
    EXPECT_EQ(body(), std::string("ABCDEFGHIJKLMN##") + kUnit);
    store(record, 0xC0, arrayPage("ABCDEFGHIJKLMNO"));
    EXPECT_EQ(body(), std::string("ABCDEFGHIJKLMN##") + kUnit);
}

TEST_F(ClariionGenerator, TheLengthByteBoundsThePageAndNotTheCopy) {
    store(record, 0xC0, arrayPage("ABCDEFGH").set(49, 2));
    EXPECT_EQ(body(), std::string("ABCDEFGH##") + kUnit);
    store(record, 0xC0, arrayPage("ABCDEFGH").set(49, 0));
    EXPECT_EQ(body(), std::string("ABCDEFGH##") + kUnit);
}

TEST_F(ClariionGenerator, ASerialThatReachesPastItsPageIsAnInvalidPageSizeWithoutKeys) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_SIZE::";
    store(record, 0xC0, arrayPage("ABCD", 60).set(49, 9));
    EXPECT_EQ(body(), std::string("ABCD##") + kUnit);
    store(record, 0xC0, arrayPage("ABCD", 60).set(49, 10));
    EXPECT_EQ(body(), std::string("ABCD##") + kUnit);
    store(record, 0xC0, arrayPage("ABCD", 60).set(49, 11));
    trace.clear();
    EXPECT_EQ(body(), failure);
    EXPECT_EQ(trace.lines(), Lines{});
    store(record, 0xC0, arrayPage("ABCD", 60).set(49, 255));
    EXPECT_EQ(body(), failure);
}

TEST_F(ClariionGenerator, APageThatEndsBeforeItsLengthByteReadsItAsZero) {
    store(record, 0x80, Page::serial("SERIAL80"));
    for (const std::size_t length : {1U, 48U, 49U}) {
        store(record, 0xC0, Page::vpd(0xC0, 80).cut(length));
        EXPECT_EQ(body(), "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_SIZE::") << length;
    }
    // One byte more and the serial's place is still behind the end: empty, hence no serial.
    store(record, 0xC0, Page::vpd(0xC0, 80).cut(50));
    EXPECT_EQ(body(), std::string("SERIAL80##") + kUnit);
}

TEST_F(ClariionGenerator, TheSerialStopsAtThePagesEnd) {
    store(record, 0xC0, arrayPage("ABCDEFGH").set(49, 0).cut(54));
    EXPECT_EQ(body(), std::string("ABCD##") + kUnit);
}

TEST_F(ClariionGenerator, RejectedSerialFallsBackToPage80) {
    store(record, 0xC0, arrayPage("APM 123"));
    store(record, 0x80, Page::serial("SERIAL80"));
    EXPECT_EQ(body(), std::string("SERIAL80##") + kUnit);
    EXPECT_EQ(trace.lines(),
              (Lines{"[2] Invalid EnclosureID=APM 123", "[3] clariion EnclosureID=SERIAL80##",
                     std::string("[3] GetScsiModePage83 CEmcClariionUdidGenerator::getUniqueDevice"
                                 "ID : UDID=SERIAL80##") +
                         kUnit + ":"}));
}

TEST_F(ClariionGenerator, EmptySerialFallsBackToPage80) {
    store(record, 0xC0, arrayPage(""));
    store(record, 0x80, Page::serial("SERIAL80"));
    EXPECT_EQ(body(), std::string("SERIAL80##") + kUnit);
    EXPECT_EQ(trace.lines().front(), "[2] Invalid EnclosureID=");
}

TEST_F(ClariionGenerator, TwiceRejectedSerialStandsWithoutSeparator) {
    store(record, 0xC0, arrayPage("APM 123"));
    store(record, 0x80, Page::serial("SER-80"));
    EXPECT_EQ(body(), std::string("SER-80") + kUnit);
    EXPECT_EQ(trace.lines(),
              (Lines{"[2] Invalid EnclosureID=APM 123", "[2] Invalid EnclosureID=SER-80",
                     "[2] Invalid EnclosureID SER-80 found for Clariion",
                     std::string("[3] GetScsiModePage83 CEmcClariionUdidGenerator::getUniqueDevice"
                                 "ID : UDID=SER-80") +
                         kUnit + ":"}));
}

TEST_F(ClariionGenerator, MissingPageC0IsAFailedCheck) {
    store(record, 0x80, Page::serial("SERIAL80"));
    EXPECT_EQ(body(), std::string("SERIAL80##") + kUnit);
    EXPECT_EQ(trace.lines().front(), "[2] Invalid EnclosureID=");
    storeEmpty(record, 0xC0);
    EXPECT_EQ(body(), std::string("SERIAL80##") + kUnit);
    store(record, 0xC0, Page(Bytes{}));
    EXPECT_EQ(body(), std::string("SERIAL80##") + kUnit);
}

TEST_F(ClariionGenerator, BothPagesMissingLeaveTheUnitAlone) {
    EXPECT_EQ(body(), kUnit);
    EXPECT_EQ(trace.lines(),
              (Lines{"[2] Invalid EnclosureID=", "[2] Invalid EnclosureID=",
                     "[2] Invalid EnclosureID  found for Clariion",
                     std::string("[3] GetScsiModePage83 CEmcClariionUdidGenerator::getUniqueDevice"
                                 "ID : UDID=") +
                         kUnit + ":"}));
}

TEST_F(ClariionGenerator, APage80ThatReachesPastItsEndIsAnInvalidPageSize) {
    for (const auto& [length, expected] :
         {std::pair<std::uint8_t, std::string>{7, std::string("SERIAL80##") + kUnit},
          {8, std::string("SERIAL80##") + kUnit},
          {9, "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_SIZE::"}}) {
        store(record, 0x80, Page::serial("SERIAL80").set(3, length));
        EXPECT_EQ(body(), expected) << int{length};
    }
}

TEST_F(ClariionGenerator, Page83OfFewerThan23BytesIsInvalidDeviceData) {
    store(record, 0xC0, arrayPage("ABCD"));
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:DGC:";
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), failure);
    storeEmpty(record, 0x83);
    EXPECT_EQ(body(), failure);
    for (const std::size_t length : {0U, 1U, 21U, 22U}) {
        store(record, 0x83, Page::names().naa(counting(16)).cut(length));
        EXPECT_EQ(body(), failure) << length;
    }
}

TEST_F(ClariionGenerator, Page83Of23BytesReadsByte23AsZero) {
    store(record, 0xC0, arrayPage("ABCD"));
    store(record, 0x83, Page::names().naa(counting(16)).cut(23));
    EXPECT_EQ(body(), "ABCD##01:02:03:04:05:06:07:08:09:0a:0b:0c:0d:0e:0f:00");
    store(record, 0x83, Page::names().naa(counting(16)).cut(24));
    EXPECT_EQ(body(), std::string("ABCD##") + kUnit);
    store(record, 0x83, Page::names().naa(counting(16)).cut(25));
    EXPECT_EQ(body(), std::string("ABCD##") + kUnit);
}

TEST_F(ClariionGenerator, SerialCheckWithoutAPagePointerIsInvalidPageData) {
    std::string out = "kept";
    try {
        generator.checkForArraySerialNo(nullptr, 80, 49, 50, out);
        FAIL() << "nothing was thrown";
    } catch (const CUdidGeneratorException& failure) {
        EXPECT_EQ(failure.getMessageId(), "MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:DGC:");
    }
    EXPECT_EQ(out, "kept");
}

TEST_F(ClariionGenerator, SerialCheckWithoutABufferFails) {
    unsigned char* page = nullptr;
    std::string out;
    EXPECT_FALSE(generator.checkForArraySerialNo(&page, 0, 49, 50, out));
    EXPECT_EQ(out, "");
    EXPECT_EQ(trace.lines(), Lines{"[2] Invalid EnclosureID="});
}

TEST_F(ClariionGenerator, SerialCheckAppendsAndLooksAtTheWholeText) {
    Bytes bytes = arrayPage("ABC").data();
    unsigned char* page = bytes.data();
    const auto length = static_cast<unsigned>(bytes.size());
    std::string out = "12";
    EXPECT_TRUE(generator.checkForArraySerialNo(&page, length, 49, 50, out));
    EXPECT_EQ(out, "12ABC##");
    std::string blank = "1 ";
    EXPECT_FALSE(generator.checkForArraySerialNo(&page, length, 49, 50, blank));
    EXPECT_EQ(blank, "1 ABC");
    EXPECT_EQ(trace.lines(),
              (Lines{"[3] clariion EnclosureID=12ABC##", "[2] Invalid EnclosureID=1 ABC"}));
}

TEST_F(ClariionGenerator, BodyUsesTheCheckThatADerivedGeneratorBringsAlong) {
    struct Derived : CEmcClariionUdidGenerator {
        Derived() : CEmcClariionUdidGenerator("DGC", "") {}
        bool checkForArraySerialNo(unsigned char**, unsigned int length, int lengthIndex, int start,
                                   std::string& out) override {
            asked.push_back(std::to_string(length) + "," + std::to_string(lengthIndex) + "," +
                            std::to_string(start));
            out = "own";
            return asked.size() == 2;
        }
        Lines asked;
    } derived;
    store(record, 0xC0, arrayPage("ABCD"));
    store(record, 0x80, Page::serial("SERIAL80"));
    EXPECT_EQ(bodyOf(derived, record), std::string("own") + kUnit);
    EXPECT_EQ(derived.asked, (Lines{"80,49,50", "12,3,4"}));
}

TEST_F(ClariionGenerator, IsSilentWithoutATraceLog) {
    CEmcClariionUdidGenerator silent("DGC", "");
    store(record, 0xC0, arrayPage("APM 123"));
    EXPECT_EQ(bodyOf(silent, record), kUnit);
}

class SymmetrixGenerator : public testing::Test {
  protected:
    /// INQUIRY data whose serial digits are 0123456789 and whose volume is `volume`.
    static Page inquiry(const Bytes& volume, std::size_t length = 140) {
        Page page = Page::inquiry("EMC", "SYMMETRIX", 140);
        page.text(38, "xyz").bytes(124, {0x01, 0x23, 0x45, 0x67, 0x89}).bytes(132, volume);
        return page.cut(length);
    }
    std::string bodyFor(const Page& page) {
        store(record, 0, page);
        return bodyOf(generator, record);
    }

    CEmcSymmetrixUdidGenerator generator{"EMC", "SYMMETRIX"};
    CScsiDeviceData record = recordOf("EMC", "SYMMETRIX");
};

TEST_F(SymmetrixGenerator, ClaimsByTheBaseRule) {
    const Claim claims[] = {{"EMC", "SYMMETRIX", true},   {"EMC", "SYMMETRIXX", false},
                            {"EMC", "symmetrix", false},  {"EMC", "INVISTA", false},
                            {"EMCX", "SYMMETRIX", false}, {"emc", "SYMMETRIX", false}};
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

TEST_F(SymmetrixGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##EMC##SYMMETRIX##");
}

TEST_F(SymmetrixGenerator, TakesTheVolumeFromByte132) {
    EXPECT_EQ(bodyFor(inquiry({'A', 'B', 'C', 'D'})), "000123456789##ABCD");
}

TEST_F(SymmetrixGenerator, TakesTheVolumeFromByte38WhenByte132IsZero) {
    EXPECT_EQ(bodyFor(inquiry({0, 'B', 'C', 'D'})), "000123456789##0xyz");
}

TEST_F(SymmetrixGenerator, AZeroByteEndsTheVolumeEarly) {
    EXPECT_EQ(bodyFor(inquiry({'A', 0, 'C', 'D'})), "000123456789##A");
    EXPECT_EQ(bodyFor(inquiry({'A', 'B', 'C', 0})), "000123456789##ABC");
    EXPECT_EQ(bodyFor(inquiry({0, 'B'}).set(38, 0)), "000123456789##0");
    EXPECT_EQ(bodyFor(inquiry({0, 'B'}).set(39, 0)), "000123456789##0x");
}

TEST_F(SymmetrixGenerator, InquiryOf132BytesIsAccepted) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:EMC:SYMMETRIX";
    EXPECT_EQ(bodyFor(inquiry({'A', 'B', 'C', 'D'}, 131)), failure);
    // Byte 132 lies behind the end and reads as 0.
    EXPECT_EQ(bodyFor(inquiry({'A', 'B', 'C', 'D'}, 132)), "000123456789##0xyz");
    EXPECT_EQ(bodyFor(inquiry({'A', 'B', 'C', 'D'}, 133)), "000123456789##A");
    EXPECT_EQ(bodyFor(inquiry({'A', 'B', 'C', 'D'}, 136)), "000123456789##ABCD");
}

TEST_F(SymmetrixGenerator, MissingInquiryIsInvalidPageData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:EMC:SYMMETRIX";
    EXPECT_EQ(bodyOf(generator, record), failure);
    storeEmpty(record, 0);
    EXPECT_EQ(bodyOf(generator, record), failure);
    EXPECT_EQ(bodyFor(Page(Bytes{})), failure);
}

}  // namespace
