#include "scsitool/udid/generic_udid_generator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "page_builder.h"
#include "trace_capture.h"

namespace {

using test::Bytes;
using test::counting;
using test::Page;
using test::recordOf;
using test::store;
using test::storeEmpty;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr unsigned kBinary = 1;
constexpr unsigned kAscii = 2;
constexpr unsigned kUnit = 0;
constexpr unsigned kPort = 1;
constexpr unsigned kTarget = 2;
constexpr unsigned kVendorSpecific = 0;
constexpr unsigned kT10 = 1;
constexpr unsigned kEui = 2;
constexpr unsigned kNaa = 3;
constexpr unsigned kPortGroup = 5;

Bytes text(const std::string& characters) {
    return Bytes(characters.begin(), characters.end());
}

Bytes naaBytes(unsigned format, std::size_t count) {
    Bytes bytes = counting(count, 0x10);
    bytes[0] = static_cast<std::uint8_t>(format << 4 | 0x0A);
    return bytes;
}

std::string hexOf(const Bytes& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string result;
    for (const std::uint8_t byte : bytes) {
        result += digits[byte >> 4];
        result += digits[byte & 15];
    }
    return result;
}

// One record, a generator and the fields that it fills.
struct Extraction {
    explicit Extraction(const std::string& vendor = "ACME", const std::string& product = "DISK")
        : record(recordOf(vendor, product)) {}
    Extraction& with(unsigned code, const Page& page) {
        store(record, code, page);
        return *this;
    }
    Extraction& named(const std::string& vendor, const std::string& model) {
        vendor.copy(info.vendor, sizeof info.vendor - 1);
        model.copy(info.model, sizeof info.model - 1);
        return *this;
    }
    Extraction& traced(int level = 9) {
        trace = std::make_unique<TraceCapture>(level);
        generator.registerTraceLog(trace->log());
        return *this;
    }
    int run() { return generator.getDeviceScsiInfo(&record, info); }
    int page80(int maxLength = 256) {
        return generator.getInformationFromPage80(&record, info, info.serial, info.serialShort,
                                                  maxLength);
    }
    int page83(int maxLength = 256) {
        return generator.getInformationFromPage83(&record, info, info.serial, info.serialShort,
                                                  maxLength, info.unitSerialNumber, info.wwn,
                                                  info.wwnVendorExtension, info.tgptGroup);
    }

    CScsiDeviceData record;
    CDeviceScsiInfo info = {};
    CGenericUdidGenerator generator{"GENERIC", "GENERIC"};
    std::unique_ptr<TraceCapture> trace;
};

// --- The operations of a generator

TEST(GenericGenerator, ClaimsNothing) {
    CGenericUdidGenerator generator("ACME", "DISK");
    CScsiDeviceData record("/dev/sda", "", "", 0, 0, 0, -1, "ACME", "DISK", "", 0);
    EXPECT_FALSE(generator.claimDevice(&record));
    EXPECT_FALSE(generator.claimDevice(nullptr));
}

TEST(GenericGenerator, HasNoUdidOfItsOwn) {
    Extraction extraction;
    EXPECT_EQ(extraction.generator.getUniqueDeviceID(&extraction.record), "NO_DEVICE_INFORMATION");
    EXPECT_EQ(extraction.generator.getUniqueDeviceID(nullptr), "NO_DEVICE_INFORMATION");
}

TEST(GenericGenerator, PrefixIsTheRecordsIdentity) {
    const struct {
        const char* vendor;
        const char* product;
        const char* prefix;
    } rows[] = {
        {"IBM     ", "2145 Disk       ", "UDID##IBM##2145_DISK##"},
        {"a b ", " c  d ", "UDID##A B##_C__D##"},
        {"", "", "UDID######"},
        {"        ", "                ", "UDID######"},
    };
    for (const auto& row : rows) {
        CGenericUdidGenerator generator("GENERIC", "GENERIC");
        CScsiDeviceData record("/dev/sda", "", "", 0, 0, 0, -1, row.vendor, row.product, "", 0);
        EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), row.prefix);
    }
}

TEST(GenericGenerator, PrefixTrimsTheRecord) {
    CGenericUdidGenerator generator("GENERIC", "GENERIC");
    CScsiDeviceData record("/dev/sda", "", "", 0, 0, 0, -1, "IBM     ", "2145 Disk  ", "", 0);
    generator.getUniqueDeviceIDPrefix(&record);
    EXPECT_EQ(record.m_vendorId, "IBM");
    EXPECT_EQ(record.m_productId, "2145 Disk");
}

// --- The search of page 0x83

TEST(GenericGenerator, NaaSixWinsOverNaaFiveBeforeIt) {
    Extraction extraction;
    const Bytes six = naaBytes(6, 16);
    extraction.with(0x83, Page::names().naa(naaBytes(5, 8)).naa(six));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_EQ(extraction.info.serial, "3" + hexOf(six));
    EXPECT_EQ(extraction.info.serialShort, hexOf(six));
    EXPECT_EQ(extraction.info.wwn, hexOf(six).substr(0, 16));
    EXPECT_EQ(extraction.info.wwnVendorExtension, hexOf(six).substr(16));
}

TEST(GenericGenerator, NaaFiveHasNoVendorExtension) {
    Extraction extraction;
    extraction.with(0x83, Page::names().naa(naaBytes(5, 8)));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_EQ(extraction.info.serial, "3" + hexOf(naaBytes(5, 8)));
    EXPECT_EQ(extraction.info.wwn, hexOf(naaBytes(5, 8)));
    EXPECT_STREQ(extraction.info.wwnVendorExtension, "");
}

TEST(GenericGenerator, WwnHoldsSixteenDigitsAndTheExtensionTheNextSixteen) {
    for (std::size_t count = 1; count <= 20; ++count) {
        Extraction extraction;
        const Bytes name = naaBytes(5, count);
        extraction.with(0x83, Page::names().naa(name));
        EXPECT_EQ(extraction.run(), 0);
        EXPECT_EQ(extraction.info.wwn, hexOf(name).substr(0, 16)) << count;
        EXPECT_EQ(extraction.info.wwnVendorExtension, count <= 8 ? "" : hexOf(name).substr(16, 16))
            << count;
    }
}

