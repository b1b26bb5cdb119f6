#include <gtest/gtest.h>

#include <type_traits>

#include "page_builder.h"
#include "scsitool/udid/device_udid_generator.h"
#include "trace_capture.h"

namespace {

// The base rules, and a body that fails when it is told to.
struct PlainGenerator : CUdidGenerator {
    using CUdidGenerator::CUdidGenerator;
    std::string getUniqueDeviceID(CScsiDeviceData*) override { fail(udid::kInvalidDeviceData); }
};

CScsiDeviceData recordOf(const std::string& vendor, const std::string& product) {
    return CScsiDeviceData("/dev/sda", "", "db01", 0, 0, 0, -1, vendor, product, "", 0);
}

TEST(UdidGenerator, SharedTextsAreThoseOfTheFormat) {
    EXPECT_STREQ(udid::udid_prefix, "UDID##");
    EXPECT_STREQ(udid::udid_separator, "##");
    EXPECT_STREQ(udid::taq_udid_prefix, "TAQ_UDID##");
}

TEST(UdidGenerator, StartsWithItsKeysAndWithoutATraceLog) {
    const PlainGenerator generator("HP ", " XP");
    EXPECT_EQ(generator.m_vendor, "HP ");
    EXPECT_EQ(generator.m_product, " XP");
    EXPECT_TRUE(generator.m_traceLog.isNull());
}

TEST(UdidGenerator, NameIsTheTwoKeysUntrimmed) {
    EXPECT_EQ(PlainGenerator("HP ", "XP  ").getGeneratorName(), "HP :XP  ");
    EXPECT_EQ(PlainGenerator("", "").getGeneratorName(), ":");
}

TEST(UdidGenerator, ClaimsByTrimmedVendorAndProduct) {
    const struct {
        const char* vendor;
        const char* product;
        bool claimed;
    } rows[] = {
        {"NETAPP", "LUN", true},         {"NETAPP  ", "LUN             ", true},
        {"netapp  ", "LUN", false},      {"NETAPP", "lun", false},
        {" NETAPP", "LUN", false},       {"NETAPP", " LUN", false},
        {"NETAPP", "LUN C-Mode", false}, {"NETAP", "LUN", false},
        {"NETAPPX", "LUN", false},       {"", "", false},
        {"NETAPP\t", "LUN", false},      {"LUN", "NETAPP", false},
    };
    for (const auto& row : rows) {
        PlainGenerator generator("NETAPP", "LUN");
        CScsiDeviceData record = recordOf(row.vendor, row.product);
        EXPECT_EQ(generator.claimDevice(&record), row.claimed)
            << "[" << row.vendor << "] [" << row.product << "]";
    }
}

TEST(UdidGenerator, EmptyProductKeyClaimsABlankProduct) {
    PlainGenerator generator("DGC", "");
    CScsiDeviceData blank = recordOf("DGC     ", "                ");
    EXPECT_TRUE(generator.claimDevice(&blank));
    CScsiDeviceData named = recordOf("DGC     ", "RAID 5          ");
    EXPECT_FALSE(generator.claimDevice(&named));
}

TEST(UdidGenerator, KeyWithABlankAtItsEndClaimsNothing) {
    PlainGenerator generator("HP ", "XP");
    CScsiDeviceData record = recordOf("HP      ", "XP");
    EXPECT_FALSE(generator.claimDevice(&record));
}

TEST(UdidGenerator, ClaimingTrimsTheRecordsVendorWhateverTheProduct) {
    PlainGenerator generator("HP", "XP");
    CScsiDeviceData matching = recordOf("HP      ", "XP   ");
    EXPECT_TRUE(generator.claimDevice(&matching));
    EXPECT_EQ(matching.m_vendorId, "HP");
    EXPECT_EQ(matching.m_productId, "XP");
    CScsiDeviceData other = recordOf("HP      ", "EVA  ");
    EXPECT_FALSE(generator.claimDevice(&other));
    EXPECT_EQ(other.m_vendorId, "HP");
    EXPECT_EQ(other.m_productId, "EVA");
}

TEST(UdidGenerator, ProductIsNotTouchedForAnotherVendor) {
    PlainGenerator generator("HP", "XP");
    CScsiDeviceData record = recordOf("IBM     ", "XP   ");
    EXPECT_FALSE(generator.claimDevice(&record));
    EXPECT_EQ(record.m_vendorId, "IBM");
    EXPECT_EQ(record.m_productId, "XP   ");
}

TEST(UdidGenerator, PrefixIsMadeOfTheKeysInUpperCase) {
    const struct {
        const char* vendor;
        const char* product;
        const char* prefix;
    } rows[] = {{"HP", "XP", "UDID##HP##XP##"},
                {"DGC", "", "UDID##DGC####"},
                {"", "", "UDID######"},
                {"hp", "xp", "UDID##HP##XP##"},
                {"hp  ", "x p  ", "UDID##HP##X P##"},
                {" hp", "xp", "UDID## HP##XP##"}};
    for (const auto& row : rows) {
        PlainGenerator generator(row.vendor, row.product);
        CScsiDeviceData record = recordOf("IBM     ", "OTHER  ");
        EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), row.prefix);
        EXPECT_EQ(record.m_vendorId, "IBM     ");
        EXPECT_EQ(record.m_productId, "OTHER  ");
    }
}

