#include <gtest/gtest.h>

#include <filesystem>

#include "cli_harness.h"
#include "family_samples.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::FamilySample;
using test::familySamples;
using test::Page;
using test::sampleNamed;
using test::smallHost;
using test::TempFolder;

constexpr const char* kVolume = "UDID##ACME##DISK##AB12##5000C50012345678";

std::string lastLine(const std::string& text) {
    const std::size_t end = text.empty() ? 0 : text.size() - 1;
    const std::size_t start = text.rfind('\n', end == 0 ? 0 : end - 1);
    return text.substr(start == std::string::npos ? 0 : start + 1, end - (start + 1));
}

/// Bytes as 'sg_vpd --hex' prints them without offsets.
std::string plainHex(const Page& page) {
    std::string text;
    for (std::size_t i = 0; i < page.size(); ++i) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += i % 16 == 0 ? (i == 0 ? "" : "\n") : " ";
        text += kDigits[page.data()[i] >> 4];
        text += kDigits[page.data()[i] & 0xF];
    }
    return text + "\n";
}

/// The command line that explains a sample's pages from files.
std::vector<std::string> argumentsFor(const FamilySample& sample, const TempFolder& folder) {
    std::vector<std::string> arguments = {"explain"};
    for (const auto& [code, page] : sample.pages) {
        char key[24] = "std";
        if (code == udid::kControllerReply) {
            std::snprintf(key, sizeof key, "c000000a980a22100000");
        } else if (code != 0) {
            std::snprintf(key, sizeof key, "%02X", code);
        }
        arguments.emplace_back("--inhex");
        arguments.push_back(std::string(key) + "=" + folder.write(key, plainHex(page)));
    }
    return arguments;
}

TEST(CliExplain, ShowsForPeopleWhatMadeTheUdid) {
    const TempFolder folder;
    CliMachine machine({});
    const CliResult result = machine.run(argumentsFor(sampleNamed("Ess"), folder));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(
        result.out,
        "Device        /dev/sda\n"
        "Vendor        IBM\n"
        "Product       2105F20\n"
        "Firmware      0001\n"
        "Family        IBM ESS, DS8000, SVC\n"
        "Array serial  1082345\n"
        "Volume        7788\n"
        "Unit name     naa.60060160a1b2c3d41122334455667788\n"
        "Unit serial   10823456\n"
        "Note          the pages are those of files; the device name /dev/sda and the host name "
        "localhost are made up\n"
        "Note          page 00 was not given: it is made of the pages that were\n"
        "\n"
        "Designators of page 0x83:\n"
        "OFFSET  ASSOCIATION   TYPE   CODE SET  LENGTH  VALUE                             "
        "TAKEN\n"
        "     4  logical unit  NAA 6  binary        16  60060160a1b2c3d41122334455667788  "
        "bytes 22 to 23 taken\n"
        "\n"
        "GENERATOR             ANSWER    BECAUSE\n"
        "HP MSA                declines  product \"2105F20\" does not contain \"MSA\"\n"
        "HP EVA                declines  vendor \"IBM\" is none of \"COMPAQ\", \"HP\"\n"
        "HP XP                 declines  vendor \"IBM\" is not \"HP\"\n"
        "IBM ESS, DS8000, SVC  claims    vendor \"IBM\" begins with \"IBM\"\n"
        "                                product \"2105F20\" contains \"2105\"\n"
        "\n"
        "In brackets: the bytes that stand in the UDID. In parentheses: those that decided how "
        "they are read.\n"
        "VPD page 0x80, unit serial number, 12 bytes\n"
        "  00  00 80 00(08[31 30 38 32  33 34 35]36              ....10823456\n"
        "\n"
        "standard INQUIRY data, 96 bytes\n"
        "  00  00 00 06 02 5b 00 00 02  49 42 4d 20 20 20 20 20  ....[...IBM     \n"
        "  10 [32 31 30 35]46 32 30 20  20 20 20 20 20 20 20 20  2105F20         \n"
        "  20  30 30 30 31 00 00 00 00  00 00 00 00 00 00 00 00  0001............\n"
        "  48 more bytes, all 00\n"
        "\n"
        "VPD page 0x83, device identification, 24 bytes\n"
        "  00  00 83 00 14 01 03 00 10  60 06 01 60 a1 b2 c3 d4  ........`..`....\n"
        "  10  11 22 33 44 55 66[77 88]                          .\"3DUfw.\n"
        "\n"
        "PART    FROM       BYTES  FORMAT     TEXT\n"
        "prefix  generator         literal    UDID##IBM##TOTALSTORAGE##\n"
        "body    generator         literal    IBM.\n"
        "body    std        16-19  text       2105\n"
        "body    generator         literal    -\n"
        "body    80         4-10   text       1082345\n"
        "body    generator         literal    ##\n"
        "body    83         22-23  hex-lower  7788\n"
        "\n"
        "It rests on the array's number and on bytes 22 and 23 of page 0x83 alone; volumes of "
        "one array that agree in these two bytes have the same UDID.\n"
        "Only 7 of the 8 characters of the serial number stand in it.\n"
        "\n"
        "Made by IBM ESS, DS8000, SVC, in upper case:\n"
        "UDID##IBM##TOTALSTORAGE##IBM.2105-1082345##7788\n");
}