// Every kind of identifier, from the one that wins over all others to the last.
struct Kind {
    unsigned codeSet;
    unsigned type;
    Bytes value;
    std::string serialShort;
};

std::vector<Kind> kindsInPrecedence() {
    return {{kBinary, kNaa, naaBytes(6, 16), hexOf(naaBytes(6, 16))},
            {kAscii, kNaa, text("`naa6ascii"), "`naa6ascii"},  // the high nibble of "`" is 6
            {kBinary, kNaa, naaBytes(5, 8), hexOf(naaBytes(5, 8))},
            {kAscii, kNaa, text("Pnaa5ascii"), "Pnaa5ascii"},  // the high nibble of "P" is 5
            {kBinary, kNaa, naaBytes(2, 8), hexOf(naaBytes(2, 8))},
            {kAscii, kNaa, text("2000naa"), "2000naa"},
            {kBinary, kEui, counting(8, 0x80), hexOf(counting(8, 0x80))},
            {kAscii, kEui, text("eui.1"), "eui.1"},
            {kBinary, kT10, counting(9, 0x70), hexOf(counting(9, 0x70))},
            {kAscii, kT10, text("ACME    DISK"), "ACME    DISK"},
            {kBinary, kVendorSpecific, counting(5, 0xA0), hexOf(counting(5, 0xA0))},
            {kAscii, kVendorSpecific, text("own"), "own"}};
}

TEST(GenericGenerator, KindsOfIdentifierHaveTheirPrecedence) {
    const std::vector<Kind> kinds = kindsInPrecedence();
    // The page has the kinds from the last to the first; one after the other of the best is left
    // out.
    for (std::size_t best = 0; best < kinds.size(); ++best) {
        Page page = Page::names();
        for (std::size_t i = kinds.size(); i > best; --i) {
            page.designator(kinds[i - 1].codeSet, kUnit, kinds[i - 1].type, kinds[i - 1].value);
        }
        Extraction extraction;
        extraction.named("ACME    ", "DISK0123456789XY").with(0x83, page);
        EXPECT_EQ(extraction.page83(), 0) << best;
        EXPECT_EQ(extraction.info.serialShort, kinds[best].serialShort) << best;
        EXPECT_EQ(extraction.info.serial[0], static_cast<char>('0' + kinds[best].type)) << best;
    }
}

TEST(GenericGenerator, FirstOfTwoDescriptorsOfAKindIsUsed) {
    Extraction extraction;
    Bytes second = naaBytes(6, 16);
    second[15] = 0xFF;
    extraction.with(0x83, Page::names().naa(naaBytes(6, 16)).naa(second));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_EQ(extraction.info.serialShort, hexOf(naaBytes(6, 16)));
}

TEST(GenericGenerator, PortGroupIsRecordedAndTheT10NameUsed) {
    Extraction extraction;
    extraction.with(0x83, Page::names()
                              .designator(kAscii, kUnit, kT10, text("ACME    SN0001"))
                              .designator(kBinary, kPort, kPortGroup, {0, 0, 0, 1}));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_STREQ(extraction.info.tgptGroup, "1");
    EXPECT_STREQ(extraction.info.serial, "1ACME    SN0001");
    EXPECT_STREQ(extraction.info.serialShort, "ACME    SN0001");
    EXPECT_STREQ(extraction.info.wwn, "");
}

TEST(GenericGenerator, PortGroupIsWrittenInLowerCaseWithoutZerosBefore) {
    const struct {
        Bytes value;
        const char* group;
    } rows[] = {{{9, 9, 0, 0}, "0"},
                {{0, 0, 0x00, 0x0A}, "a"},
                {{0, 0, 0x01, 0x00}, "100"},
                {{0, 0, 0xFF, 0xFE}, "fffe"}};
    for (const auto& row : rows) {
        Extraction extraction;
        extraction.with(0x83, Page::names().designator(kBinary, kPort, kPortGroup, row.value));
        EXPECT_EQ(extraction.page83(), 1);
        EXPECT_STREQ(extraction.info.tgptGroup, row.group);
    }
}

TEST(GenericGenerator, PortGroupOfTheUnitIsRecordedToo) {
    Extraction extraction;
    extraction.with(0x83, Page::names().designator(kBinary, kUnit, kPortGroup, {0, 0, 0, 7}));
    EXPECT_EQ(extraction.page83(), 1);
    EXPECT_STREQ(extraction.info.tgptGroup, "7");
}

TEST(GenericGenerator, LastPortGroupStays) {
    Extraction extraction;
    extraction.with(0x83, Page::names()
                              .designator(kBinary, kPort, kPortGroup, {0, 0, 0, 1})
                              .designator(kBinary, kPort, kPortGroup, {0, 0, 0, 2}));
    EXPECT_EQ(extraction.page83(), 1);
    EXPECT_STREQ(extraction.info.tgptGroup, "2");
}

TEST(GenericGenerator, DescriptorOfTheTargetDeviceIsNeverUsed) {
    for (unsigned type = 0; type < 16; ++type) {
        for (const unsigned codeSet : {kBinary, kAscii}) {
            for (const unsigned association : {kTarget, 3U}) {
                Extraction extraction;
                extraction.named("ACME    ", "DISK0123456789XY")
                    .with(0x83,
                          Page::names().designator(codeSet, association, type, naaBytes(6, 16)));
                EXPECT_EQ(extraction.page83(), 1) << type;
                EXPECT_STREQ(extraction.info.tgptGroup, "") << type;
                EXPECT_STREQ(extraction.info.serialShort, "") << type;
            }
        }
    }
}

TEST(GenericGenerator, DescriptorOfATargetPortIsNoName) {
    for (const unsigned type : {kVendorSpecific, kT10, kEui, kNaa}) {
        Extraction extraction;
        extraction.named("ACME    ", "DISK0123456789XY")
            .with(0x83, Page::names().designator(kBinary, kPort, type, naaBytes(6, 16)));
        EXPECT_EQ(extraction.page83(), 1) << type;
    }
}

TEST(GenericGenerator, OtherTypesAndCodeSetsAreNotUsed) {
    for (unsigned type = 0; type < 16; ++type) {
        for (unsigned codeSet = 0; codeSet < 16; ++codeSet) {
            Extraction extraction;
            extraction.named("ACME    ", "DISK0123456789XY")
                .with(0x83, Page::names().designator(codeSet, kUnit, type, naaBytes(6, 16)));
            const bool used = type <= kNaa && (codeSet == kBinary || codeSet == kAscii);
            EXPECT_EQ(extraction.page83(), used ? 0 : 1) << type << " " << codeSet;
        }
    }
}

