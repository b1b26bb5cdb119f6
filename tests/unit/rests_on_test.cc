#include "cli/output/rests_on.h"

#include <gtest/gtest.h>

#include "cli/output/designator_text.h"
#include "cli/output/family_rests.h"
#include "family_samples.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

using cli::restsOn;
using cli::ShownDesignator;
using cli::shownDesignators;
using test::FamilySample;
using test::familySamples;
using test::Page;
using test::recordOf;
using test::sampleNamed;
using test::store;
using Lines = std::vector<std::string>;

udid::Account accountOf(const CScsiDeviceData& record) {
    CUDIDFactory factory;
    return udid::account(factory, record);
}

TEST(RestsOn, BeginsWithTheSentenceOfTheFamily) {
    for (const FamilySample& sample : familySamples()) {
        const test::FamilyHost host(sample);
        const udid::Account account = accountOf(recordOf(sample));
        const Lines lines = restsOn(account);
        const std::string sentence =
            cli::familyRestsOn(udid::familyName(account.identity.generator));
        ASSERT_FALSE(lines.empty()) << sample.name;
        EXPECT_EQ(lines[0], sentence) << sample.name;
    }
}

TEST(RestsOn, AFirstDesignatorThatIsNoUnitNameIsToldWithTheBytesOfTheNext) {
    CScsiDeviceData record = recordOf(sampleNamed("Eternus"));
    Page names = Page::names();
    names.naa({0x50, 1, 2, 3, 4, 5, 6, 7}).designator(1, 1, 4, {0, 0, 0, 1});
    store(record, 0x83, names);
    const Lines lines = restsOn(accountOf(record));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1],
              "Its last part is no name of the logical unit: the first designator is no NAA 6 "
              "name, and bytes 16 to 23 are the next designator's. Two paths or two volumes may "
              "differ in it or not.");
    store(record, 0x83, Page::names().designator(2, 0, 1, test::counting(16, 'A')));
    EXPECT_EQ(restsOn(accountOf(record))[1],
              "Its last part is no name of the logical unit: the first designator is no NAA 6 "
              "name. Two paths or two volumes may differ in it or not.");
}

TEST(RestsOn, ASerialThatIsCutAndSmallLettersAreTold) {
    CScsiDeviceData record = recordOf(sampleNamed("Ess"));
    store(record, 0x80, Page::serial("108a345"));
    EXPECT_EQ(restsOn(accountOf(record)),
              (Lines{cli::familyRestsOn("IBM ESS, DS8000, SVC"),
                     "Its small letters are written as capitals: a text that differs in them alone "
                     "makes the same UDID."}));
    store(record, 0x80, Page::serial("10823456"));
    EXPECT_EQ(restsOn(accountOf(record))[1],
              "Only 7 of the 8 characters of the serial number stand in it.");
}

TEST(RestsOn, APathAPrefixAFallbackAndAPresetSaySo) {
    CScsiDeviceData path = recordOf("ACME", "Disk");
    EXPECT_EQ(restsOn(accountOf(path)),
              Lines{"It rests on the path at this host and on nothing of the volume: another path, "
                    "another host or another name of either makes another UDID."});
    CScsiDeviceData failed = recordOf(sampleNamed("Lsi"));
    failed.m_pages.erase(0xC8);
    const Lines fallback = restsOn(accountOf(failed));
    ASSERT_EQ(fallback.size(), 2U);
    EXPECT_EQ(fallback[0], cli::familyRestsOn("Everything else"));
    EXPECT_EQ(fallback[1], "It takes the form of LSI as soon as what is missing there is shown.");
    CUDIDFactory factory;
    factory.m_presetDeviceMap["/dev/sda"].uid = "x";
    EXPECT_EQ(restsOn(udid::account(factory, path)),
              Lines{"It rests on what the caller assigned, and on nothing of the device."});
}

TEST(DesignatorText, SaysWhatIsTakenAndWhyTheOthersAreNot) {
    CScsiDeviceData record = recordOf("ACME", "Disk");
    Page names = Page::names();
    names.designator(2, 0, 1, {'A', 'C', 'M', 'E', ' ', ' '}).naa(test::counting(16, 0x60));
    names.designator(0x61, 0, 0x93, {0x50, 1, 2, 3, 4, 5, 6, 7}).designator(3, 0, 8, {'i', 'q'});
    names.designator(3, 0, 0, {1, 2}).designator(1, 1, 4, {0, 0, 0, 7});
    store(record, 0x83, names);
    const std::vector<ShownDesignator> shown = shownDesignators(names.data(), accountOf(record));
    ASSERT_EQ(shown.size(), 6U);
    Lines lines;
    for (const ShownDesignator& one : shown) {
        lines.push_back(std::to_string(one.offset) + "|" + one.association + "|" + one.type + "|" +
                        one.codeSet + "|" + one.text + "|" + one.why);
    }
    EXPECT_EQ(lines,
              (Lines{"4|logical unit|T10 vendor ID|ASCII|ACME|no: another one goes before it",
                     "14|logical unit|NAA 6|binary|606162636465666768696a6b6c6d6e6f|taken",
                     "34|target port (SAS)|NAA 5|binary|5001020304050607|no: it does not name the "
                     "logical unit",
                     "46|logical unit|SCSI name string|UTF-8|iq|no: this type is not looked for",
                     "52|logical unit|vendor-specific|UTF-8|\x01\x02|no: neither binary nor ASCII",
                     "58|target port|relative target port|binary|7|no: it does not name the "
                     "logical unit"}));
}

TEST(DesignatorText, OfAFamilyThatTakesBytesWhateverStandsThere) {
    CScsiDeviceData record = recordOf(sampleNamed("Eternus"));
    Page names = Page::names();
    names.naa({0x50, 1, 2, 3, 4, 5, 6, 7}).naa({0x51, 1, 2, 3, 4, 5, 6, 7}).naa({0x52, 1});
    store(record, 0x83, names);
    const std::vector<ShownDesignator> shown = shownDesignators(names.data(), accountOf(record));
    ASSERT_EQ(shown.size(), 3U);
    EXPECT_EQ(shown[0].why, "taken");
    EXPECT_EQ(shown[1].why, "bytes 20 to 23 taken");
    EXPECT_EQ(shown[2].why, "no: the family takes bytes 8 to 23 whatever stands there");
    EXPECT_TRUE(shown[1].isTaken);
    EXPECT_FALSE(shown[2].isTaken);
    const FamilySample& xp = sampleNamed("Xp");
    EXPECT_EQ(shownDesignators(names.data(), accountOf(recordOf(xp)))[0].why,
              "no: the family takes nothing of this page");
}

TEST(DesignatorText, ACutValueIsToldAndAnOlderPageHasNone) {
    CScsiDeviceData record = recordOf(sampleNamed("Eternus"));
    Page names = test::unitNames();
    names.designator(1, 1, 3, test::counting(8, 0x50)).cut(names.size() - 3);
    store(record, 0x83, names);
    EXPECT_EQ(shownDesignators(names.data(), accountOf(record))[1].why,
              "no: the family takes bytes 8 to 23 whatever stands there; the page holds 5 of its 8 "
              "bytes");
    Page old = test::unitNames().set(6, 1);
    EXPECT_TRUE(shownDesignators(old.data(), accountOf(record)).empty());
    EXPECT_EQ(cli::designatorsText({}, {}), "");
}

}  // namespace