TEST(CliExplain, JsonHoldsTheWholeExplanation) {
    const TempFolder folder;
    CliMachine machine({});
    std::vector<std::string> arguments = argumentsFor(sampleNamed("Xp"), folder);
    arguments.emplace_back("--json");
    const auto explanations = machine.run(arguments).json()["explanations"];
    ASSERT_EQ(explanations.size(), 1U);
    const auto& explanation = explanations[0];
    EXPECT_EQ(explanation["udid"], "UDID##HP##XP##74565##16");
    EXPECT_EQ(explanation["outcome"], "claimed");
    EXPECT_EQ(explanation["made_by"], "HP:XP");
    EXPECT_EQ(explanation["generators"].size(), 3U);
    EXPECT_EQ(
        explanation["generators"][0].dump(),
        R"({"name":"HP:MSA","family":"HP MSA","claimed":false,"comparisons":[{"field":"product",)"
        R"("value":"OPEN-V","rule":"contains","expected":"MSA","matched":false}],)"
        R"("pages":[],"prefix":[],"body":[],"dropped":[],"remarks":[],"failure":""})");
    EXPECT_EQ(
        explanation["generators"][2]["body"].dump(),
        R"([{"format":"decimal-of-hex-text","text":"74565","origin":"page","page":"std","offset":39,)"
        R"("length":5,"beyond":0},{"format":"literal","text":"##","origin":"generator"},)"
        R"({"format":"decimal-of-hex-text","text":"16","origin":"page","page":"std",)"
        R"("offset":44,"length":4,"beyond":0}])");
    EXPECT_EQ(explanation["pages"][0]["page"], "std");
    EXPECT_EQ(explanation["pages"][0]["length"], 96);
    EXPECT_EQ(explanation["pages"][0]["used"].dump(), R"([{"offset":39,"length":9}])");
    EXPECT_EQ(explanation["pages"][0]["bytes"].get<std::string>().size(), 192U);
}

TEST(CliExplain, MailedPagesOfEveryFamilyGiveItsUdid) {
    for (const FamilySample& sample : familySamples()) {
        const TempFolder folder;
        CliMachine machine({});
        const CliResult result = machine.run(argumentsFor(sample, folder));
        EXPECT_EQ(result.status, 0) << sample.name << result.err;
        EXPECT_EQ(lastLine(result.out), sample.udid) << sample.name;
        EXPECT_EQ(machine.journal(), std::vector<std::string>{}) << "the machine is not asked";
    }
}

TEST(CliExplain, EveryDeviceOfEverySampleEndsInTheUdidOfItsDeviceMap) {
    for (const auto& entry : std::filesystem::directory_iterator(SCSITOOL_SAMPLES)) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        CliMachine machine({});
        const std::string host = entry.path().string();
        const auto devices = machine.run({"--host", host, "devices", "--json"}).json()["devices"];
        EXPECT_FALSE(devices.empty()) << host;
        for (const auto& device : devices) {
            const std::string name = device["name"];
            const CliResult result = machine.run({"--host", host, "explain", name});
            EXPECT_EQ(result.status, 0) << name;
            EXPECT_EQ(lastLine(result.out), device["udid"]) << name;
        }
    }
}