TEST(GenericGenerator, OnlyTheLowNibblesAndTheAssociationAreLookedAt) {
    // Protocol identifier in the high nibble of byte 0, PIV in bit 7 of byte 1.
    Extraction extraction;
    extraction.with(0x83, Page::names().naa(naaBytes(6, 16)).set(4, 0x51).set(5, 0x83));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_EQ(extraction.info.serial, "3" + hexOf(naaBytes(6, 16)));
}

TEST(GenericGenerator, VendorSpecificNameFollowsVendorAndModel) {
    Extraction extraction;
    extraction.named("ACME    ", "DISK0123456789XY")
        .with(0x83, Page::names().designator(kAscii, kUnit, kVendorSpecific, text("own")));
    EXPECT_EQ(extraction.page83(), 0);
    EXPECT_STREQ(extraction.info.serial, "0ACME    DISK0123456789XYown");
    EXPECT_STREQ(extraction.info.serialShort, "own");
}

TEST(GenericGenerator, VendorSpecificNameWithoutVendorAndModelIsNotUsed) {
    Extraction extraction;
    extraction.traced(1).with(
        0x83, Page::names().designator(kAscii, kUnit, kVendorSpecific, text("own")));
    EXPECT_EQ(extraction.page83(), 1);
    EXPECT_STREQ(extraction.info.serialShort, "");
    EXPECT_EQ(
        extraction.trace->lines(),
        (Texts{"[1] CGenericUdidGenerator::prependVendorModel: expected length 24, got length "
               "0\n",
               "[1] CGenericUdidGenerator::checkFillIdPage0x83: prepend vendor model failed "
               "for []"}));
}

// --- What is needed of the buffer

struct Need {
    unsigned codeSet;
    unsigned type;
    std::size_t count;  // bytes of the identifier
    int need;
};

TEST(GenericGenerator, IdentifierMustFitTheBuffer) {
    const Need rows[] = {{kBinary, kEui, 8, 18},
                         {kAscii, kEui, 8, 10},
                         {kBinary, kNaa, 16, 34},
                         {kBinary, kVendorSpecific, 8, 42},
                         {kAscii, kVendorSpecific, 8, 34}};
    for (const Need& row : rows) {
        for (const int maxLength : {row.need - 1, row.need, row.need + 1}) {
            Extraction extraction;
            extraction.named("ACME    ", "DISK0123456789XY").traced(1);
            const Bytes value = naaBytes(6, row.count);
            extraction.with(0x83, Page::names().designator(row.codeSet, kUnit, row.type, value));
            // Exactly as long as the operation is told, and zeros as its caller makes it.
            const auto size = static_cast<std::size_t>(maxLength);
            const std::unique_ptr<char[]> serial(new char[size]());
            const std::unique_ptr<char[]> serialShort(new char[size]());
            const int found = extraction.generator.getInformationFromPage83(
                &extraction.record, extraction.info, serial.get(), serialShort.get(), maxLength,
                nullptr, nullptr, nullptr, nullptr);
            EXPECT_EQ(found, maxLength < row.need ? 1 : 0) << row.need << " of " << maxLength;
            if (found == 0) {
                const std::string expected =
                    row.codeSet == kBinary ? hexOf(value) : std::string(value.begin(), value.end());
                EXPECT_EQ(serialShort.get(), expected);
                EXPECT_EQ(extraction.trace->lines(), Texts{});
            } else {
                EXPECT_EQ(
                    extraction.trace->lines().front(),
                    "[1] CGenericUdidGenerator::checkFillIdPage0x83: For [], buffer Length [" +
                        std::to_string(maxLength) + "] too short - need [" +
                        std::to_string(row.need) + "]");
            }
        }
    }
}

TEST(GenericGenerator, LongestIdentifiersOfARecordAreTaken) {
    // Needs of 256 are the most that the record's fields take.
    const struct {
        unsigned codeSet;
        unsigned type;
        std::size_t most;
    } rows[] = {{kBinary, kEui, 127},
                {kBinary, kNaa, 127},
                {kBinary, kVendorSpecific, 115},
                {kAscii, kVendorSpecific, 230}};
    for (const auto& row : rows) {
        for (const std::size_t count : {row.most - 1, row.most, row.most + 1}) {
            Extraction extraction;
            Bytes value(count, 0x61);
            extraction.named("ACME    ", "DISK0123456789XY")
                .with(0x83, Page::names().designator(row.codeSet, kUnit, row.type, value));
            EXPECT_EQ(extraction.page83(), count <= row.most ? 0 : 1) << row.most << " " << count;
            const std::string expected =
                row.codeSet == kBinary ? hexOf(value) : std::string(count, 'a');
            EXPECT_EQ(extraction.info.serialShort, count <= row.most ? expected : "")
                << row.most << " " << count;
        }
    }
}

TEST(GenericGenerator, LongestAsciiIdentifierFillsTheField) {
    // 254 bytes need all 256; one more byte does not fit.
    for (const std::size_t count : {253U, 254U, 255U}) {
        Extraction extraction;
        SScsiIdSearchValues row = {kT10, 255, kAscii};
        Bytes descriptor = {kAscii, kT10, 0, static_cast<std::uint8_t>(count)};
        descriptor.resize(4 + count, 'x');
        const int taken = extraction.generator.checkFillIdPage0x83(
            extraction.info, descriptor.data(), row, extraction.info.serial,
            extraction.info.serialShort, 256, nullptr, nullptr, nullptr);
        EXPECT_EQ(taken, count <= 254 ? 0 : 1) << count;
        EXPECT_EQ(extraction.info.serialShort, std::string(count <= 254 ? count : 0, 'x')) << count;
        EXPECT_EQ(extraction.info.serial, std::string(count <= 254 ? "1" : "") +
                                              std::string(count <= 254 ? count : 0, 'x'));
    }
}

TEST(GenericGenerator, AsciiIdentifierEndsAtItsFirstNul) {
    Extraction extraction;
    extraction.with(
        0x83, Page::names().designator(kAscii, kUnit, kT10, text(std::string("ACME\0SN", 7))));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_STREQ(extraction.info.serialShort, "ACME");
}

