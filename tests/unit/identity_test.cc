#include "scsitool/udid/identity.h"

#include <gtest/gtest.h>

#include "family_samples.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/account.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/udid_text.h"
#include "udid/families.h"

namespace {

using test::FamilyHost;
using test::FamilySample;
using test::familySamples;
using test::Page;
using test::recordOf;
using test::sampleNamed;
using test::store;
using udid::Account;

struct Said {
    std::string sample;
    std::string family;
    std::string arraySerial;
    std::string volumeId;
};

/// What each way that a family's generator goes says, as the generator writes it.
std::vector<Said> everyFamily() {
    const std::string colons = "60:06:01:60:a1:b2:c3:d4:11:22:33:44:55:66:77:88";
    const std::string digits = "60060160A1B2C3D41122334455667788";
    const std::string array = "a1a2a3a4a5a6a7a8a9aaabacadaeafb0";
    return {
        {"Msa", "HP MSA", "00C0FFD5A1B200", "600C0FF000D5A1B2C3D4E5F601000000"},
        {"Eva", "HP EVA", "5001-4380-1122-3344", "6006-0160-A1B2-C3D4-1122-3344-5566-7788"},
        {"Xp", "HP XP", "74565", "16"},
        {"XpWithoutSerial", "HP XP", "", "16"},
        {"Ds8000", "IBM ESS, DS8000, SVC", "7512345", "7788"},
        {"Ess", "IBM ESS, DS8000, SVC", "1082345", "7788"},
        {"Fastt", "IBM ESS, DS8000, SVC", array, "7788"},
        {"Ds4000", "IBM DS", array, colons},
        {"Ds4100", "IBM DS", "SQ54310042", colons},
        {"Clariion", "EMC CLARiiON", "APM00123456789", colons},
        {"ClariionSerialOfPage80", "EMC CLARiiON", "CX500123", colons},
        {"Symmetrix", "EMC Symmetrix", "000129314567", "0A5C"},
        {"SymmetrixOldVolume", "EMC Symmetrix", "000129314567", "05C1"},
        {"Hitachi", "Hitachi", "74565", "16"},
        {"HitachiModular", "Hitachi", "4660", "165"},
        {"HitachiDecimal", "Hitachi", "70012345", "165"},
        {"Lsi", "LSI", array, digits},
        {"NetApp", "NetApp", "4082368-508", "6e6f70717273747576777879"},
        {"ThreePar", "HP 3PAR", "1303421X", digits},
        {"Eternus", "Fujitsu Eternus", "4601A2B3", digits},
    };
}

TEST(Identity, EveryFamilySaysWhichPieceIsWhich) {
    for (const Said& said : everyFamily()) {
        SCOPED_TRACE(said.sample);
        const FamilySample& sample = sampleNamed(said.sample);
        const FamilyHost host(sample);
        CUDIDFactory factory;
        const udid::Identity identity = udid::account(factory, recordOf(sample)).identity;
        EXPECT_EQ(udid::familyName(identity.generator), said.family);
        EXPECT_EQ(identity.arraySerial, said.arraySerial);
        EXPECT_EQ(identity.volumeId, said.volumeId);
    }
}

TEST(Identity, ThePartsOfEverySampleStandInItsUdid) {
    for (const FamilySample& sample : familySamples()) {
        const FamilyHost host(sample);
        CUDIDFactory factory;
        const udid::Identity identity = udid::account(factory, recordOf(sample)).identity;
        const std::string volume = CStringTool::tostrupper(identity.volumeId);
        ASSERT_NE(volume, "") << sample.name;
        EXPECT_EQ(sample.udid.substr(sample.udid.size() - volume.size()), volume) << sample.name;
        EXPECT_NE(sample.udid.find(CStringTool::tostrupper(identity.arraySerial)),
                  std::string::npos)
            << sample.name;
    }
}

TEST(Identity, AnEnumerationTellsItAndTheResultStays) {
    udid::IdentityCollector collector;
    CUDIDFactory factory;
    for (const Said& said : everyFamily()) {
        const FamilySample& sample = sampleNamed(said.sample);
        const FamilyHost host(sample);
        CScsiDeviceData record = recordOf(sample, "/dev/" + said.sample);
        const udid::ReportScope scope(&collector);
        EXPECT_EQ(factory.getUniqueDeviceID(&record), sample.udid);
    }
    for (const Said& said : everyFamily()) {
        const udid::Identity* const identity = collector.of("/dev/" + said.sample);
        ASSERT_NE(identity, nullptr) << said.sample;
        EXPECT_EQ(identity->volumeId, said.volumeId) << said.sample;
    }
    EXPECT_EQ(collector.of("/dev/sdz"), nullptr);
}

TEST(Identity, AFailedFamilyLeavesNoFactToTheOneThatBuilds) {
    CScsiDeviceData record = recordOf(sampleNamed("Msa"));
    store(record, 0x83, Page::names().naa(test::counting(16, 0x60)));
    CUDIDFactory factory;
    const udid::Identity identity = udid::account(factory, record).identity;
    EXPECT_EQ(udid::familyName(identity.generator), "Everything else");
    EXPECT_EQ(identity.arraySerial, "") << "the MSA's part was built before it failed";
    EXPECT_EQ(identity.volumeId, "606162636465666768696a6b6c6d6e6f");
}

TEST(Identity, ARejectedSerialIsNoArraySerial) {
    CScsiDeviceData record = recordOf(sampleNamed("Clariion"));
    store(record, 0xC0, Page::vpd(0xC0, 80).set(49, 14).text(50, "APM 0012345678"));
    store(record, 0x80, Page::serial("CX 500"));
    CUDIDFactory factory;
    const Account account = udid::account(factory, record);
    EXPECT_EQ(account.identity.arraySerial, "");
    EXPECT_EQ(account.identity.volumeId, "60:06:01:60:a1:b2:c3:d4:11:22:33:44:55:66:77:88");
}

TEST(Identity, APathAndAPresetUdidSayNothing) {
    CScsiDeviceData record = recordOf("ACME", "Disk");
    record.m_supportedPages.clear();
    CUDIDFactory factory;
    EXPECT_EQ(udid::account(factory, record).identity.volumeId, "");
    factory.m_presetDeviceMap["/dev/sda"].uid = "x";
    EXPECT_EQ(udid::account(factory, record).identity.generator, "");
}

TEST(Identity, TaqModeSaysItAsItStands) {
    CScsiDeviceData record = recordOf("ACME", "Disk");
    store(record, 0x83, test::unitNames());
    CUDIDFactory factory;
    factory.m_taqMode = true;
    const udid::Identity identity = udid::account(factory, record).identity;
    EXPECT_EQ(udid::familyName(identity.generator), "TAQ");
    EXPECT_EQ(identity.volumeId, "60060160a1b2c3d41122334455667788");
}

TEST(Identity, FamiliesAreNamedAsTheirTableNamesThem) {
    for (const udid::Family& family : udid::kFamilies) {
        EXPECT_EQ(udid::familyName(std::string(family.vendor) + ":" + family.product), family.name);
    }
    EXPECT_EQ(udid::familyName("ACME:ARRAY"), "ACME:ARRAY") << "a plug-in's own";
    EXPECT_EQ(udid::familyName(""), "");
}

TEST(Identity, WhatDecidesIsTold) {
    for (const FamilySample& sample : familySamples()) {
        const FamilyHost host(sample);
        CUDIDFactory factory;
        const Account account = udid::account(factory, recordOf(sample));
        for (const auto& [page, offset] : sample.deciding) {
            const bool isTold =
                std::any_of(account.deciding.begin(), account.deciding.end(),
                            [&, code = page, byte = offset](const udid::DecidingBytes& told) {
                                return told.page == code && byte >= told.range.offset &&
                                       byte < told.range.offset + told.range.length;
                            });
            EXPECT_TRUE(isTold) << sample.name << " page " << page << " byte " << offset;
        }
    }
}

TEST(Identity, NobodyIsToldWhoDoesNotListen) {
    EXPECT_EQ(udid::identityReporter(), nullptr);
    udid::decides({0x83, {}}, 0, 1);
    udid::UdidText text;
    text.literal("x");
    text.says(udid::Fact::kVolumeId, 7);
    EXPECT_EQ(text.str(), "x");
}

}  // namespace