TEST(CliExplain, ADeviceThatAnswersNothingIsExplainedToo) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"explain", "/dev/mapper/control"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("Note          the device opens and did not answer INQUIRY: "
                              "Inappropriate ioctl for device\n"),
              std::string::npos);
    EXPECT_NE(result.out.find("Everything else       claims    it claims every device\n"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(lastLine(result.out), "UDID######/DEV/MAPPER/CONTROL@DB01");
}

TEST(CliExplain, AFallbackSaysWhoFailedAndWhy) {
    const TempFolder folder;
    FamilySample sample = sampleNamed("Lsi");
    sample.pages.erase(0xC8);
    CliMachine machine({});
    const CliResult result = machine.run(argumentsFor(sample, folder));
    EXPECT_NE(result.out.find("                      fails     "
                              "MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::\n"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("VPD page 0xc8, vendor-specific: the device has none\n"),
              std::string::npos);
    EXPECT_NE(
        result.out.find("Made by Everything else after a generator that claimed the device failed, "
                        "in upper case:\n"),
        std::string::npos);
    EXPECT_EQ(lastLine(result.out), "UDID##LSI##INF-01-00####60060160A1B2C3D41122334455667788");
}

TEST(CliExplain, PresetAndTaqAreExplained) {
    const TempFolder folder;
    CliMachine machine(smallHost());
    const std::string preset = folder.write("preset", R"({"/dev/sda":"mine##1"})");
    EXPECT_EQ(machine.run({"explain", "/dev/sda", "--preset", preset}).out,
              "Device        /dev/sda\n"
              "Vendor        ACME\n"
              "Product       Disk\n"
              "Firmware      0430\n"
              "Unit name     naa.5000c50012345678\n"
              "Unit serial   AB12\n"
              "Note          the caller assigned this UDID in advance\n"
              "\n"
              "Designators of page 0x83:\n"
              "OFFSET  ASSOCIATION   TYPE   CODE SET  LENGTH  VALUE             TAKEN\n"
              "     4  logical unit  NAA 5  binary         8  5000c50012345678  no: no generator "
              "built the UDID\n"
              "\n"
              "It rests on what the caller assigned, and on nothing of the device.\n"
              "\n"
              "Assigned in advance, in upper case:\n"
              "MINE##1\n");
    const CliResult taq = machine.run({"explain", "/dev/sda", "--taq"});
    EXPECT_NE(taq.out.find("Made by TAQ as it stands:\n"), std::string::npos) << taq.out;
    EXPECT_EQ(lastLine(taq.out), "TAQ_UDID##ACME##TAQ_MODEL##disk-scsi-5000c50012345678");
}

TEST(CliExplain, ADeviceIsReadAndNothingElseIsDone) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"explain", "/dev/sda"});
    EXPECT_EQ(lastLine(result.out), kVolume);
    EXPECT_EQ(machine.journal(), std::vector<std::string>{});
    EXPECT_EQ(machine.openDescriptors(), 0U);
}

TEST(CliExplain, ADeviceThatDoesNotExistIsNamed) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"explain", "/dev/sdz"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "scsitool: /dev/sdz: cannot open the device: No such file or directory\n");
}

TEST(CliExplain, TextOfADeviceCannotSteerATerminal) {
    const TempFolder folder;
    FamilySample sample = sampleNamed("Eternus");
    sample.pages[0].text(36, "\033[31mAB\xff");
    CliMachine machine({});
    const CliResult result = machine.run(argumentsFor(sample, folder));
    EXPECT_EQ(result.out.find('\033'), std::string::npos);
    EXPECT_EQ(lastLine(result.out),
              "UDID##FUJITSU##ETERNUS##\\x1b[31MAB\\xff##60060160A1B2C3D41122334455667788");
}

/// One way to get the pages of somebody wrong, and what is said about it.
struct Wrong {
    std::vector<std::string> arguments;
    std::string message;
};