TEST(GenericGenerator, IdentifierOfNoBytesIsTaken) {
    Extraction extraction;
    extraction.with(0x83, Page::names().designator(kAscii, kUnit, kT10, {}));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_STREQ(extraction.info.serial, "1");
    EXPECT_STREQ(extraction.info.serialShort, "");
}

TEST(GenericGenerator, WwnMayBeAbsent) {
    const Bytes name = naaBytes(6, 16);
    Extraction extraction;
    extraction.with(0x83, Page::names().naa(name));
    EXPECT_EQ(extraction.generator.getInformationFromPage83(
                  &extraction.record, extraction.info, extraction.info.serial,
                  extraction.info.serialShort, 256, nullptr, extraction.info.wwn, nullptr, nullptr),
              0);
    EXPECT_EQ(extraction.info.wwn, hexOf(name).substr(0, 16));
    EXPECT_STREQ(extraction.info.wwnVendorExtension, "");
}

TEST(GenericGenerator, PortGroupWithoutAPlaceForItIsTakenAsAnIdentifier) {
    Extraction extraction;
    extraction.with(0x83, Page::names().designator(kBinary, kPort, kPortGroup, {0, 0, 0, 1}));
    EXPECT_EQ(extraction.generator.getInformationFromPage83(
                  &extraction.record, extraction.info, extraction.info.serial,
                  extraction.info.serialShort, 256, nullptr, nullptr, nullptr, nullptr),
              0);
    EXPECT_STREQ(extraction.info.serial, "500000001");
}

// --- Where the page and its descriptors end

TEST(GenericGenerator, DescriptorMayReachThePagesEndOrPastIt) {
    // One NAA descriptor of 16 bytes; the page is cut behind each of its bytes. What is missing
    // reads as 0.
    const Page whole = Page::names().naa(naaBytes(6, 16));
    for (std::size_t length = 1; length <= whole.size(); ++length) {
        Extraction extraction;
        extraction.with(0x83, Page(whole).cut(length));
        const int found = extraction.page83();
        // Byte 5 has the kind and byte 7 the length of the identifier.
        EXPECT_EQ(found, length >= 6 ? 0 : 1) << length;
        Bytes value = length >= 8 ? naaBytes(6, 16) : Bytes();
        for (std::size_t missing = std::max<std::size_t>(length, 8); missing < value.size() + 8;
             ++missing) {
            value[missing - 8] = 0;
        }
        EXPECT_EQ(extraction.info.serialShort, hexOf(value)) << length;
    }
}

TEST(GenericGenerator, ShortDescriptorAtThePagesEndReadsZerosBehindIt) {
    // Three bytes or less of an identifier: the NAA digit and the port group stand behind the page.
    for (std::size_t count = 0; count <= 4; ++count) {
        for (const unsigned type : {kNaa, kPortGroup}) {
            Extraction extraction;
            extraction.with(0x83,
                            Page::names().designator(kBinary, kUnit, type, Bytes(count, 0x66)));
            const int found = extraction.page83();
            EXPECT_EQ(found, type == kNaa ? 0 : 1) << count;
            if (type == kNaa) {
                EXPECT_EQ(extraction.info.serialShort, hexOf(Bytes(count, 0x66))) << count;
            } else {
                EXPECT_STREQ(extraction.info.tgptGroup, count == 4   ? "6666"
                                                        : count == 3 ? "6600"
                                                                     : "0");
            }
        }
    }
}

TEST(GenericGenerator, SearchEndsThreeBytesBehindThePageLength) {
    // A second descriptor begins at byte 12; the page length says where the search ends.
    for (std::uint8_t length = 5; length <= 12; ++length) {
        Extraction extraction;
        extraction.with(0x83, Page::names()
                                  .designator(kBinary, kTarget, kNaa, counting(4))
                                  .naa(naaBytes(6, 16))
                                  .set(3, length));
        EXPECT_EQ(extraction.page83(), length >= 9 ? 0 : 1) << int{length};
    }
}

TEST(GenericGenerator, PageLengthOfZeroHasNoDescriptor) {
    Extraction extraction;
    extraction.with(0x83, Page::names().naa(naaBytes(6, 16)).set(3, 0));
    EXPECT_EQ(extraction.page83(), 1);
}

TEST(GenericGenerator, OnlyTheLowByteOfThePageLengthCounts) {
    Extraction extraction;
    extraction.with(0x83, Page::names().naa(naaBytes(6, 16)).set(2, 0xFF).set(3, 0));
    EXPECT_EQ(extraction.page83(), 1);
}

TEST(GenericGenerator, PageLengthBeyondThePageFindsWhatIsThere) {
    Extraction extraction;
    extraction.with(0x83, Page::names().naa(naaBytes(6, 16)).set(3, 255));
    EXPECT_EQ(extraction.page83(), 0);
    EXPECT_EQ(extraction.info.serialShort, hexOf(naaBytes(6, 16)));
    Extraction nothing;
    nothing.with(0x83, Page::vpd(0x83, 5).set(3, 255));
    EXPECT_EQ(nothing.page83(), 1);
}

TEST(GenericGenerator, EveryPageOfAFewBytesIsSurvived) {
    for (std::size_t length = 1; length <= 24; ++length) {
        for (const std::uint8_t filler : Bytes{0x00, 0x01, 0x10, 0x13, 0x15, 0x31, 0x83, 0xFF}) {
            Extraction extraction;
            Page page(Bytes(length, filler));
            if (length > 1) {
                page.set(1, 0x83);
            }
            extraction.named("ACME    ", "DISK0123456789XY").with(0x83, page).with(0x80, page);
            EXPECT_LE(extraction.run(), 1);
        }
    }
}

TEST(GenericGenerator, EmptyPageCountsAsMissing) {
    for (const bool withBuffer : {false, true}) {
        Extraction extraction;
        extraction.traced(1);
        if (withBuffer) {
            store(extraction.record, 0x83, Bytes{});
        } else {
            storeEmpty(extraction.record, 0x83);
        }
        EXPECT_EQ(extraction.page83(), 1);
        EXPECT_EQ(extraction.trace->lines(),
                  Texts{"[1] CGenericUdidGenerator::getInformationFromPage83: page 0x83 is NULL"});
    }
}

