#include "scsitool/udid/taq_udid_generator.h"

#include <gtest/gtest.h>

#include "page_builder.h"
#include "scsitool/udid/default_udid_generator.h"
#include "trace_capture.h"

namespace {

using test::Bytes;
using test::Page;
using test::recordOf;
using test::store;
using test::TraceCapture;
using Texts = std::vector<std::string>;

CScsiDeviceData namedRecord() {
    CScsiDeviceData record = recordOf("Acme", "Disk");
    store(record, 0x83, Page::names().naa({0x60, 0xAB}));
    return record;
}

TEST(TaqGenerator, ClaimsEveryDevice) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    CScsiDeviceData record = recordOf("ACME", "DISK");
    EXPECT_TRUE(generator.claimDevice(&record));
    EXPECT_TRUE(generator.claimDevice(nullptr));
    EXPECT_EQ(record.m_vendorId, "ACME    ");
    EXPECT_EQ(generator.getGeneratorName(), "TAQ:TAQ");
}

TEST(TaqGenerator, PrefixKeepsTheVendorsCase) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    CDefaultUdidGenerator other("", "");
    CScsiDeviceData record = recordOf("acme", "Disk");
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "TAQ_UDID##acme##TAQ_MODEL##");
    EXPECT_EQ(record.m_vendorId, "acme");
    EXPECT_EQ(record.m_productId, "Disk            ");
    EXPECT_EQ(other.getUniqueDeviceIDPrefix(&record), "UDID##ACME##DISK##");
}

TEST(TaqGenerator, PrefixOfABlankVendorHasNone) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    CScsiDeviceData record = recordOf("", "Disk");
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "TAQ_UDID####TAQ_MODEL##");
}

TEST(TaqGenerator, BodyIsTheIdentifierAlone) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    CScsiDeviceData record = namedRecord();
    store(record, 0x80, Page::serial("S1"));
    EXPECT_EQ(generator.getUniqueDeviceID(&record), "disk-scsi-60ab");
}

TEST(TaqGenerator, NeitherPageListNorVendorIsNeeded) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    CScsiDeviceData record = namedRecord();
    record.m_supportedPages.clear();
    record.m_vendorId = "        ";
    EXPECT_EQ(generator.getUniqueDeviceID(&record), "disk-scsi-60ab");
}

TEST(TaqGenerator, DeviceWithoutAnIdentifierIsNoTaqDevice) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    CScsiDeviceData record = recordOf("ACME", "DISK");
    EXPECT_EQ(generator.getUniqueDeviceID(&record), "##NO_TAQ_DEVICE");
    // The serial of page 0x80 needs a vendor and a model that the record of zeros does not have.
    store(record, 0x80, Page::serial("S1"));
    EXPECT_EQ(generator.getUniqueDeviceID(&record), "##NO_TAQ_DEVICE");
}

TEST(TaqGenerator, ExtractionIsTraced) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    TraceCapture trace;
    generator.registerTraceLog(trace.log());
    CScsiDeviceData record = recordOf("ACME", "DISK");
    generator.getUniqueDeviceID(&record);
    ASSERT_EQ(trace.lines().size(), 6U);
    EXPECT_EQ(trace.lines().front(),
              "[1] CGenericUdidGenerator::getInformationFromPage83: page 0x83 is NULL");
    EXPECT_EQ(trace.lines().back(),
              "[1] CGenericUdidGenerator::getDeviceScsiInfo: For device:[/dev/sda], no serial "
              "number found");
}

TEST(TaqGenerator, NothingIsTracedWithoutALog) {
    CTAQUdidGenerator generator("TAQ", "TAQ");
    CScsiDeviceData record = recordOf("ACME", "DISK");
    EXPECT_EQ(generator.getUniqueDeviceID(&record), "##NO_TAQ_DEVICE");
}

}  // namespace
