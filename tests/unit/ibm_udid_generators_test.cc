#include "scsitool/udid/ibm_udid_generators.h"

#include <gtest/gtest.h>

#include "generator_probe.h"
#include "page_builder.h"
#include "slot_of.h"

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

constexpr char kNoKeysSize[] = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_SIZE::";
constexpr char kNoKeysEnclosure[] = "!MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::";

Page inquiry(const std::string& serial, std::size_t length = 96) {
    return Page::inquiry("IBM", "2107900", 96).text(36, serial).cut(length);
}
Page arrayPage() {
    return Page::vpd(0xC8, 120).bytes(90, counting(17, 0xA6));
}

void expectClaims(CUdidGenerator& generator, std::initializer_list<Claim> claims) {
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
}

class IbmGenerator : public testing::Test {
  protected:
    /// A product, the pages of all its family's paths, the unit number 0x100A in page 0x83.
    explicit IbmGenerator(const std::string& product = "2107900") { use(product); }
    void use(const std::string& product) {
        record = recordOf("IBM", product);
        store(record, 0, inquiry("7512345XYZ"));
        store(record, 0x80, Page::serial("75ABC12345"));
        store(record, 0xC8, arrayPage());
        store(record, 0x83, names());
    }
    static Page names() {
        Bytes value = counting(14, 0x60);
        value.insert(value.end(), {0x10, 0x0A});
        return Page::names().naa(value);
    }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kPageData[] = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:IBM:TOTALSTORAGE";
    CIbmUdidGenerator generator{"IBM", "TOTALSTORAGE"};
    CScsiDeviceData record = recordOf("IBM", "2107900");
};

TEST_F(IbmGenerator, ClaimsProductsThatContainOneOfSixNumbers) {
    expectClaims(generator, {{"IBM", "2105F20", true},
                             {"IBM", "2107900", true},
                             {"IBM", "1750500", true},
                             {"IBM", "2145", true},
                             {"IBM", "3552", true},
                             {"IBM", "3542", true},
                             {"IBM", "X2105Y", true},
                             {"IBM", "FAStT 3542", true},
                             {"IBMXX", "2145", true},
                             {"IBM-ESXS", "3552", true},
                             {"IBM", "1724-100 FAStT", false},
                             {"IBM", "2106", false},
                             {"IBM", "21 05", false},
                             {"IBM", "", false},
                             {"IB", "2107900", false},
                             {"ibm", "2107900", false},
                             {"XIBM", "2107900", false},
                             {"", "2107900", false}});
}

TEST_F(IbmGenerator, ClaimingTrimsTheProductOnlyWhenTheVendorFits) {
    CScsiDeviceData fitting = recordOf("IBM", "NONE");
    EXPECT_EQ(claimOf(generator, fitting), "?IBM|NONE");
    CScsiDeviceData other = recordOf("HP", "2107900");
    EXPECT_EQ(claimOf(generator, other), "?HP|2107900         ");
}

TEST_F(IbmGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##IBM##TOTALSTORAGE##");
}

TEST_F(IbmGenerator, AddsItsTwoTestsAfterTheBody) {
    EXPECT_EQ(test::slotOf(&CIbmUdidGenerator::isESS),
              test::slotOf(&CUdidGenerator::getUniqueDeviceID) + 1);
    EXPECT_EQ(test::slotOf(&CIbmUdidGenerator::isFASTT),
              test::slotOf(&CUdidGenerator::getUniqueDeviceID) + 2);
}

TEST_F(IbmGenerator, TellsTheTwoKindsApart) {
    for (const char* product : {"2105", "2107", "1750", "2145", "X2145X"}) {
        EXPECT_TRUE(generator.isESS(product)) << product;
        EXPECT_FALSE(generator.isFASTT(product)) << product;
    }
    for (const char* product : {"3552", "3542", "X3542X"}) {
        EXPECT_FALSE(generator.isESS(product)) << product;
        EXPECT_TRUE(generator.isFASTT(product)) << product;
    }
    for (const char* product : {"", "1724", "354", "5422"}) {
        EXPECT_FALSE(generator.isESS(product)) << product;
        EXPECT_FALSE(generator.isFASTT(product)) << product;
    }
}