// --- The layout before SPC-3

TEST(GenericGenerator, OldLayoutGivesTheWholePageInHexadecimal) {
    Extraction extraction;
    const Bytes name = counting(8, 0x50);
    extraction.with(0x83, Page::vpd(0x83, 12).bytes(4, name));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_EQ(extraction.info.serial, "5" + hexOf(name));
    EXPECT_EQ(extraction.info.serialShort, "5" + hexOf(name));
    EXPECT_STREQ(extraction.info.wwn, "");
    EXPECT_STREQ(extraction.info.tgptGroup, "");
}

TEST(GenericGenerator, OldLayoutIsCutBeforeTheEndOfTheField) {
    for (const std::size_t count : {125U, 126U, 127U, 200U, 255U}) {
        Extraction extraction;
        const Bytes name = counting(count, 1);
        extraction.with(0x83, Page::vpd(0x83, count + 4).bytes(4, name).set(6, 0x77));
        Bytes expected = name;
        expected[2] = 0x77;
        expected.resize(std::min<std::size_t>(count, 126));
        EXPECT_EQ(extraction.page83(), 0);
        EXPECT_EQ(extraction.info.serialShort, "5" + hexOf(expected)) << count;
    }
}

TEST(GenericGenerator, OldLayoutReadsZerosPastThePagesEnd) {
    Extraction extraction;
    extraction.with(0x83, Page::vpd(0x83, 8).bytes(4, {1, 2, 3, 4}).set(3, 6));
    EXPECT_EQ(extraction.page83(), 0);
    EXPECT_STREQ(extraction.info.serialShort, "5010203040000");
}

TEST(GenericGenerator, OldLayoutOfNoBytesIsTheDigitAlone) {
    Extraction extraction;
    extraction.with(0x83, Page::vpd(0x83, 8).set(6, 1).set(3, 0));
    EXPECT_EQ(extraction.page83(), 0);
    EXPECT_STREQ(extraction.info.serialShort, "5");
}

TEST(GenericGenerator, OldLayoutIsTraced) {
    Extraction extraction;
    extraction.traced().with(0x83, Page::vpd(0x83, 8).bytes(4, {1, 2, 3, 4}));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_EQ(
        Texts(extraction.trace->lines().begin(), extraction.trace->lines().begin() + 4),
        (Texts{"[6] CGenericUdidGenerator::checkFillPreSPC3Page0x83:Using pre-spc3-83 for /dev/sda",
               "[6] CGenericUdidGenerator::checkFillPreSPC3Page0x83: serialShort:[501020304]. "
               "Returing with status:[0]",
               "[6] CGenericUdidGenerator::getInformationFromPage83: Returning status:[0]",
               "[6] CGenericUdidGenerator::getDeviceScsiInfo: For device:[/dev/sda], found Serial "
               "number:[501020304] using page 0x83"}));
}

// --- Page 0x80

TEST(GenericGenerator, SerialTakesThePlaceOfTheModelsLastCharacter) {
    Extraction extraction;
    extraction.named("ACME    ", "DISK0123456789XY").with(0x80, Page::serial("ABC"));
    EXPECT_EQ(extraction.page80(), 0);
    EXPECT_STREQ(extraction.info.serial, "SACME    DISK0123456789XABC");
    EXPECT_STREQ(extraction.info.serialShort, "ABC");
}

TEST(GenericGenerator, EmptySerialLeavesTheModelWhole) {
    Extraction extraction;
    extraction.named("ACME    ", "DISK0123456789XY").with(0x80, Page::serial(""));
    EXPECT_EQ(extraction.page80(), 0);
    EXPECT_STREQ(extraction.info.serial, "SACME    DISK0123456789XY");
    EXPECT_STREQ(extraction.info.serialShort, "");
}

TEST(GenericGenerator, SerialOfMoreThan231BytesIsRejected) {
    for (const std::size_t count : {230U, 231U, 232U}) {
        Extraction extraction;
        extraction.traced(1)
            .named("ACME    ", "DISK0123456789XY")
            .with(0x80, Page::serial(std::string(count, 'n')));
        EXPECT_EQ(extraction.page80(), count <= 231 ? 0 : 1) << count;
        if (count <= 231) {
            EXPECT_EQ(extraction.info.serial, "SACME    DISK0123456789X" + std::string(count, 'n'));
            EXPECT_EQ(extraction.info.serialShort, std::string(count, 'n'));
        } else {
            EXPECT_EQ(extraction.trace->lines(),
                      Texts{"[1] CGenericUdidGenerator::getInformationFromPage80: For device:[], "
                            "length 256 too short - need 257\n"});
        }
    }
}

TEST(GenericGenerator, SerialMustFitTheBuffer) {
    for (const int maxLength : {27, 28, 29}) {
        Extraction extraction;
        extraction.named("ACME    ", "DISK0123456789XY").with(0x80, Page::serial("ABC"));
        const auto size = static_cast<std::size_t>(maxLength);
        const std::unique_ptr<char[]> serial(new char[size]());
        const std::unique_ptr<char[]> serialShort(new char[size]());
        const int found = extraction.generator.getInformationFromPage80(
            &extraction.record, extraction.info, serial.get(), serialShort.get(), maxLength);
        EXPECT_EQ(found, maxLength < 28 ? 1 : 0);
        EXPECT_STREQ(serialShort.get(), maxLength < 28 ? "" : "ABC");
    }
}

TEST(GenericGenerator, SerialWithoutVendorAndModelIsRejected) {
    Extraction extraction;
    extraction.traced(1).with(0x80, Page::serial("ABC"));
    EXPECT_EQ(extraction.run(), 1);
    EXPECT_EQ(extraction.trace->lines(),
              (Texts{"[1] CGenericUdidGenerator::getInformationFromPage83: page 0x83 is NULL",
                     "[1] CGenericUdidGenerator::prependVendorModel: expected length 24, got "
                     "length 0\n",
                     "[1] CGenericUdidGenerator::getInformationFromPage80: For device[/dev/sda], "
                     "Failed to prepend vendor model.",
                     "[1] CGenericUdidGenerator::getDeviceScsiInfo: For device:[/dev/sda], no "
                     "serial number found"}));
    EXPECT_STREQ(extraction.info.vendor, "");
    EXPECT_STREQ(extraction.info.unitSerialNumber, "");
}

