#include "cli/picture/identity_fields.h"

#include <gtest/gtest.h>

#include "cli/picture/identity_text.h"
#include "cli_harness.h"
#include "family_samples.h"
#include "scsitool/udid/account.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

using cli::picture::fieldsOf;
using cli::picture::IdentityFields;
using test::Bytes;
using test::CliMachine;
using test::Page;
using test::recordOf;
using test::smallHost;
using test::store;

const Bytes kUnit = {0x60, 0x06, 0x01, 0x60, 0xA1, 0xB2, 0xC3, 0xD4,
                     0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
const Bytes kPort = {0x50, 0x06, 0x01, 0x60, 1, 2, 3, 4};

IdentityFields fieldsOfNames(const Page& names, int claimLevel = 0) {
    CScsiDeviceData record = recordOf("ACME", "Disk");
    record.m_dmpClaimLevel = claimLevel;
    store(record, 0x83, names);
    return fieldsOf(record, nullptr);
}

TEST(IdentityFields, WithoutPagesNothingIsTold) {
    const IdentityFields fields = fieldsOf(recordOf("ACME", "Disk"), nullptr);
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    cli::picture::addFields(json, fields);
    EXPECT_EQ(json.dump(),
              R"({"family":null,"array_serial":null,"volume_id":null,"logical_unit_name":null,)"
              R"("serial":null,"target_port":null,"port_group":null})");
    EXPECT_TRUE(cli::picture::shownFields(fields).empty());
}

TEST(IdentityFields, ThePortIsThatOfItsOwnDesignators) {
    Page names = Page::names();
    names.naa(kUnit).designator(1, 1, 3, kPort).designator(1, 1, 4, {0, 0, 0, 7});
    names.designator(1, 1, 5, {0, 0, 0x01, 0x02});
    const IdentityFields fields = fieldsOfNames(names);
    EXPECT_EQ(fields.logicalUnitName, "naa.60060160a1b2c3d41122334455667788");
    EXPECT_EQ(fields.targetPort, "naa.5006016001020304");
    EXPECT_EQ(fields.portGroup, 0x0102U);
    const IdentityFields map = fieldsOfNames(names, 16);
    EXPECT_EQ(map.logicalUnitName, fields.logicalUnitName);
    EXPECT_EQ(map.targetPort, "") << "the paths of a map go through several ports";
    EXPECT_FALSE(map.portGroup.has_value());
}

TEST(IdentityFields, ANaaNameStandsBeforeOneThatComesFirst) {
    Page names = Page::names();
    names.designator(2, 0, 1, {'A', 'C', 'M', 'E'}).naa(kUnit);
    EXPECT_EQ(fieldsOfNames(names).logicalUnitName, "naa.60060160a1b2c3d41122334455667788");
    Page other = Page::names();
    other.designator(2, 0, 1, {'A', 'C', 'M', 'E', ' ', ' '});
    EXPECT_EQ(fieldsOfNames(other).logicalUnitName, "t10.ACME");
}

TEST(IdentityFields, APortWithoutANameIsItsRelativeNumber) {
    Page names = Page::names();
    names.designator(1, 1, 4, {0, 0, 0, 7});
    EXPECT_EQ(fieldsOfNames(names).targetPort, "relative port 7");
    for (const std::size_t length : {3U, 5U}) {
        Page odd = Page::names();
        odd.designator(1, 1, 4, Bytes(length, 7)).designator(1, 1, 5, Bytes(length, 7));
        EXPECT_EQ(fieldsOfNames(odd).targetPort, "") << length;
        EXPECT_FALSE(fieldsOfNames(odd).portGroup.has_value()) << length;
    }
    Page ofUnit = Page::names();
    ofUnit.designator(1, 0, 5, {0, 0, 0, 7});
    EXPECT_FALSE(fieldsOfNames(ofUnit).portGroup.has_value()) << "of the unit, not of a port";
}

TEST(IdentityFields, TheSerialEndsWithThePageAndLosesItsBlanks) {
    CScsiDeviceData record = recordOf("ACME", "Disk");
    store(record, 0x80, Page::serial("  AB 12  "));
    EXPECT_EQ(fieldsOf(record, nullptr).serial, "AB 12");
    store(record, 0x80, Page::serial("AB12").pageLength(200));
    EXPECT_EQ(fieldsOf(record, nullptr).serial, "AB12");
    store(record, 0x80, Page::serial("AB12").pageLength(3));
    EXPECT_EQ(fieldsOf(record, nullptr).serial, "AB1");
    store(record, 0x80, Page::serial("   "));
    EXPECT_EQ(fieldsOf(record, nullptr).serial, "");
}

TEST(IdentityFields, APathIsOfNoFamily) {
    udid::Identity identity;
    identity.generator = ":";
    EXPECT_EQ(fieldsOf(recordOf("ACME", "Disk"), &identity).family, "");
    identity.volumeId = "5000";
    EXPECT_EQ(fieldsOf(recordOf("ACME", "Disk"), &identity).family, "Everything else");
}

TEST(IdentityFields, ArrayAndVolumeStandAsInTheUdid) {
    udid::Identity identity;
    identity.generator = "DGC:";
    identity.arraySerial = " apm0012 ";
    identity.volumeId = "60:06:a1";
    const IdentityFields fields = fieldsOf(recordOf("DGC", "RAID 5"), &identity);
    EXPECT_EQ(fields.family, "EMC CLARiiON");
    EXPECT_EQ(fields.arraySerial, "APM0012");
    EXPECT_EQ(fields.volumeId, "60:06:A1");
    identity.generator = "TAQ:TAQ";
    EXPECT_EQ(fieldsOf(recordOf("DGC", "RAID 5"), &identity).volumeId, "60:06:a1");
}

TEST(IdentityFields, WhatNeedsTheControllerIsNotTakenForAnotherFamily) {
    const std::vector<test::FamilySample> samples = test::familySamples();
    const auto netApp =
        std::find_if(samples.begin(), samples.end(),
                     [](const test::FamilySample& sample) { return sample.name == "NetApp"; });
    test::FamilyHost host(*netApp);
    const IdentityFields fields = fieldsOf(test::recordOf(*netApp), host);
    EXPECT_EQ(fields.family, "") << "it would be that of everything else";
    EXPECT_EQ(fields.volumeId, "");
    EXPECT_EQ(host.openDescriptors, 0);
    const IdentityFields other = fieldsOf(test::recordOf(samples[2]), host);
    EXPECT_EQ(other.family, "HP XP");
    EXPECT_EQ(other.arraySerial, "74565");
}

TEST(IdentityFields, StandInEveryDocumentOfTheDevice) {
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"devices", "/dev/sda"},
                                               {"volumes"},
                                               {"inquiry", "/dev/sda"},
                                               {"explain", "/dev/sda"},
                                               {"udid", "/dev/sda"}}) {
        CliMachine machine(test::healthyHost());
        std::vector<std::string> arguments = command;
        arguments.emplace_back("--json");
        const auto document = machine.run(arguments).json();
        const auto& entry = command[0] == "devices"   ? document["devices"][0]
                            : command[0] == "volumes" ? document["volumes"][0]
                            : command[0] == "inquiry" ? document["records"][0]
                            : command[0] == "explain" ? document["explanations"][0]
                                                      : document;
        SCOPED_TRACE(command[0]);
        EXPECT_EQ(entry["family"], "Everything else");
        EXPECT_EQ(entry["array_serial"], nullptr);
        EXPECT_EQ(entry["volume_id"], "5000C50012345678");
        EXPECT_EQ(entry["logical_unit_name"], "naa.5000c50012345678");
        EXPECT_EQ(entry["serial"], "AB12");
        EXPECT_EQ(entry.contains("target_port"), command[0] != "volumes");
    }
}

}  // namespace