TEST(CliExplain, WrongPagesAreRefusedInOneLineWithThePlace) {
    const TempFolder folder;
    const std::string std = "std=" + folder.write("std", plainHex(sampleNamed("Xp").pages.at(0)));
    const std::string odd = folder.write("odd", "00 83 0\n");
    const std::string bad = folder.write("bad", "00 83\n0q\n");
    const std::string none = folder.path("none");
    std::string huge;
    for (int i = 0; i < 65540; ++i) {
        huge += "00\n";
    }
    const std::string tooLong = folder.write("huge", huge);
    const Wrong cases[] = {
        {{},
         "no device named; give NAME, or pages with --inhex PAGE=FILE, for instance 'scsitool "
         "explain /dev/sda'"},
        {{"--inhex", "83=" + odd},
         odd + ":1:7: an odd number of hexadecimal digits in '0', write two digits a byte"},
        {{"--inhex", "83=" + bad},
         bad + ":2:2: 'q' is no hexadecimal digit, expected bytes as 'sg_vpd --hex' prints them"},
        {{"--inhex", "83=" + none}, none + ": cannot read the page: No such file or directory"},
        {{"--inhex", "83=" + tooLong},
         tooLong + ": 65540 bytes, expected one page of at most 65539"},
        {{"--inhex", "83"}, "--inhex 83: expected PAGE=FILE, for instance 83=page83.hex"},
        {{"--inhex", "83="}, "--inhex 83=: expected PAGE=FILE, for instance 83=page83.hex"},
        {{"--inhex", "8=x"},
         "--inhex 8=x: unknown page '8', expected std, a VPD page code of two hexadecimal digits "
         "such as 83, or a command block of twenty"},
        {{"--inhex", "c000000a980a221000=x"},
         "--inhex c000000a980a221000=x: unknown page 'c000000a980a221000', expected std, a VPD "
         "page code of two hexadecimal digits such as 83, or a command block of twenty"},
        {{"--inhex", "zz=x"},
         "--inhex zz=x: unknown page 'zz', expected std, a VPD page code of two hexadecimal digits "
         "such as 83, or a command block of twenty"},
        {{"--inhex", std, "--inhex", std}, "--inhex " + std + ": page std is given twice"},
        {{"--inhex", "83=" + std.substr(4)},
         "--inhex: the standard INQUIRY data, which names vendor and product, is missing; add "
         "--inhex std=FILE"},
        {{"--host", SCSITOOL_SAMPLES "/families.json", "--inhex", std},
         "--inhex brings a host of its own; leave --host out"}};
    for (const Wrong& wrong : cases) {
        CliMachine machine(smallHost());
        std::vector<std::string> arguments = {"explain"};
        arguments.insert(arguments.end(), wrong.arguments.begin(), wrong.arguments.end());
        const CliResult result = machine.run(arguments);
        EXPECT_EQ(result.status, 2) << wrong.message;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "scsitool: " + wrong.message + "\n");
    }
}

TEST(CliExplain, ANameAndPagesExcludeEachOther) {
    CliMachine machine(smallHost());
    const CliResult result = machine.run({"explain", "/dev/sda", "--inhex", "83=x"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
}

TEST(CliExplain, SaysWhatDoesNotFitTogetherInMailedPages) {
    const TempFolder folder;
    FamilySample sample = sampleNamed("Eternus");
    sample.pages[0].cut(60);
    sample.pages[0x83].set(1, 0x80);
    sample.pages[0xB0] = Page::vpd(0xB0, 10);
    sample.pages[0x80] = Page::serial("12345678").set(3, 4);
    CliMachine machine({});
    std::vector<std::string> arguments = argumentsFor(sample, folder);
    arguments.emplace_back("--json");
    EXPECT_EQ(
        machine.run(arguments).json()["explanations"][0]["remarks"].dump(1),
        "[\n"
        " \"the pages are those of files; the device name /dev/sda and the host name localhost "
        "are made up\",\n"
        " \"page 00 was not given: it is made of the pages that were\",\n"
        " \"std says that it has 96 bytes, 60 were given: the others read as 0\",\n"
        " \"page 80 says that it has 8 bytes, 12 were given: the last 4 are not read\",\n"
        " \"page 83 says that it is page 80\",\n"
        " \"page b0 is not one that a UDID is made of: it is not read\"\n"
        "]");
}

TEST(CliExplain, AGivenPageListIsTakenAsItIs) {
    const TempFolder folder;
    FamilySample sample = sampleNamed("Eternus");
    std::vector<std::string> arguments = argumentsFor(sample, folder);
    arguments.emplace_back("--inhex");
    arguments.push_back("00=" + folder.write("00", plainHex(Page::supported({0x00, 0x80}))));
    arguments.emplace_back("--json");
    CliMachine machine({});
    const auto explanation = machine.run(arguments).json()["explanations"][0];
    EXPECT_EQ(explanation["remarks"][1], "page 83 is not listed in page 00: it is not read");
    EXPECT_EQ(explanation["outcome"], "fallback");
}

}  // namespace