TEST(GenericGenerator, EitherSerialMayBeLeftOut) {
    Extraction extraction;
    extraction.traced(1).with(0x80, Page::serial("ABC"));
    EXPECT_EQ(extraction.generator.getInformationFromPage80(
                  &extraction.record, extraction.info, nullptr, extraction.info.serialShort, 256),
              0);
    EXPECT_STREQ(extraction.info.serialShort, "ABC");
    EXPECT_EQ(extraction.trace->lines(),
              Texts{"[1] CGenericUdidGenerator::getInformationFromPage80: For device[], Serial "
                    "short:[ABC]"});
    Extraction other;
    other.named("ACME    ", "DISK0123456789XY").with(0x80, Page::serial("ABC"));
    EXPECT_EQ(other.generator.getInformationFromPage80(&other.record, other.info, other.info.serial,
                                                       nullptr, 256),
              0);
    EXPECT_STREQ(other.info.serial, "SACME    DISK0123456789XABC");
}

TEST(GenericGenerator, SerialPastThePagesEndReadsAsZeros) {
    Extraction extraction;
    extraction.named("ACME    ", "DISK0123456789XY").with(0x80, Page::serial("ABC").set(3, 200));
    EXPECT_EQ(extraction.page80(), 0);
    EXPECT_STREQ(extraction.info.serialShort, "ABC");
}

TEST(GenericGenerator, PageWithAnotherCodeIsInvalid) {
    Extraction extraction;
    extraction.traced(1)
        .with(0x83, Page::names().naa(naaBytes(6, 16)).set(1, 0x00))
        .with(0x80, Page::serial("ABC").set(1, 0x83));
    EXPECT_EQ(extraction.run(), 1);
    EXPECT_EQ(extraction.trace->lines(),
              (Texts{"[1] CGenericUdidGenerator::getInformationFromPage83: Invalid page 0x83",
                     "[1] CGenericUdidGenerator::getInformationFromPage80: For device[/dev/sda], "
                     "Invalid page 0x80",
                     "[1] CGenericUdidGenerator::getDeviceScsiInfo: For device:[/dev/sda], no "
                     "serial number found"}));
}

TEST(GenericGenerator, InvalidPage83FallsBackToPage80) {
    Extraction extraction;
    extraction.named("ACME    ", "DISK0123456789XY")
        .with(0x83, Page::names().naa(naaBytes(6, 16)).set(1, 0x00))
        .with(0x80, Page::serial("ABC"));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_STREQ(extraction.info.serial, "SACME    DISK0123456789XABC");
}

TEST(GenericGenerator, VendorAndModelMustBe24Characters) {
    const struct {
        const char* vendor;
        const char* model;
        int result;
    } rows[] = {{"ACME    ", "DISK0123456789XY", 24},
                {"ACME   ", "DISK0123456789XY", -1},
                {"ACME    ", "DISK0123456789X", -1},
                {"", "DISK0123456789XY", -1},
                {"ACME    ", "", -1},
                {"", "", -1}};
    for (const auto& row : rows) {
        Extraction extraction;
        extraction.traced().named(row.vendor, row.model);
        const std::unique_ptr<char[]> out(new char[25]());
        EXPECT_EQ(extraction.generator.prependVendorModel(extraction.info, out.get()), row.result);
        const std::string together = std::string(row.vendor) + row.model;
        EXPECT_EQ(out.get(), together);
        EXPECT_EQ(extraction.trace->lines(),
                  row.result == 24
                      ? Texts{}
                      : Texts{"[1] CGenericUdidGenerator::prependVendorModel: expected length 24, "
                              "got length " +
                              std::to_string(together.size()) + "\n"});
    }
}

TEST(GenericGenerator, EnclosureIdIsThePage80Serial) {
    Extraction extraction;
    extraction.with(0x80, Page::serial("  S 1\t "));
    EXPECT_EQ(extraction.generator.getEnclousureId(&extraction.record), "  S 1\t ");
    extraction.with(0x80, Page::serial("ABCDEF").set(3, 3));
    EXPECT_EQ(extraction.generator.getEnclousureId(&extraction.record), "ABC");
    extraction.with(0x80, Page::serial("AB").set(3, 4));
    EXPECT_EQ(extraction.generator.getEnclousureId(&extraction.record), std::string("AB\0\0", 4));
    // The page code is not looked at here.
    extraction.with(0x80, Page::serial("AB").set(1, 0));
    EXPECT_EQ(extraction.generator.getEnclousureId(&extraction.record), "AB");
}

TEST(GenericGenerator, EnclosureIdWithoutPage80IsEmpty) {
    Extraction extraction;
    extraction.traced();
    EXPECT_EQ(extraction.generator.getEnclousureId(&extraction.record), "");
    storeEmpty(extraction.record, 0x80);
    EXPECT_EQ(extraction.generator.getEnclousureId(&extraction.record), "");
    EXPECT_EQ(extraction.trace->lines(),
              (Texts{"[2] CGenericUdidGenerator::getEnclousureId: page 0x80 is NULL",
                     "[2] CGenericUdidGenerator::getEnclousureId: page 0x80 is NULL"}));
}

// --- The whole extraction

TEST(GenericGenerator, IdentityIsFilledBehindTheIdentifier) {
    Extraction extraction("ACME", "RAID 5");
    extraction.record.m_firmwareLevel = "1.2 ";
    extraction.with(0x80, Page::serial("  S/N 1  ")).with(0x83, Page::names().naa(naaBytes(6, 16)));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_STREQ(extraction.info.vendor, "ACME");
    EXPECT_STREQ(extraction.info.model, "RAID 5");
    EXPECT_STREQ(extraction.info.revision, "1.2 ");
    EXPECT_STREQ(extraction.info.devicePath, "/dev/sda");
    EXPECT_STREQ(extraction.info.unitSerialNumber, "S/N 1");
    EXPECT_EQ(extraction.record.m_vendorId, "ACME");
    EXPECT_EQ(extraction.record.m_productId, "RAID 5");
}