TEST_F(IbmGenerator, ClaimingAsksTheTestsThatADerivedGeneratorBringsAlong) {
    struct Derived : CIbmUdidGenerator {
        Derived() : CIbmUdidGenerator("IBM", "TOTALSTORAGE") {}
        bool isESS(std::string) override { return ess; }
        bool isFASTT(std::string) override { return fastt; }
        bool ess = false;
        bool fastt = false;
    } derived;
    use("2105F20");
    EXPECT_FALSE(derived.claimDevice(&record));
    EXPECT_EQ(bodyOf(derived, record), kNoKeysEnclosure);
    derived.fastt = true;
    EXPECT_TRUE(derived.claimDevice(&record));
    EXPECT_EQ(bodyOf(derived, record), "IBM.2105-a6a7a8a9aaabacadaeafb0b1b2b3b4b5##100a");
    derived.ess = true;
    EXPECT_TRUE(derived.claimDevice(&record));
    EXPECT_EQ(bodyOf(derived, record), "IBM.2105-75ABC12##100a");
}

TEST_F(IbmGenerator, Ds8000TakesItsSerialFromTheInquiry) {
    EXPECT_EQ(body(), "IBM.2107-7512345##100a");
    EXPECT_EQ(record.m_productId, "2107900");
}

TEST_F(IbmGenerator, Ds8000SerialHasAtMostSevenCharactersAndEndsAtAZero) {
    store(record, 0, inquiry("751234"));
    EXPECT_EQ(body(), "IBM.2107-751234##100a");
    store(record, 0, inquiry("75123456"));
    EXPECT_EQ(body(), "IBM.2107-7512345##100a");
    store(record, 0, inquiry("7512345").set(38, 0));
    EXPECT_EQ(body(), "IBM.2107-75##100a");
    store(record, 0, inquiry("").set(36, 0));
    EXPECT_EQ(body(), "IBM.2107-##100a");
}

TEST_F(IbmGenerator, Ds8000InquiryOf43BytesIsAccepted) {
    store(record, 0, inquiry("7512345", 41));
    EXPECT_EQ(body(), kNoKeysSize);
    store(record, 0, inquiry("7512345", 42));
    EXPECT_EQ(body(), kNoKeysSize);
    store(record, 0, inquiry("7512345", 43));
    EXPECT_EQ(body(), "IBM.2107-7512345##100a");
    store(record, 0, inquiry("7512345", 44));
    EXPECT_EQ(body(), "IBM.2107-7512345##100a");
    store(record, 0, inquiry("7512345", 1));
    EXPECT_EQ(body(), kNoKeysSize);
}

TEST_F(IbmGenerator, Ds8000WithoutInquiryIsTheUnitAlone) {
    storeEmpty(record, 0);
    EXPECT_EQ(body(), "100a");
    record.m_pages.erase(0);
    EXPECT_EQ(body(), "100a");
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), kPageData);
}

TEST_F(IbmGenerator, EssTakesItsSerialFromPage80) {
    for (const auto& [product, expected] :
         {std::pair<const char*, const char*>{"2105F20", "IBM.2105-75ABC12##100a"},
          {"1750500", "IBM.1750-75ABC12##100a"},
          {"2145", "IBM.2145-75ABC12##100a"},
          {"X2145", "IBM.X214-75ABC12##100a"}}) {
        use(product);
        EXPECT_EQ(body(), expected);
    }
}

TEST_F(IbmGenerator, EssSerialHasAtMostSevenCharactersAndEndsAtAZeroOrThePage) {
    use("2105F20");
    store(record, 0x80, Page::serial("123456"));
    EXPECT_EQ(body(), "IBM.2105-123456##100a");
    store(record, 0x80, Page::serial("1234567"));
    EXPECT_EQ(body(), "IBM.2105-1234567##100a");
    store(record, 0x80, Page::serial("12345678"));
    EXPECT_EQ(body(), "IBM.2105-1234567##100a");
    store(record, 0x80, Page::serial("1234567").set(6, 0));
    EXPECT_EQ(body(), "IBM.2105-12##100a");
    store(record, 0x80, Page::serial("1234567").set(3, 2));
    EXPECT_EQ(body(), "IBM.2105-1234567##100a") << "the length byte does not bound the copy";
    store(record, 0x80, Page::serial(""));
    EXPECT_EQ(body(), "IBM.2105-##100a");
}

