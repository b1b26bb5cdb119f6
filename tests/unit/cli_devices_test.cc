#include "cli_harness.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::healthyHost;
using test::smallHost;
using test::TempFolder;

constexpr const char* kVolume = "UDID##ACME##DISK##AB12##5000C50012345678";

TEST(CliDevices, ListsTheDeviceMapInItsOrder) {
    CliMachine machine(healthyHost());
    const CliResult result = machine.run({"devices"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "DEVICE              CLAIM  ADDRESS     SIZE  PRODUCT  STATE  UDID\n"
              "/dev/mapper/mpatha     16  -        1.0 GiB  Disk     ok     "
              "UDID##ACME##DISK##AB12##5000C50012345678\n"
              "/dev/sda                0  2:0:5:1  1.0 GiB  Disk     ok     "
              "UDID##ACME##DISK##AB12##5000C50012345678\n"
              "/dev/sdb                0  3:0:5:1  1.0 GiB  Disk     ok     "
              "UDID##ACME##DISK##AB12##5000C50012345678\n");
}

TEST(CliDevices, JsonHasOneEntryADevice) {
    CliMachine machine(smallHost());
    const auto devices = machine.run({"devices", "--json"}).json()["devices"];
    ASSERT_EQ(devices.size(), 4U);
    EXPECT_EQ(devices[0].dump(),
              R"({"name":"/dev/mapper/control","udid":"UDID######/DEV/MAPPER/CONTROL@DB01",)"
              R"("claim_level":16,"native_paths":[],"identity":"path","family":null,)"
              R"("array_serial":null,"volume_id":null,"logical_unit_name":null,"serial":null,)"
              R"("target_port":null,"port_group":null,"address":null,"hctl":null,)"
              R"("state":"no SCSI disk","last_known_udid":null,"marks":[],"size_kb":null,)"
              R"("vendor":null,"product":null,"revision":null,"kernel_name":null,"used_by":null,)"
              R"("device_number":null,"wwid":null,"read_only":null,"partitions":null})");
    EXPECT_EQ(devices[1].dump(),
              std::string(R"({"name":"/dev/mapper/mpatha","udid":")") + kVolume +
                  R"(","claim_level":16,"native_paths":[],"identity":"unit",)"
                  R"("family":"Everything else","array_serial":null,)"
                  R"("volume_id":"5000C50012345678",)"
                  R"("logical_unit_name":"naa.5000c50012345678","serial":"AB12",)"
                  R"("target_port":null,"port_group":null,"address":null,)"
                  R"("hctl":null,"state":"ok","last_known_udid":null,"marks":[],)"
                  R"("size_kb":1048576,"vendor":"ACME","product":"Disk","revision":"0430",)"
                  R"("kernel_name":null,"used_by":null,)"
                  R"("device_number":null,"wwid":null,"read_only":null,"partitions":null,)"
                  R"("features":null,"hardware_handler":null})");
    EXPECT_EQ(devices[3]["name"], "/dev/sdb");
    EXPECT_EQ(devices[3]["address"].dump(), "[3,0,5,1]");
    EXPECT_EQ(devices[3]["hctl"], "3:0:5:1");
}

TEST(CliDevices, ANameNarrowsTheMap) {
    CliMachine machine(smallHost());
    const auto devices = machine.run({"devices", "/dev/sdb", "--json"}).json()["devices"];
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0]["name"], "/dev/sdb");
}

TEST(CliDevices, ADeviceThatDoesNotExistIsNamed) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"devices", "/dev/sdz"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "scsitool: /dev/sdz: cannot open the device: No such file or directory\n");
}