TEST(UdidGenerator, KeepsNothingOfAFailedCall) {
    PlainGenerator generator("HP", "XP");
    CScsiDeviceData record = recordOf("HP", "XP");
    EXPECT_THROW(generator.getUniqueDeviceID(&record), CUdidGeneratorException);
    EXPECT_EQ(generator.getGeneratorName(), "HP:XP");
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##HP##XP##");
}

TEST(UdidGenerator, NothingIsTraced) {
    PlainGenerator generator("HP", "XP");
    test::TraceCapture trace;
    generator.registerTraceLog(trace.log());
    CScsiDeviceData record = recordOf("HP", "XP");
    generator.claimDevice(&record);
    generator.getUniqueDeviceIDPrefix(&record);
    EXPECT_TRUE(trace.lines().empty());
}

TEST(UdidGeneratorException, FailureCarriesTheGeneratorsKeys) {
    PlainGenerator generator("DGC", "");
    CScsiDeviceData record = recordOf("DGC", "");
    try {
        generator.getUniqueDeviceID(&record);
        FAIL() << "nothing was thrown";
    } catch (const CUdidGeneratorException& failure) {
        EXPECT_EQ(failure.m_messageId, "MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA");
        EXPECT_EQ(failure.m_vendor, "DGC");
        EXPECT_EQ(failure.m_product, "");
        EXPECT_EQ(failure.getMessageId(), "MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:DGC:");
    }
}

TEST(UdidGeneratorException, MessageIdIsTheThreeTextsWithColons) {
    EXPECT_EQ(CUdidGeneratorException("ID", "vendor", "product").getMessageId(),
              "ID:vendor:product");
    EXPECT_EQ(CUdidGeneratorException("ID", "", "").getMessageId(), "ID::");
    EXPECT_EQ(CUdidGeneratorException("", "", "").getMessageId(), "::");
}

TEST(UdidGeneratorException, MessageIdsAreSpelledAsPublished) {
    EXPECT_STREQ(udid::kInvalidPageSize, "MSG_UDID_ERROR_INVALID_SCSI_PAGE_SIZE");
    EXPECT_STREQ(udid::kInvalidPageData, "MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA");
    EXPECT_STREQ(udid::kInvalidEnclosureData, "MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA");
    EXPECT_STREQ(udid::kInvalidDeviceData, "MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA");
}

TEST(UdidGeneratorException, IsAPlainValue) {
    static_assert(!std::is_polymorphic_v<CUdidGeneratorException>);
    const CUdidGeneratorException first("ID", "V", "P");
    CUdidGeneratorException second("", "", "");
    second = first;
    EXPECT_EQ(CUdidGeneratorException(second).getMessageId(), "ID:V:P");
}

}  // namespace
