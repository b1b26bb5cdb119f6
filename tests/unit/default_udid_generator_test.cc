#include "scsitool/udid/default_udid_generator.h"

#include <gtest/gtest.h>

#include "device_host.h"
#include "page_builder.h"
#include "scsitool/tools/string_tool.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::Bytes;
using test::DeviceHost;
using test::Page;
using test::recordOf;
using test::store;
using test::TraceCapture;
using Texts = std::vector<std::string>;

const Bytes kName = {0x60, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xAB, 0xCD, 0xEF, 0xFF, 0x00, 0x10};
constexpr char kNameText[] = "60010203040506070809abcdefff0010";

RecordedHostData hostNamed(const std::string& name) {
    RecordedHostData data;
    data.hostName = name;
    return data;
}

CScsiDeviceData namedRecord() {
    CScsiDeviceData record = recordOf("Acme", "Disk 5");
    store(record, 0x80, Page::serial("  S/N 1 "));
    store(record, 0x83, Page::names().naa(kName));
    return record;
}

std::string bodyOf(CScsiDeviceData& record) {
    CDefaultUdidGenerator generator("", "");
    return generator.getUniqueDeviceID(&record);
}

TEST(DefaultGenerator, ClaimsEveryDevice) {
    CDefaultUdidGenerator generator("", "");
    CScsiDeviceData record = recordOf("", "");
    EXPECT_TRUE(generator.claimDevice(&record));
    EXPECT_TRUE(generator.claimDevice(nullptr));
    CScsiDeviceData named = recordOf("ACME", "DISK");
    EXPECT_TRUE(generator.claimDevice(&named));
    EXPECT_EQ(named.m_vendorId, "ACME    ");
    EXPECT_EQ(generator.getGeneratorName(), ":");
}

TEST(DefaultGenerator, PrefixIsTheRecordsIdentityInUpperCase) {
    const struct {
        const char* vendor;
        const char* product;
        const char* prefix;
    } rows[] = {{"IBM     ", "2145 Disk       ", "UDID##IBM##2145_DISK##"},
                {"a b     ", "  x y           ", "UDID##A B##__X_Y##"},
                {"        ", "                ", "UDID######"}};
    for (const auto& row : rows) {
        CDefaultUdidGenerator generator("", "");
        CScsiDeviceData record = recordOf(row.vendor, row.product);
        EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), row.prefix);
        EXPECT_EQ(record.m_vendorId, CStringTool::rtrim(row.vendor, ' '));
        EXPECT_EQ(record.m_productId, CStringTool::rtrim(row.product, ' '));
    }
}

TEST(DefaultGenerator, BodyIsTheSerialAndTheIdentifier) {
    const DeviceHost host(hostNamed("db01"));
    CScsiDeviceData record = namedRecord();
    EXPECT_EQ(bodyOf(record), std::string("S/N 1##") + kNameText);
    EXPECT_EQ(host.requests, Texts{});
    EXPECT_EQ(record.m_vendorId, "Acme");
    EXPECT_EQ(record.m_productId, "Disk 5");
}

TEST(DefaultGenerator, BodyWithoutASerialBeginsWithTheSeparator) {
    const DeviceHost host(hostNamed("db01"));
    CScsiDeviceData record = recordOf("ACME", "DISK");
    store(record, 0x83, Page::names().naa(kName));
    EXPECT_EQ(bodyOf(record), std::string("##") + kNameText);
}

TEST(DefaultGenerator, SerialAloneIsNotEnough) {
    const DeviceHost host(hostNamed("db01"));
    CScsiDeviceData record = recordOf("ACME    ", "DISK0123456789XY");
    store(record, 0x80, Page::serial("S1"));
    EXPECT_EQ(bodyOf(record), "/dev/sda@db01");
}

TEST(DefaultGenerator, DeviceWithoutPagesIsItsPathAtThisHost) {
    const DeviceHost host(hostNamed("db01"));
    CScsiDeviceData record = recordOf("ACME", "DISK", "/dev/sdq");
    EXPECT_EQ(bodyOf(record), "/dev/sdq@db01");
    EXPECT_EQ(host.requests, Texts{"hostname"});
}

TEST(DefaultGenerator, PageListMustHaveTheCodeZero) {
    const DeviceHost host(hostNamed("db01"));
    const struct {
        std::vector<unsigned> codes;
        bool usesPages;
    } rows[] = {{{}, false}, {{0x80, 0x83}, false}, {{0x80, 0x83, 0x00}, true}, {{0x00}, true}};
    for (const auto& row : rows) {
        CScsiDeviceData record = namedRecord();
        record.m_supportedPages = row.codes;
        EXPECT_EQ(bodyOf(record),
                  row.usesPages ? std::string("S/N 1##") + kNameText : "/dev/sda@db01");
        // Without the list the vendor is not looked at.
        EXPECT_EQ(record.m_vendorId, row.usesPages ? "Acme" : "Acme    ");
    }
}

TEST(DefaultGenerator, BlankVendorGivesThePathAtThisHost) {
    const DeviceHost host(hostNamed("db01"));
    CScsiDeviceData record = namedRecord();
    record.m_vendorId = "        ";
    EXPECT_EQ(bodyOf(record), "/dev/sda@db01");
    EXPECT_EQ(record.m_vendorId, "");
    record.m_vendorId = "";
    EXPECT_EQ(bodyOf(record), "/dev/sda@db01");
}

TEST(DefaultGenerator, HostWithoutANameIsUnknown) {
    RecordedHostData data;
    data.hostName.reset();
    const DeviceHost host(data);
    CScsiDeviceData record = recordOf("ACME", "DISK");
    EXPECT_EQ(bodyOf(record), "/dev/sda@UNKNOWN");
}

TEST(DefaultGenerator, HostNameMustFitItsBuffer) {
    for (const std::size_t length : {510U, 511U, 512U}) {
        const DeviceHost host(hostNamed(std::string(length, 'h')));
        CScsiDeviceData record = recordOf("ACME", "DISK");
        EXPECT_EQ(bodyOf(record),
                  "/dev/sda@" + (length < 512 ? std::string(length, 'h') : "UNKNOWN"))
            << length;
    }
}

TEST(DefaultGenerator, HostThatIsCurrentIsNamed) {
    CScsiDeviceData record = recordOf("ACME", "DISK");
    {
        const DeviceHost host(hostNamed("db01"));
        EXPECT_EQ(bodyOf(record), "/dev/sda@db01");
    }
    const DeviceHost host(hostNamed("db02"));
    EXPECT_EQ(bodyOf(record), "/dev/sda@db02");
}

TEST(DefaultGenerator, ExtractionIsSilent) {
    const DeviceHost host(hostNamed("db01"));
    CDefaultUdidGenerator generator("", "");
    TraceCapture trace;
    generator.registerTraceLog(trace.log());
    CScsiDeviceData named = namedRecord();
    CScsiDeviceData nameless = recordOf("ACME", "DISK");
    generator.getUniqueDeviceID(&named);
    generator.getUniqueDeviceID(&nameless);
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(DefaultGenerator, PageOfAFewBytesNeverFails) {
    const DeviceHost host(hostNamed("db01"));
    for (std::size_t length = 1; length <= 12; ++length) {
        CScsiDeviceData record = recordOf("ACME", "DISK");
        store(record, 0x80, Page::serial("S/N 1234").cut(length));
        store(record, 0x83, Page::names().designator(1, 2, 3, kName).cut(length));
        EXPECT_EQ(bodyOf(record), "/dev/sda@db01") << length;
    }
}

}  // namespace