TEST(CliDevices, ANodeThatNoEnumerationListsIsNamed) {
    recording::RecordedHostData data = smallHost();
    data.devices["/dev/st0"] = data.devices["/dev/sda"];
    CliMachine machine(data);
    const CliResult result = machine.run({"devices", "/dev/st0"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "scsitool: /dev/st0: it is neither a whole sd disk of /proc/partitions nor a "
              "multipath device; 'scsitool devices' lists the names\n");
}

TEST(CliDevices, PresetUdidsAreTakenFromTheFile) {
    const TempFolder folder;
    CliMachine machine(smallHost());
    const std::string preset = folder.write("preset", R"({"/dev/sda":"mine##1"})");
    EXPECT_EQ(machine.run({"devices", "/dev/sda", "--preset", preset, "--json"})
                  .json()["devices"][0]["udid"],
              "MINE##1");
    EXPECT_EQ(machine.run({"validate", "/dev/sda", "--preset", preset, "--json"})
                  .json()["devices"][0]["udid"],
              "MINE##1");
}

TEST(CliDevices, AMalformedPresetFileIsRefusedWithThePlace) {
    const TempFolder folder;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[]", ": expected a JSON object of device name to UDID"},
        {R"({"/dev/sda":7})", ":/~1dev~1sda: expected a string, the device's UDID"},
        {"{", ":1:"},
        {R"({"a":"b","a":"c"})", ":"},
    };
    for (const auto& [text, message] : cases) {
        CliMachine machine(smallHost());
        const std::string preset = folder.write("preset", text);
        const CliResult result = machine.run({"devices", "--preset", preset, "--rescan"});
        EXPECT_EQ(result.status, 2) << text;
        EXPECT_EQ(result.out, "") << text;
        EXPECT_THAT(result.err, testing::StartsWith("scsitool: " + preset + message)) << text;
        EXPECT_THAT(machine.journal(), testing::IsEmpty()) << text;
    }
    CliMachine machine(smallHost());
    EXPECT_EQ(machine.run({"devices", "--preset", "/nowhere/p"}).err,
              "scsitool: /nowhere/p: cannot read the preset file: No such file or directory\n");
}

TEST(CliDevices, TaqModeGivesTaqUdids) {
    CliMachine machine(smallHost());
    for (const char* command : {"devices", "validate"}) {
        const CliResult result = machine.run({command, "/dev/sda", "--taq", "--json"});
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_THAT(result.json()["devices"][0]["udid"].get<std::string>(),
                    testing::StartsWith("TAQ_UDID##"))
            << command;
    }
}

TEST(CliDevices, RescanArgumentsNeedTheRescan) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"devices", "--rescan-args=--hosts=1"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, testing::HasSubstr("--rescan-args requires --rescan"));
}

TEST(CliVolumes, OneRowAUdidWithAllThatCarriesIt) {
    CliMachine machine(healthyHost());
    const CliResult result = machine.run({"volumes"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "VOLUME                 SIZE  PATHS  VENDOR  PRODUCT  ARRAY  LUN  USED BY  UDID\n"
              "/dev/mapper/mpatha  1.0 GiB    2/2  ACME    Disk     -        1  -        "
              "UDID##ACME##DISK##AB12##5000C50012345678\n");
}

TEST(CliVolumes, JsonNamesSizePathsAndAddresses) {
    CliMachine machine(healthyHost());
    const auto document = machine.run({"volumes", "--json"}).json();
    const auto& volumes = document["volumes"];
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_EQ(volumes[0]["udid"], kVolume);
    EXPECT_EQ(volumes[0]["identity"], "unit");
    EXPECT_EQ(volumes[0]["size_kb"], 1048576);
    EXPECT_EQ(volumes[0]["paths"], 2);
    EXPECT_EQ(volumes[0]["name"], "/dev/mapper/mpatha");
    EXPECT_EQ(volumes[0]["living_paths"], 2);
    EXPECT_EQ(volumes[0]["luns"].dump(), "[1]");
    EXPECT_THAT(volumes[0]["devices"][0].dump(),
                testing::StartsWith(
                    R"({"name":"/dev/mapper/mpatha","claim_level":16,"address":null,"hctl":null,)"
                    R"("state":"ok","last_known_udid":null,"marks":[],)"));
    EXPECT_THAT(
        volumes[0]["devices"][2].dump(),
        testing::EndsWith(R"("size_kb":1048576,"vendor":"ACME","product":"Disk","revision":"0430",)"
                          R"("kernel_name":"sdb","used_by":null,"lives":true,"kernel_state":null,)"
                          R"("access_state":null,"mapper_state":null,"initiator_port":null,)"
                          R"("driver":null,"generic_node":null,)"
                          R"("device_number":null,"wwid":null,"read_only":null,"partitions":null,)"
                          R"("device_type":null,"remote_port":null,"portal_group":null,)"
                          R"("path_group":null})"));
    EXPECT_EQ(document["unidentified"].dump(), "[]");
    EXPECT_EQ(document["contradictions"].dump(), "[]");
}

TEST(CliVolumes, ADiskThatHasASizeAndDoesNotAnswerIsAVolumeOfUnknownAddress) {
    recording::RecordedHostData data = smallHost();
    data.devices["/dev/sdc"] = {};
    data.devices["/dev/sdc"].sizeBytes = 1024;
    CliMachine machine(data);
    const auto volumes = machine.run({"volumes", "--json"}).json()["volumes"];
    ASSERT_EQ(volumes.size(), 2U);
    EXPECT_EQ(volumes[1]["size_kb"], 1);
    EXPECT_TRUE(volumes[1]["devices"][0]["address"].is_null());
}

TEST(CliUdid, PrintsTheUdidAlone) {
    CliMachine machine(smallHost());
    EXPECT_EQ(machine.run({"udid", "/dev/sda"}).out, std::string(kVolume) + "\n");
    const auto document = machine.run({"udid", "/dev/sda", "--json"}).json();
    EXPECT_EQ(document["name"], "/dev/sda");
    EXPECT_EQ(document["udid"], kVolume);
}

TEST(CliUdid, AnUnknownNameIsAFailure) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"udid", "/dev/sdz", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.json()["udid"], "");
    EXPECT_THAT(result.err, testing::HasSubstr("/dev/sdz: cannot open the device"));
}