TEST(GenericGenerator, FieldsAreCutToTheirCapacity) {
    Extraction extraction;
    extraction.record = CScsiDeviceData("/dev/" + std::string(70, 'd'), "", "", 0, 0, 0, -1,
                                        "VENDOR8901", "PRODUCT89012345678", "12345", 0);
    extraction.with(0x80, Page::serial(std::string(255, 's')))
        .with(0x83, Page::names().naa(naaBytes(6, 16)));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_STREQ(extraction.info.vendor, "VENDOR89");
    EXPECT_STREQ(extraction.info.model, "PRODUCT890123456");
    EXPECT_STREQ(extraction.info.revision, "1234");
    EXPECT_EQ(extraction.info.devicePath, "/dev/" + std::string(58, 'd'));
    EXPECT_EQ(extraction.info.unitSerialNumber, std::string(255, 's'));
}

TEST(GenericGenerator, UnitSerialEndsAtItsFirstNul) {
    Extraction extraction;
    extraction.with(0x80, Page::serial(std::string(" SN \0XX", 7)))
        .with(0x83, Page::names().naa(naaBytes(6, 16)));
    EXPECT_EQ(extraction.run(), 0);
    EXPECT_STREQ(extraction.info.unitSerialNumber, "SN");
}

TEST(GenericGenerator, NothingIsFilledWhenNeitherPageHasAnIdentifier) {
    Extraction extraction;
    EXPECT_EQ(extraction.run(), 1);
    EXPECT_STREQ(extraction.info.devicePath, "/dev/sda");
    EXPECT_STREQ(extraction.info.vendor, "");
    EXPECT_STREQ(extraction.info.model, "");
    EXPECT_STREQ(extraction.info.unitSerialNumber, "");
    EXPECT_EQ(extraction.record.m_vendorId, "ACME    ");
}

TEST(GenericGenerator, EnclosureIdIsAskedThroughTheVirtualTable) {
    struct OwnEnclosure : CGenericUdidGenerator {
        OwnEnclosure() : CGenericUdidGenerator("GENERIC", "GENERIC") {}
        std::string getEnclousureId(CScsiDeviceData*) override { return "  own  "; }
    } generator;
    Extraction extraction;
    extraction.with(0x83, Page::names().naa(naaBytes(6, 16)));
    EXPECT_EQ(generator.getDeviceScsiInfo(&extraction.record, extraction.info), 0);
    EXPECT_STREQ(extraction.info.unitSerialNumber, "own");
}

TEST(GenericGenerator, EveryFieldIsTraced) {
    CGenericUdidGenerator generator("GENERIC", "GENERIC");
    TraceCapture trace;
    generator.registerTraceLog(trace.log());
    CDeviceScsiInfo info = {"VENDOR", "MODEL", "REV",  "/dev/sda", "3abc",
                            "abc",    "S1",    "1234", "5678",     "1f"};
    generator.printDeviceScsiInfo(info);
    EXPECT_EQ(trace.lines(),
              (Texts{"[6] ==============[ Device SCSI Information ]==============",
                     "[6] |Device path        : [/dev/sda]", "[6] |Vendor             : [VENDOR]",
                     "[6] |Model              : [MODEL]", "[6] |Revision           : [REV]",
                     "[6] |Serial             : [3abc]", "[6] |Serial short       : [abc]",
                     "[6] |Unit Serial Number : [S1]", "[6] |WWN                : [1234]",
                     "[6] |WWN Vendor Ext.    : [5678]", "[6] |TGPT Group         : [1f]",
                     "[6] ======================================================="}));
}

TEST(GenericGenerator, SearchIsTracedDescriptorByDescriptor) {
    // A target port group, then the name of the unit; the second row of the table finds it.
    Extraction extraction;
    extraction.traced();
    extraction.with(0x80, Page::serial("S1"))
        .with(0x83, Page::names()
                        .designator(kBinary, kPort, kPortGroup, {0, 0, 0, 1})
                        .designator(kBinary, kTarget, 'A' & 15, {0x41})
                        .naa(naaBytes(6, 16)));
    EXPECT_EQ(extraction.run(), 0);
    const std::string check = "[6] CGenericUdidGenerator::checkFillIdPage0x83: ";
    const std::string search = "[6] CGenericUdidGenerator::getInformationFromPage83";
    const std::string unusedInRow0 = search + ":For device:[/dev/sda], identifier:[0] is not used";
    const std::string unusedInRow1 = search + ":For device:[/dev/sda], identifier:[1] is not used";
    const std::string row0 =
        search + ": CGenericUdidGenerator::getInformationFromPage83 id desc 5/255/1\n";
    const std::string row1 =
        search + ": CGenericUdidGenerator::getInformationFromPage83 id desc 3/6/1\n";
    EXPECT_EQ(
        Texts(extraction.trace->lines().begin(), extraction.trace->lines().begin() + 19),
        (Texts{check + "For device:[/dev/sda]. This is SCSI_ID_TGTGROUP identifier, tgptGroup:[1]",
               row0, unusedInRow0, check + "For device:[/dev/sda]. Not a required identifier ",
               row0, unusedInRow0,
               check + "For device:[/dev/sda]. Not a required identifier. page83[1]:[\x03]", row0,
               unusedInRow0, check + "For device:[/dev/sda], id tpye is not SCSI_ID_TGTGROUP", row1,
               unusedInRow1, check + "For device:[/dev/sda]. Not a required identifier ", row1,
               unusedInRow1, row1, search + ": For device:[/dev/sda], identifier:[1] is used",
               "[6] CGenericUdidGenerator::getDeviceScsiInfo: For device:[/dev/sda], found Serial "
               "number:[" +
                   hexOf(naaBytes(6, 16)) + "] using page 0x83",
               "[6] ==============[ Device SCSI Information ]=============="}));
}

TEST(GenericGenerator, RejectedDescriptorsSayWhy) {
    const struct {
        SScsiIdSearchValues row;
        Bytes descriptor;
        std::string line;
    } rows[] = {
        {{kNaa, 255, kBinary}, {0x01, 0x41, 0, 0}, "Not a required identifier. page83[1]:[A]"},
        {{kNaa, 6, kBinary},
         {0x01, 0x43, 0, 4, 0x50, 0, 0, 0},
         "Not a required identifier. naa_type:[\x05]"},
        {{kNaa, 255, kBinary},
         {0x42, 0x43, 0, 4, 0x60, 0, 0, 0},
         "Not a matching code set. page83[0]:[B]"},
    };
    for (const auto& row : rows) {
        Extraction extraction;
        extraction.traced();
        Bytes descriptor = row.descriptor;
        descriptor.resize(8);
        EXPECT_EQ(extraction.generator.checkFillIdPage0x83(
                      extraction.info, descriptor.data(), row.row, extraction.info.serial,
                      extraction.info.serialShort, 256, nullptr, nullptr, nullptr),
                  1);
        EXPECT_EQ(
            extraction.trace->lines(),
            Texts{"[6] CGenericUdidGenerator::checkFillIdPage0x83: For device:[]. " + row.line});
    }
}