TEST_F(IbmGenerator, EssWithoutPage80IsInvalidPageData) {
    use("2105F20");
    storeEmpty(record, 0x80);
    EXPECT_EQ(body(), kPageData);
    store(record, 0x80, Page(Bytes{}));
    EXPECT_EQ(body(), kPageData);
    record.m_pages.erase(0x80);
    EXPECT_EQ(body(), kPageData);
}

TEST_F(IbmGenerator, APage80ThatClaimsMoreThanItHasIsAnInvalidPageSize) {
    use("2105F20");
    store(record, 0x80, Page::serial("12345678").set(3, 11));
    EXPECT_EQ(body(), "IBM.2105-1234567##100a");
    store(record, 0x80, Page::serial("12345678").set(3, 12));
    EXPECT_EQ(body(), "IBM.2105-1234567##100a");
    store(record, 0x80, Page::serial("12345678").set(3, 13));
    EXPECT_EQ(body(), kNoKeysSize);
    store(record, 0x80, Page::serial("12345678").set(3, 255));
    EXPECT_EQ(body(), kNoKeysSize);
    // A page that ends before its length byte claims nothing.
    store(record, 0x80, Page::serial("12345678").cut(3));
    EXPECT_EQ(body(), "IBM.2105-##100a");
}

TEST_F(IbmGenerator, FasttTakesItsArrayFromPageC8) {
    use("3542");
    EXPECT_EQ(body(), "IBM.3542-a6a7a8a9aaabacadaeafb0b1b2b3b4b5##100a");
    use("3552-1RU");
    EXPECT_EQ(body(), "IBM.3552-a6a7a8a9aaabacadaeafb0b1b2b3b4b5##100a");
}

TEST_F(IbmGenerator, FasttPageC8Of106BytesIsAccepted) {
    use("3542");
    const std::string expected = "IBM.3542-a6a7a8a9aaabacadaeafb0b1b2b3b4b5##100a";
    store(record, 0xC8, arrayPage().cut(104));
    EXPECT_EQ(body(), kPageData);
    store(record, 0xC8, arrayPage().cut(105));
    EXPECT_EQ(body(), kPageData);
    store(record, 0xC8, arrayPage().cut(106));
    EXPECT_EQ(body(), expected);
    store(record, 0xC8, arrayPage().cut(107));
    EXPECT_EQ(body(), expected);
    storeEmpty(record, 0xC8);
    EXPECT_EQ(body(), kPageData);
    record.m_pages.erase(0xC8);
    EXPECT_EQ(body(), kPageData);
}

TEST_F(IbmGenerator, AProductThatIsNeitherIsInvalidEnclosureDataWithoutKeys) {
    use("1724");
    EXPECT_EQ(body(), kNoKeysEnclosure);
    use("");
    EXPECT_EQ(body(), kNoKeysEnclosure);
}

TEST_F(IbmGenerator, BodyTrimsTheProduct) {
    use("1724");
    body();
    EXPECT_EQ(record.m_productId, "1724");
}

TEST_F(IbmGenerator, Page83Of23BytesReadsByte23AsZero) {
    for (const char* product : {"2107900", "2105F20", "3542"}) {
        use(product);
        const std::string whole = body();
        const std::string array = whole.substr(0, whole.size() - 4);
        store(record, 0x83, names().cut(21));
        EXPECT_EQ(body(), kPageData);
        store(record, 0x83, names().cut(22));
        EXPECT_EQ(body(), kPageData);
        store(record, 0x83, names().cut(23));
        EXPECT_EQ(body(), array + "1000");
        store(record, 0x83, names().cut(24));
        EXPECT_EQ(body(), whole);
        storeEmpty(record, 0x83);
        EXPECT_EQ(body(), kPageData);
        record.m_pages.erase(0x83);
        EXPECT_EQ(body(), kPageData);
    }
}

class IbmDsGenerator : public testing::Test {
  protected:
    IbmDsGenerator() { use("1742-900"); }
    void use(const std::string& product) {
        record = recordOf("IBM", product);
        store(record, 0, inquiry("SERIAL-OF-DS4100", 60));
        store(record, 0x80, Page::serial("75ABC12345"));
        store(record, 0xC8, arrayPage());
        store(record, 0xD0, subsystem());
        store(record, 0x83, names());
    }
    static Page subsystem() { return Page::vpd(0xD0, 40).bytes(8, counting(17, 0xA6)); }
    static Page names() { return Page::names().naa(counting(16, 0x61)); }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kArray[] = "a6a7a8a9aaabacadaeafb0b1b2b3b4b5";
    static constexpr char kUnit[] = "##61:62:63:64:65:66:67:68:69:6a:6b:6c:6d:6e:6f:70";
    static constexpr char kPageData[] = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:IBM:DISKSYSTEM";
    CIbmDsUdidGenerator generator{"IBM", "DISKSYSTEM"};
    CScsiDeviceData record = recordOf("IBM", "1742-900");
};