TEST(CliValidate, ShowsTheNamedDevice) {
    CliMachine machine(smallHost());
    EXPECT_EQ(machine.run({"validate", "/dev/sda"}).out,
              "DEVICE    CLAIM  UDID\n/dev/sda      0  UDID##ACME##DISK##AB12##5000C50012345678\n");
    EXPECT_EQ(machine.run({"validate", "/dev/sdc"}).status, 1);
}

TEST(CliDisks, ListsDisksWithTheirSize) {
    CliMachine machine(smallHost());
    EXPECT_EQ(machine.run({"disks"}).out,
              "DEVICE    ADDRESS     SIZE      KIB  PRODUCT  STATE\n"
              "/dev/sda  -        1.0 GiB  1048576  -        ok\n"
              "/dev/sdb  -        1.0 GiB  1048576  -        ok\n"
              "/dev/sdc  -        2.0 GiB  2097152  -        gone\n");
    const CliResult result = machine.run({"disks", "--json"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "scsitool: 1 of 3 disks did not answer: /dev/sdc\n");
    const auto document = result.json();
    EXPECT_EQ(document["result"], 0);
    ASSERT_EQ(document["disks"].size(), 2U);
    EXPECT_THAT(
        document["disks"][1].dump(),
        testing::StartsWith(R"({"name":"/dev/sdb","size_kb":1048576,"address":null,"hctl":null,)"
                            R"("state":"ok","last_known_udid":null,"marks":[],"vendor":null,)"));
    ASSERT_EQ(document["unidentified"].size(), 1U);
    EXPECT_THAT(
        document["unidentified"][0].dump(),
        testing::StartsWith(R"({"name":"/dev/sdc","address":null,"hctl":null,"state":"gone",)"
                            R"("last_known_udid":null,"marks":[],"size_kb":2097152,)"));
}

TEST(CliDisks, AHostWithoutDisksIsAFailure) {
    CliMachine machine({});
    const CliResult result = machine.run({"disks", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.json()["result"], 6);
    EXPECT_THAT(result.err, testing::HasSubstr("no SCSI disk found: "));
}

TEST(CliInquiry, JsonIsTheWholeRecord) {
    CliMachine machine(smallHost());
    const auto records = machine.run({"inquiry", "/dev/sda", "--json"}).json()["records"];
    ASSERT_EQ(records.size(), 1U);
    auto record = records[0];
    EXPECT_THAT(record["pages"]["std"].get<std::string>(),
                testing::StartsWith("000005025b00000241434d4520202020"));
    record["pages"].erase("std");
    EXPECT_EQ(
        record.dump(),
        R"({"name":"/dev/sda","vendor":"ACME","product":"Disk","firmware":"0430","host":2,)"
        R"("channel":0,"target":5,"lun":1,"hctl":null,"claim_level":0,"bus_type":0,"multipath":0,)"
        R"("size_kb":null,"os":"Linux","supported_pages":[0,128,131],)"
        R"("pages":{"00":"00000003008083","80":"0080000441423132","83":"0083000c010300085000c50012345678"},)"
        R"("family":"Everything else","array_serial":null,"volume_id":"5000C50012345678",)"
        R"("logical_unit_name":"naa.5000c50012345678","serial":"AB12","target_port":null,)"
        R"("port_group":null})");
}

TEST(CliInquiry, TextShowsIdentityAddressAndPages) {
    CliMachine machine(smallHost());
    const std::string text = machine.run({"inquiry", "/dev/sda"}).out;
    EXPECT_THAT(text, testing::StartsWith("Device            /dev/sda\n"
                                          "Vendor            ACME\n"
                                          "Product           Disk\n"
                                          "Firmware          0430\n"
                                          "Address           2:0:5:1 (host:channel:target:lun)\n"
                                          "Claim level       0\n"
                                          "Family            Everything else\n"
                                          "Volume            5000C50012345678\n"
                                          "Unit name         naa.5000c50012345678\n"
                                          "Unit serial       AB12\n"
                                          "Supported pages   00 80 83\n"
                                          "\n"
                                          "standard INQUIRY data, 96 bytes\n"
                                          "  00  00 00 05 02 5b 00 00 02  41 43 4d 45 20 20 20 20"
                                          "  ....[...ACME    \n"));
    EXPECT_THAT(text, testing::EndsWith("VPD page 0x83, device identification, 16 bytes\n"
                                        "  00  00 83 00 0c 01 03 00 08  50 00 c5 00 12 34 56 78"
                                        "  ........P....4Vx\n"));
}

TEST(CliInquiry, HexIsABlockAPage) {
    CliMachine machine(smallHost());
    EXPECT_EQ(machine.run({"inquiry", "/dev/sda", "--hex", "--page", "80"}).out,
              "# /dev/sda, VPD page 0x80, unit serial number, 8 bytes\n"
              "00 80 00 04 41 42 31 32\n");
    const std::string all = machine.run({"inquiry", "/dev/sda", "--hex"}).out;
    EXPECT_THAT(all, testing::StartsWith("# /dev/sda, standard INQUIRY data, 96 bytes\n00 00 05"));
    EXPECT_THAT(all,
                testing::HasSubstr("\n\n# /dev/sda, VPD page 0x00, supported VPD pages, 7 "
                                   "bytes\n00 00 00 03 00 80 83\n\n# /dev/sda, VPD page 0x80"));
    EXPECT_THAT(all, testing::HasSubstr("\n\n# /dev/sda, VPD page 0x83, "));
    EXPECT_EQ(machine.run({"inquiry", "/dev/sda", "--hex", "--page", "0x83"}).out,
              all.substr(all.find("# /dev/sda, VPD page 0x83")));
}

TEST(CliInquiry, ThePageListIsAPageAndNotTheInquiryData) {
    CliMachine machine(smallHost());
    const std::string list =
        "# /dev/sda, VPD page 0x00, supported VPD pages, 7 bytes\n00 00 00 03 00 80 83\n";
    for (const char* const code : {"00", "0", "0x00"}) {
        EXPECT_EQ(machine.run({"inquiry", "/dev/sda", "--hex", "--page", code}).out, list) << code;
    }
    EXPECT_THAT(machine.run({"inquiry", "/dev/sda", "--hex", "--page", "std"}).out,
                testing::StartsWith("# /dev/sda, standard INQUIRY data, 96 bytes\n00 00 05"));
    recording::RecordedHostData data = smallHost();
    data.devices["/dev/sda"].pages.erase(0);
    CliMachine without(data);
    const CliResult missing = without.run({"inquiry", "/dev/sda", "--hex", "--page", "00"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "scsitool: /dev/sda: page 00 was not read from the device\n");
}

TEST(CliInquiry, OfThePageListStandsWhatItSaysThatItHas) {
    recording::RecordedHostData data = smallHost();
    data.devices["/dev/sda"].pages[0] =
        recording::RecordedPage(recording::Bytes{0, 0, 0, 3, 0, 0x80, 0x83, 0xFF, 0xFF});
    CliMachine machine(data);
    EXPECT_THAT(machine.run({"inquiry", "/dev/sda", "--hex", "--page", "00"}).out,
                testing::EndsWith(" 7 bytes\n00 00 00 03 00 80 83\n"));
}

TEST(CliInquiry, APageThatWasNotReadIsAFailure) {
    CliMachine machine(smallHost());
    const CliResult missing = machine.run({"inquiry", "/dev/sda", "--hex", "--page", "c0"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "scsitool: /dev/sda: page c0 was not read from the device\n");
    for (const char* page : {"xyz", "100", "-1", "0x"}) {
        EXPECT_EQ(machine.run({"inquiry", "/dev/sda", "--hex", "--page", page}).status, 2) << page;
    }
}

TEST(CliInquiry, ADiskThatDoesNotAnswerIsAFailure) {
    recording::RecordedHostData data = smallHost();
    data.devices["/dev/sdc"] = {};
    CliMachine machine(data);
    const CliResult result = machine.run({"inquiry", "/dev/sdc", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(
        result.err,
        "scsitool: /dev/sdc: the device opens and did not answer INQUIRY: Inappropriate ioctl "
        "for device\n");
    EXPECT_EQ(result.json()["records"][0]["host"], -1);
}

TEST(CliInquiry, AHostileVendorDoesNotReachTheTerminal) {
    recording::RecordedHostData data = smallHost();
    recording::Bytes& inquiry = data.devices["/dev/sda"].standardInquiry->bytes;
    inquiry[8] = 0x1b;
    inquiry[9] = '[';
    inquiry[10] = 0x9b;
    CliMachine machine(data);
    for (const char* command : {"inquiry", "validate"}) {
        const std::string text = machine.run({command, "/dev/sda"}).out;
        EXPECT_EQ(text.find('\x1b'), std::string::npos) << command;
        EXPECT_THAT(text, testing::HasSubstr("\\x1b[\\x9bE")) << command;
    }
    const CliResult json = machine.run({"inquiry", "/dev/sda", "--json"});
    EXPECT_EQ(json.json()["records"][0]["vendor"], "\u001b[\u009bE");
    EXPECT_EQ(json.out.find('\x9b'), std::string::npos);
}

}  // namespace