TEST(GenericGenerator, FallbackToPage80IsTraced) {
    Extraction extraction;
    extraction.traced().named("ACME    ", "DISK0123456789XY").with(0x80, Page::serial("ABC"));
    EXPECT_EQ(extraction.run(), 0);
    const std::string name = "CGenericUdidGenerator::getDeviceScsiInfo";
    EXPECT_EQ(Texts(extraction.trace->lines().begin(), extraction.trace->lines().begin() + 6),
              (Texts{"[1] CGenericUdidGenerator::getInformationFromPage83: page 0x83 is NULL",
                     "[6] " + name + ":For device:[/dev/sda], No serial number found",
                     "[6] " + name + ": For device:[/dev/sda], trying Page80 query",
                     "[1] CGenericUdidGenerator::getInformationFromPage80: For device[/dev/sda], "
                     "Serial short:[ABC]",
                     "[6] " + name + ": For device:[/dev/sda]. Serial number using page 0x80[ABC]",
                     "[6] ==============[ Device SCSI Information ]=============="}));
}

TEST(GenericGenerator, MissingPagesAreTraced) {
    Extraction extraction;
    extraction.traced();
    EXPECT_EQ(extraction.run(), 1);
    const std::string name = "CGenericUdidGenerator::getDeviceScsiInfo";
    EXPECT_EQ(extraction.trace->lines(),
              (Texts{"[1] CGenericUdidGenerator::getInformationFromPage83: page 0x83 is NULL",
                     "[6] " + name + ":For device:[/dev/sda], No serial number found",
                     "[6] " + name + ": For device:[/dev/sda], trying Page80 query",
                     "[1] CGenericUdidGenerator::getInformationFromPage80: For device:[/dev/sda], "
                     "page 0x80 is NULL",
                     "[6] " + name +
                         ": For device:[/dev/sda], No serial number found with page 0x80 query",
                     "[1] " + name + ": For device:[/dev/sda], no serial number found"}));
}

/// A page before SPC-3 into buffers of every small length: nothing is written behind them.
TEST(GenericGenerator, PreSpc3PageStaysInsideTheSmallestBuffers) {
    const struct {
        int maxLength;
        const char* serial;
    } rows[] = {{-1, ""},   {0, ""},    {1, ""},      {2, "5"},     {3, "5"},      {4, "5"},
                {5, "501"}, {6, "501"}, {7, "50102"}, {8, "50102"}, {9, "5010203"}};
    const unsigned char page[] = {0, 0x83, 0, 4, 1, 2, 3, 4};
    for (const auto& row : rows) {
        Extraction extraction;
        extraction.traced(6);
        const std::size_t size = row.maxLength > 0 ? static_cast<std::size_t>(row.maxLength) : 0;
        std::string serial(32, '\0');
        std::string serialShort(32, '\0');
        serial.replace(size, std::string::npos, 32 - size, '#');
        serialShort.replace(size, std::string::npos, 32 - size, '#');
        EXPECT_EQ(extraction.generator.checkFillPreSPC3Page0x83(
                      extraction.info, page, {kPortGroup, 255, kBinary}, serial.data(),
                      serialShort.data(), row.maxLength),
                  0);
        const std::string expected = row.serial + std::string(size - std::strlen(row.serial), '\0');
        EXPECT_EQ(serial, expected + std::string(32 - size, '#')) << row.maxLength;
        EXPECT_EQ(serialShort, serial) << row.maxLength;
        EXPECT_EQ(extraction.trace->lines().back(),
                  "[6] CGenericUdidGenerator::checkFillPreSPC3Page0x83: serialShort:[" +
                      std::string(row.serial) + "]. Returing with status:[0]");
    }
}

TEST(GenericGenerator, PreSpc3PageIsFoundInTheSmallestBuffersToo) {
    for (const int maxLength : {0, 1, 2, 3}) {
        Extraction extraction;
        extraction.with(0x83, Page::vpd(0x83, 8).bytes(4, {1, 2, 3, 4}));
        EXPECT_EQ(extraction.page83(maxLength), 0) << maxLength;
        EXPECT_STREQ(extraction.info.serialShort, maxLength < 2 ? "" : "5") << maxLength;
    }
}

/// Where the identifier stands follows from its kind alone: 1 behind the digit, 25 behind vendor
/// and model.
TEST(GenericGenerator, IdentifierStandsBehindItsPrefixWhateverTheBufferHeld) {
    const unsigned char naa[] = {kBinary, kNaa, 0, 2, 0x60, 0x01, 0, 0};
    Extraction extraction;
    std::string(8, 'x').copy(extraction.info.serial, 8);
    EXPECT_EQ(extraction.generator.checkFillIdPage0x83(
                  extraction.info, naa, {kNaa, 255, kBinary}, extraction.info.serial,
                  extraction.info.serialShort, 256, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(std::string(extraction.info.serial).substr(0, 5), "36001");
    EXPECT_EQ(std::string(extraction.info.serialShort).substr(0, 4), "6001");

    const unsigned char own[] = {kAscii, kVendorSpecific, 0, 3, 'A', 'B', 'C', 0};
    Extraction vendors;
    vendors.named("ACME    ", "DISK0123456789XY");
    std::string(40, 'x').copy(vendors.info.serial, 40);
    EXPECT_EQ(vendors.generator.checkFillIdPage0x83(
                  vendors.info, own, {kVendorSpecific, 255, kAscii}, vendors.info.serial,
                  vendors.info.serialShort, 256, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(std::string(vendors.info.serial).substr(0, 28), "0ACME    DISK0123456789XYABC");
    EXPECT_EQ(std::string(vendors.info.serialShort).substr(0, 3), "ABC");
}

}  // namespace