TEST_F(IbmDsGenerator, ClaimsProductsThatContainOneOfFiveNumbers) {
    expectClaims(generator, {{"IBM", "1722-600", true},
                             {"IBM", "1724-100 FAStT", true},
                             {"IBM", "1742-900", true},
                             {"IBM", "1815 FAStT", true},
                             {"IBM", "1814 FAStT", true},
                             {"IBM", "X1814X", true},
                             {"IBMXX", "1814", true},
                             {"IBM", "1818 FAStT", false},
                             {"IBM", "2107900", false},
                             {"IBM", "17 22", false},
                             {"IBM", "", false},
                             {"ibm", "1814", false},
                             {"XIBM", "1814", false},
                             {"", "1814", false}});
}

TEST_F(IbmDsGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##IBM##DISKSYSTEM##");
}

TEST_F(IbmDsGenerator, AddsItsTwoTestsAfterTheBody) {
    EXPECT_EQ(test::slotOf(&CIbmDsUdidGenerator::isESS),
              test::slotOf(&CUdidGenerator::getUniqueDeviceID) + 1);
    EXPECT_EQ(test::slotOf(&CIbmDsUdidGenerator::isFASTT),
              test::slotOf(&CUdidGenerator::getUniqueDeviceID) + 2);
}

TEST_F(IbmDsGenerator, ItsTwoTestsAreTheSame) {
    for (const char* product : {"1722", "1724", "1742", "1815", "1814", "X1814X"}) {
        EXPECT_TRUE(generator.isESS(product)) << product;
        EXPECT_TRUE(generator.isFASTT(product)) << product;
    }
    for (const char* product : {"", "2107", "181", "1816"}) {
        EXPECT_FALSE(generator.isESS(product)) << product;
        EXPECT_FALSE(generator.isFASTT(product)) << product;
    }
}

TEST_F(IbmDsGenerator, TakesItsArrayFromPageD0) {
    for (const auto& [product, expected] :
         {std::pair<const char*, std::string>{"1742-900", "IBM.1742-"},
          {"1722-600", "IBM.1722-"},
          {"1815 FAStT", "IBM.1815-"},
          {"1814 FAStT", "IBM.1814-"},
          {"DS1814", "IBM.DS18-"}}) {
        use(product);
        EXPECT_EQ(body(), expected + kArray + kUnit);
    }
}

TEST_F(IbmDsGenerator, TheSerialOfPage80DoesNotEnterTheUdid) {
    const std::string first = body();
    store(record, 0x80, Page::serial("SOMETHINGELSE"));
    EXPECT_EQ(body(), first);
}

TEST_F(IbmDsGenerator, AMissingOrShortPageD0LeavesTheArrayPartEmpty) {
    const std::string empty = std::string("IBM.1742-") + kUnit;
    store(record, 0xD0, subsystem().cut(21));
    EXPECT_EQ(body(), empty);
    store(record, 0xD0, subsystem().cut(22));
    EXPECT_EQ(body(), empty);
    store(record, 0xD0, subsystem().cut(23));
    EXPECT_EQ(body(), std::string("IBM.1742-a6a7a8a9aaabacadaeafb0b1b2b3b400") + kUnit);
    store(record, 0xD0, subsystem().cut(24));
    EXPECT_EQ(body(), std::string("IBM.1742-") + kArray + kUnit);
    storeEmpty(record, 0xD0);
    EXPECT_EQ(body(), empty);
    record.m_pages.erase(0xD0);
    EXPECT_EQ(body(), empty);
}

TEST_F(IbmDsGenerator, WithoutPage80IsInvalidPageData) {
    storeEmpty(record, 0x80);
    EXPECT_EQ(body(), kPageData);
    store(record, 0x80, Page(Bytes{}));
    EXPECT_EQ(body(), kPageData);
    record.m_pages.erase(0x80);
    EXPECT_EQ(body(), kPageData);
}

