#include "scsitool/udid/udid_text.h"

#include <gtest/gtest.h>

#include "page_builder.h"
#include "recording_reporter.h"

namespace {

using test::counting;
using test::Page;
using test::RecordingReporter;
using test::recordOf;
using test::store;
using udid::Format;
using Lines = std::vector<std::string>;

class Own : public CUdidGenerator {
  public:
    Own() : CUdidGenerator("OWN", "DISK") {}
    std::string getUniqueDeviceID(CScsiDeviceData*) override { return {}; }
};

class UdidTextTest : public testing::Test {
  protected:
    /// What `act` throws, after what it reports.
    template <class Act>
    Lines heard(Act act) {
        RecordingReporter reporter;
        const udid::ReportScope scope(&reporter);
        try {
            act();
        } catch (const CUdidGeneratorException& failure) {
            reporter.lines.push_back("!" + failure.getMessageId());
        }
        return reporter.lines;
    }
    Lines required(unsigned code, std::size_t needed) {
        return heard([&] { udid::require(record, code, needed, {udid::kInvalidPageData, &own}); });
    }

    Own own;
    CScsiDeviceData record = recordOf("OWN", "DISK");
};

TEST_F(UdidTextTest, RequireTakesAPageThatIsLongEnough) {
    store(record, 0x83, Page::vpd(0x83, 68));
    EXPECT_EQ(required(0x83, 67), Lines{"page 131, 68 bytes"});
    EXPECT_EQ(required(0x83, 68), Lines{"page 131, 68 bytes"});
    EXPECT_EQ(required(0x83, 69),
              (Lines{"page 131, 68 bytes", "remark page 0x83 has 68 bytes, 69 are needed",
                     "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:OWN:DISK"}));
    const udid::SourcePage page = udid::require(record, 0x83, 68, {udid::kInvalidPageData, &own});
    EXPECT_EQ(page.code, 0x83U);
    EXPECT_EQ(page.view.length(), 68U);
}

TEST_F(UdidTextTest, RequireSaysWhichPageIsMissing) {
    EXPECT_EQ(required(0xC8, 1), (Lines{"page 200, missing", "remark page 0xc8 is missing",
                                        "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:OWN:DISK"}));
    test::storeEmpty(record, 0xC8);
    EXPECT_EQ(required(0xC8, 1).at(1), "remark page 0xc8 is missing");
    EXPECT_EQ(required(0, 44).at(1), "remark the standard INQUIRY data is missing");
    store(record, 0, Page::inquiry("OWN", "DISK", 43));
    EXPECT_EQ(required(0, 44).at(1),
              "remark the standard INQUIRY data has 43 bytes, 44 are needed");
}

TEST_F(UdidTextTest, AFailureWithoutAGeneratorHasNoKeys) {
    EXPECT_EQ(heard([] { udid::fail({udid::kInvalidEnclosureData}, "why"); }),
              (Lines{"remark why", "!MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::"}));
}

TEST_F(UdidTextTest, AFailureNeedsNoListener) {
    EXPECT_THROW(udid::fail({udid::kInvalidEnclosureData}, "why"), CUdidGeneratorException);
    EXPECT_THROW(udid::require(record, 0x83, 1, {udid::kInvalidPageData}), CUdidGeneratorException);
}

TEST_F(UdidTextTest, PageLengthIsDemandedOnItsOwn) {
    const auto lengths = [&](unsigned length) {
        store(record, 0x83, Page::vpd(0x83, 40).pageLength(length));
        return heard([&] {
            udid::requirePageLength(udid::takePage(record, 0x83), 20, {udid::kInvalidDeviceData});
        });
    };
    EXPECT_EQ(lengths(19),
              (Lines{"page 131, 40 bytes",
                     "remark the page length of page 0x83 is 19, at least 20 is needed",
                     "!MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA::"}));
    EXPECT_EQ(lengths(20), Lines{"page 131, 40 bytes"});
    EXPECT_EQ(lengths(0x1300), Lines{"page 131, 40 bytes"});
}

TEST_F(UdidTextTest, APageThatAUdidCanDoWithoutIsTakenWhenItIsLongEnough) {
    store(record, 0xD0, Page::vpd(0xD0, 23));
    const auto length = [&](std::size_t needed) {
        return udid::takeIfLong(record, 0xD0, needed, "the part is empty").view.length();
    };
    EXPECT_EQ(length(22), 23U);
    EXPECT_EQ(length(23), 23U);
    EXPECT_EQ(length(24), 0U);
    EXPECT_EQ(heard([&] { length(24); }),
              (Lines{"page 208, 23 bytes",
                     "remark page 0xd0 has 23 bytes, 24 are needed: the part is empty"}));
}

class UnitName : public UdidTextTest {
  protected:
    Lines named(const Page& names) {
        store(record, 0x83, names);
        return heard([&] {
            udid::UdidText body;
            body.unitName(udid::takePage(record, 0x83), Format::kHexUpper);
            text = body.take();
        });
    }
    static test::Bytes naa6() {
        test::Bytes name = counting(16, 0x60);
        return name;
    }
    std::string text;
};

TEST_F(UnitName, IsTheSixteenBytesFromByte8) {
    EXPECT_EQ(
        named(Page::names().naa(naa6())),
        (Lines{"page 131, 24 bytes", "piece hex-upper 131:8+16 606162636465666768696A6B6C6D6E6F"}));
    EXPECT_EQ(text, "606162636465666768696A6B6C6D6E6F");
}

TEST_F(UnitName, IsTakenWhateverItIsAndRemarked) {
    const std::string none =
        "remark bytes 8 to 23 of page 0x83 are no NAA name of the logical unit: the first "
        "designator has ";
    const struct {
        Page names;
        const char* why;
    } rows[] = {
        {Page::names().designator(2, 0, 3, naa6()),
         "code set 2, association 0, type 3, 16 bytes, NAA format 6"},
        {Page::names().designator(1, 1, 3, naa6()),
         "code set 1, association 1, type 3, 16 bytes, NAA format 6"},
        {Page::names().designator(1, 0, 2, naa6()), "code set 1, association 0, type 2, 16 bytes"},
        {Page::names().naa(counting(8, 0x50)),
         "code set 1, association 0, type 3, 8 bytes, NAA format 5"},
        {Page::names().naa(counting(17, 0x60)),
         "code set 1, association 0, type 3, 17 bytes, NAA format 6"},
        {Page::names().naa(counting(16, 0x50)),
         "code set 1, association 0, type 3, 16 bytes, NAA format 5"},
    };
    for (const auto& row : rows) {
        const Lines lines = named(row.names);
        EXPECT_EQ(lines.at(1), none + row.why);
        EXPECT_EQ(lines.size(), 3U);
        EXPECT_EQ(text.size(), 32U);
    }
}

TEST_F(UdidTextTest, BytesOfAFormatThatIsNotMadeOfBytesAreNone) {
    store(record, 0x83, Page::vpd(0x83, 40).text(4, "ABC"));
    for (const Format format : {Format::kLiteral, Format::kDeviceName, Format::kHostName}) {
        udid::UdidText body;
        body.bytes(udid::takePage(record, 0x83), format, 4, 3);
        EXPECT_EQ(body.str(), "");
    }
}

TEST_F(UdidTextTest, ARecordsFieldHasItsSourceOnlyWhenThatHoldsTheText) {
    store(record, 0, Page::inquiry("OWN", "DISK"));
    const auto added = [&](const std::string& vendor) {
        return heard([&] {
            udid::UdidText body;
            body.recordField(record, Format::kRightTrimmedText, scsi::kVendorField, vendor);
        });
    };
    EXPECT_EQ(added("OWN"), Lines{"piece right-trimmed-text 0:8+8 OWN"});
    EXPECT_EQ(added("OTHER"), Lines{"piece right-trimmed-text OTHER"});
}

}  // namespace