TEST_F(IbmDsGenerator, APage80ThatClaimsMoreThanItHasIsAnInvalidPageSize) {
    const std::string whole = body();
    store(record, 0x80, Page::serial("12345678").set(3, 11));
    EXPECT_EQ(body(), whole);
    store(record, 0x80, Page::serial("12345678").set(3, 12));
    EXPECT_EQ(body(), whole);
    store(record, 0x80, Page::serial("12345678").set(3, 13));
    EXPECT_EQ(body(), kNoKeysSize);
}

TEST_F(IbmDsGenerator, Ds4100TakesTheInquirysTextFromByte36On) {
    use("1724-100  FAStT");
    EXPECT_EQ(body(), std::string("IBM.1724-SERIAL-OF-DS4100") + kUnit);
    store(record, 0, inquiry("SERIAL-OF-DS4100").set(42, 0));
    EXPECT_EQ(body(), std::string("IBM.1724-SERIAL") + kUnit);
    store(record, 0, inquiry(std::string(60, 'S')));
    EXPECT_EQ(body(), "IBM.1724-" + std::string(60, 'S') + kUnit) << "the page's end bounds it";
    store(record, 0, inquiry("").set(36, 0));
    EXPECT_EQ(body(), std::string("IBM.1724-") + kUnit);
}

TEST_F(IbmDsGenerator, Ds4100InquiryOf42BytesOrLessAddsNothing) {
    use("1724-100  FAStT");
    const std::string unit = std::string(kUnit).substr(2);
    store(record, 0, inquiry("SERIAL-OF", 41));
    EXPECT_EQ(body(), unit);
    store(record, 0, inquiry("SERIAL-OF", 42));
    EXPECT_EQ(body(), unit);
    store(record, 0, inquiry("SERIAL-OF", 43));
    EXPECT_EQ(body(), std::string("IBM.1724-SERIAL-") + kUnit);
    store(record, 0, inquiry("SERIAL-OF", 44));
    EXPECT_EQ(body(), std::string("IBM.1724-SERIAL-O") + kUnit);
    storeEmpty(record, 0);
    EXPECT_EQ(body(), unit);
    record.m_pages.erase(0);
    EXPECT_EQ(body(), unit);
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), kPageData);
}

TEST_F(IbmDsGenerator, Page83Of23BytesReadsByte23AsZero) {
    for (const char* product : {"1742-900", "1724-100"}) {
        use(product);
        const std::string whole = body();
        store(record, 0x83, names().cut(21));
        EXPECT_EQ(body(), kPageData);
        store(record, 0x83, names().cut(22));
        EXPECT_EQ(body(), kPageData);
        store(record, 0x83, names().cut(23));
        EXPECT_EQ(body(), whole.substr(0, whole.size() - 2) + "00");
        store(record, 0x83, names().cut(24));
        EXPECT_EQ(body(), whole);
        storeEmpty(record, 0x83);
        EXPECT_EQ(body(), kPageData);
        record.m_pages.erase(0x83);
        EXPECT_EQ(body(), kPageData);
    }
}

TEST_F(IbmDsGenerator, AProductThatIsNeitherIsInvalidEnclosureDataWithoutKeys) {
    use("2107900");
    EXPECT_EQ(body(), kNoKeysEnclosure);
}

TEST_F(IbmDsGenerator, TheFasttPathOfADerivedGeneratorReadsPageC8) {
    struct Derived : CIbmDsUdidGenerator {
        Derived() : CIbmDsUdidGenerator("IBM", "DISKSYSTEM") {}
        bool isESS(std::string) override { return false; }
    } derived;
    EXPECT_TRUE(derived.claimDevice(&record));
    EXPECT_EQ(bodyOf(derived, record), std::string("IBM.1742-") + kArray + kUnit);
    record.m_pages.erase(0x80);
    EXPECT_EQ(bodyOf(derived, record), std::string("IBM.1742-") + kArray + kUnit);
    record.m_pages.erase(0xD0);
    EXPECT_EQ(bodyOf(derived, record), std::string("IBM.1742-") + kUnit);
    store(record, 0xC8, arrayPage().cut(106));
    EXPECT_EQ(bodyOf(derived, record), std::string("IBM.1742-") + kUnit);
    store(record, 0xC8, arrayPage().cut(105));
    EXPECT_EQ(bodyOf(derived, record), kPageData);
    record.m_pages.erase(0xC8);
    EXPECT_EQ(bodyOf(derived, record), kPageData);
}

}  // namespace
