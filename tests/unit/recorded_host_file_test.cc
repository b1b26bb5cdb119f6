#include "recording/replay/recorded_host_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>

#include "recording/text/hex.h"
#include "recording/text/strict_json.h"

namespace {

using recording::Bytes;
using recording::parseRecordedHost;
using recording::RecordedDevice;
using recording::RecordedHostData;
using recording::RecordedHostError;

/// A recorded host with members beside its format.
std::string withMembers(const std::string& members) {
    return R"({"format":"scsitool-host/1")" + (members.empty() ? "" : "," + members) + "}";
}

RecordedHostData parse(const std::string& members) {
    return parseRecordedHost(withMembers(members), "host.json");
}

std::string refusalOf(const std::string& text) {
    try {
        parseRecordedHost(text, "host.json");
    } catch (const RecordedHostError& error) {
        return error.what();
    }
    return "accepted";
}

struct Refusal {
    std::string text;
    std::string message;
};

void expectRefusals(const std::vector<Refusal>& refusals) {
    for (const Refusal& refusal : refusals) {
        EXPECT_EQ(refusalOf(refusal.text), refusal.message) << refusal.text.substr(0, 200);
    }
}

void expectMemberRefusals(const std::vector<Refusal>& refusals) {
    for (const Refusal& refusal : refusals) {
        EXPECT_EQ(refusalOf(withMembers(refusal.text)), refusal.message) << refusal.text;
    }
}

// What is accepted.

TEST(RecordedHostFile, NeedsNothingButItsFormat) {
    const RecordedHostData data = parse("");
    EXPECT_TRUE(data.files.empty());
    EXPECT_TRUE(data.directories.empty());
    EXPECT_TRUE(data.devices.empty());
    EXPECT_TRUE(data.commands.empty());
    EXPECT_EQ(data.hostName, "localhost");
    EXPECT_EQ(data.kernelRelease, "5.10.0");
}

TEST(RecordedHostFile, ReadsNames) {
    const RecordedHostData data =
        parse(R"("hostname":"db01","kernel_release":"4.18.0-553.el8.x86_64")");
    EXPECT_EQ(data.hostName, "db01");
    EXPECT_EQ(data.kernelRelease, "4.18.0-553.el8.x86_64");
    EXPECT_EQ(parse(R"("hostname":null)").hostName, std::nullopt);
}

TEST(RecordedHostFile, ReadsFilesOfTextOfBytesAndOfAnError) {
    const RecordedHostData data = parse(
        R"("files":{"/a":"x\ny","/b":{"hex":"00fF80"},"/c":{"errno":5},"/d":"","/e":{"hex":""}})");
    ASSERT_EQ(data.files.size(), 5U);
    EXPECT_EQ(data.files.at("/a").content, "x\ny");
    EXPECT_EQ(data.files.at("/a").error, 0);
    EXPECT_EQ(data.files.at("/b").content, std::string("\0\xFF\x80", 3));
    EXPECT_EQ(data.files.at("/c").error, EIO);
    EXPECT_EQ(data.files.at("/d").content, "");
    EXPECT_EQ(data.files.at("/e").content, "");
}

TEST(RecordedHostFile, ReadsFilesWhoseReadFails) {
    const RecordedHostData data =
        parse(R"("files":{"/a":{"text":"x\ny","read_errno":5},"/b":{"read_errno":19,"hex":"00fF"},)"
              R"("/c":{"read_errno":1}})");
    EXPECT_EQ(data.files.at("/a").content, "x\ny");
    EXPECT_EQ(data.files.at("/a").readError, EIO);
    EXPECT_EQ(data.files.at("/a").error, 0);
    EXPECT_EQ(data.files.at("/b").content, std::string("\0\xFF", 2));
    EXPECT_EQ(data.files.at("/b").readError, ENODEV);
    EXPECT_EQ(data.files.at("/c").content, "");
    EXPECT_EQ(data.files.at("/c").readError, EPERM);
    expectMemberRefusals({
        {R"("files":{"/f":{"text":"x","hex":"00","read_errno":5}})",
         "host.json: /files/~1f: expected one of text and hex, found both"},
        {R"("files":{"/f":{"text":"x","read_errno":0}})",
         "host.json: /files/~1f/read_errno: expected a whole number from 1 to 4095, found 0"},
        {R"("files":{"/f":{"errno":5,"read_errno":5}})",
         "host.json: /files/~1f/errno: expected one of the members text, hex, read_errno, "
         "comment, found \"errno\""},
        {R"("files":{"/f":{"text":"x"}})",
         "host.json: /files/~1f/text: expected one of the members hex, found \"text\""},
    });
}

TEST(RecordedHostFile, ReadsDirectoriesInTheirOrder) {
    const RecordedHostData data =
        parse(R"("directories":{"/dev/mapper/":[".","..","b","a",{"hex":"ff"}],"/":[]})");
    EXPECT_EQ(data.directories.at("/dev/mapper/"),
              (std::vector<std::string>{".", "..", "b", "a", "\xFF"}));
    EXPECT_EQ(data.directories.at("/"), std::vector<std::string>{});
}

TEST(RecordedHostFile, ReadsADeviceWhole) {
    const RecordedHostData data = parse(R"("devices":{"/dev/sda":{
        "id_lun":"0x02010005","size_bytes":18446744073709551615,
        "inquiry":{"std":"0000","00":"00000003008083","c0":"Ab","d0":{"errno":5}},
        "sg_io":{"C000000a980a22100000":"0102"}}})");
    const RecordedDevice& device = data.devices.at("/dev/sda");
    EXPECT_EQ(device.openError, 0);
    EXPECT_EQ(device.idLun, 0x02010005U);
    EXPECT_EQ(device.sizeBytes, 18446744073709551615U);
    EXPECT_EQ(device.standardInquiry->bytes, (Bytes{0, 0}));
    EXPECT_EQ(device.pages.size(), 3U);
    EXPECT_EQ(device.pages.at(0x00).bytes, (Bytes{0, 0, 0, 3, 0, 0x80, 0x83}));
    EXPECT_EQ(device.pages.at(0xC0).bytes, Bytes{0xAB});
    EXPECT_EQ(device.pages.at(0xD0).error, EIO);
    EXPECT_EQ(device.sgIo.at({0xC0, 0, 0, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0, 0}), (Bytes{1, 2}));
}

TEST(RecordedHostFile, LeavesOutWhatADeviceDoesNotHave) {
    const RecordedHostData data =
        parse(R"("devices":{"/dev/sda":{},"/dev/sdb":{"open_errno":6},"/dev/sdc":{"inquiry":{}}})");
    const RecordedDevice& device = data.devices.at("/dev/sda");
    EXPECT_EQ(device.idLun, std::nullopt);
    EXPECT_EQ(device.sizeBytes, std::nullopt);
    EXPECT_EQ(device.standardInquiry, std::nullopt);
    EXPECT_EQ(data.devices.at("/dev/sdb").openError, ENXIO);
    EXPECT_TRUE(data.devices.at("/dev/sdc").pages.empty());
}

TEST(RecordedHostFile, ReadsAddressWordsOfOneToEightDigits) {
    const std::vector<std::pair<std::string, std::uint32_t>> words = {
        {"0x0", 0}, {"0x5", 5}, {"0xfFfFfFfF", 0xFFFFFFFF}, {"0x123", 0x123}};
    for (const auto& [text, word] : words) {
        const RecordedHostData data = parse(R"("devices":{"/d":{"id_lun":")" + text + R"("}})");
        EXPECT_EQ(data.devices.at("/d").idLun, word) << text;
    }
}

TEST(RecordedHostFile, ReadsTheErrorOfAnAddressWord) {
    const RecordedDevice device =
        parse(R"("devices":{"/d":{"id_lun":{"errno":22}}})").devices.at("/d");
    EXPECT_EQ(device.idLun, std::nullopt);
    EXPECT_EQ(device.idLunError, EINVAL);
}

TEST(RecordedHostFile, ReadsDeviceNumbersOfBothKinds) {
    using Kind = host::DeviceNumber::Kind;
    const RecordedHostData data = parse(R"("devices":{"/a":{"number":"8:16"},
        "/b":{"number":"c 21:3"},"/c":{"number":"4095:1048575"},"/d":{"number":"0:0"},"/e":{}})");
    const auto is = [&data](const char* path, Kind kind, unsigned major, unsigned minor) {
        return data.devices.at(path).number == host::DeviceNumber{kind, major, minor};
    };
    EXPECT_TRUE(is("/a", Kind::kBlock, 8, 16));
    EXPECT_TRUE(is("/b", Kind::kCharacter, 21, 3));
    EXPECT_TRUE(is("/c", Kind::kBlock, 4095, 1048575));
    EXPECT_TRUE(is("/d", Kind::kBlock, 0, 0));
    EXPECT_TRUE(is("/e", Kind::kNone, 0, 0));
}

TEST(RecordedHostFile, ReadsWhetherADeviceIsInUse) {
    const RecordedHostData data =
        parse(R"("devices":{"/a":{"in_use":true},"/b":{"in_use":false},"/c":{}})");
    EXPECT_TRUE(data.devices.at("/a").inUse);
    EXPECT_FALSE(data.devices.at("/b").inUse);
    EXPECT_FALSE(data.devices.at("/c").inUse);
}

TEST(RecordedHostFile, ReadsLinksOfTextAndOfBytes) {
    const RecordedHostData data =
        parse(R"("links":{"/dev/disk/by-id/x":"../../sda","/b":{"hex":"ff61"},"comment":1})");
    EXPECT_EQ(data.links, (std::map<std::string, std::string>{{"/dev/disk/by-id/x", "../../sda"},
                                                              {"/b", "\xFF\x61"}}));
    const std::string longest(4095, 'x');
    EXPECT_EQ(parse(R"("links":{"/a":")" + longest + R"("})").links.at("/a"), longest);
}

TEST(RecordedHostFile, ReadsCommandsInTheirOrder) {
    const RecordedHostData data = parse(R"("commands":[
        {"command":"/sbin/a ","output":["x","",{"hex":"ff"}]},
        {"command":"/sbin/b","exit_status":255},
        {"command":"/sbin/a ","signal":127},
        {"command":"/sbin/c","timed_out":true},
        {"command":"/sbin/d","timed_out":false,"exit_status":0}])");
    ASSERT_EQ(data.commands.size(), 5U);
    EXPECT_EQ(data.commands[0].command, "/sbin/a ");
    EXPECT_EQ(data.commands[0].output, (std::vector<std::string>{"x", "", "\xFF"}));
    EXPECT_EQ(data.commands[0].exitStatus, 0);
    EXPECT_EQ(data.commands[0].signal, 0);
    EXPECT_FALSE(data.commands[0].timedOut);
    EXPECT_EQ(data.commands[1].exitStatus, 255);
    EXPECT_EQ(data.commands[2].signal, 127);
    EXPECT_TRUE(data.commands[3].timedOut);
    EXPECT_FALSE(data.commands[4].timedOut);
}

TEST(RecordedHostFile, IgnoresACommentOfAnyKindInAnyObject) {
    const RecordedHostData data = parse(R"("comment":"by hand",
        "files":{"comment":1,"/a":{"comment":[],"hex":"00"},"/b":{"errno":5,"comment":null}},
        "directories":{"comment":{"x":1},"/d/":[{"comment":"x","hex":"61"}]},
        "devices":{"comment":"x","/dev/sda":{"comment":"x","inquiry":{"comment":"x","std":"00",
            "80":{"comment":"x","errno":5}},"sg_io":{"comment":"x","12":"00"}}},
        "commands":[{"comment":"x","command":"a"}])");
    EXPECT_EQ(data.files.size(), 2U);
    EXPECT_EQ(data.directories.size(), 1U);
    EXPECT_EQ(data.devices.size(), 1U);
    EXPECT_EQ(data.devices.at("/dev/sda").pages.size(), 1U);
    EXPECT_EQ(data.devices.at("/dev/sda").sgIo.size(), 1U);
}

// What is refused.

TEST(RecordedHostFile, RefusesTextThatIsNotJsonWithLineAndColumn) {
    expectRefusals({
        {"", "host.json: 1:1: not JSON: there is nothing in it"},
        {" ",
         "host.json: 1:2: not JSON: syntax error while parsing value - unexpected end of "
         "input; expected '[', '{', or a literal"},
        {"{\n  \"format\": nonsense\n}",
         "host.json: 2:14: not JSON: syntax error while parsing value - invalid literal; last "
         "read: '\"format\": no'"},
        {"{\"format\":\"scsitool-host/1\",}",
         "host.json: 1:29: not JSON: syntax error while parsing object key - unexpected '}'; "
         "expected string literal"},
        {"{} {}",
         "host.json: 1:4: not JSON: syntax error while parsing value - unexpected '{'; expected "
         "end of input"},
    });
}

TEST(RecordedHostFile, RefusesTextThatIsNotUtf8) {
    EXPECT_EQ(refusalOf(withMembers("\n\"hostname\":\"a\xFF\"")),
              "host.json: 2:14: not JSON: syntax error while parsing value - invalid string: "
              "ill-formed UTF-8 byte; last read: '\"a\xC3\xBF'");
}

TEST(RecordedHostFile, RefusesANumberBeyondEveryRange) {
    EXPECT_EQ(refusalOf(withMembers(R"("devices":{"/d":{"size_bytes":1e999}})")),
              "host.json: /devices/~1d/size_bytes: not JSON: number overflow parsing '1e999'");
}

TEST(RecordedHostFile, RefusesADocumentThatIsNoObject) {
    expectRefusals({
        {"[]", "host.json: (root): expected an object, found an array"},
        {"null", "host.json: (root): expected an object, found null"},
        {"\"x\"", "host.json: (root): expected an object, found \"x\""},
    });
}

TEST(RecordedHostFile, RefusesAnotherFormat) {
    expectRefusals({
        {"{}", "host.json: (root): expected the member format, found an object without it"},
        {R"({"format":"scsitool-host/2"})",
         "host.json: /format: expected \"scsitool-host/1\", found \"scsitool-host/2\""},
        {R"({"format":1})", "host.json: /format: expected \"scsitool-host/1\", found 1"},
    });
}

TEST(RecordedHostFile, NamesTheFormatFirstWhateverElseIsWrong) {
    EXPECT_EQ(refusalOf(R"({"devices":7,"format":"other"})"),
              "host.json: /format: expected \"scsitool-host/1\", found \"other\"");
}

TEST(RecordedHostFile, RefusesMembersThatItDoesNotKnow) {
    expectMemberRefusals({
        {R"("host_name":"x")",
         "host.json: /host_name: expected one of the members format, hostname, kernel_release, "
         "files, directories, devices, links, commands, comment, found \"host_name\""},
        {R"("devices":{"/d":{"lun":1}})",
         "host.json: /devices/~1d/lun: expected one of the members open_errno, write_errno, "
         "given_up_after, id_lun, size_bytes, number, in_use, inquiry, sg_io, comment, found "
         "\"lun\""},
        {R"("devices":{"/d":{"given_up_after":0}})",
         "host.json: /devices/~1d/given_up_after: expected a whole number from 1 to 3600, found 0"},
        {R"("devices":{"/d":{"given_up_after":3601}})",
         "host.json: /devices/~1d/given_up_after: expected a whole number from 1 to 3600, found "
         "3601"},
        {R"("commands":[{"command":"a"},{"exit":1}])",
         "host.json: /commands/1/exit: expected one of the members command, output, exit_status, "
         "signal, timed_out, comment, found \"exit\""},
        {R"("files":{"/f":{"hex":"00","errno":5}})",
         "host.json: /files/~1f/hex: expected one of the members errno, found \"hex\""},
        {R"("files":{"/f":{"base64":""}})",
         "host.json: /files/~1f/base64: expected one of the members hex, found \"base64\""},
        {R"("files":{"/f":{}})",
         "host.json: /files/~1f: expected the member hex, found an object without it"},
        {R"("devices":{"/d":{"inquiry":{"80":{}}}})",
         "host.json: /devices/~1d/inquiry/80: expected errno, or one of data, status, sense and "
         "host_status, found an object without them"},
        {R"("devices":{"/d":{"sg_io":{"00":{"status":2,"key":5}}}})",
         "host.json: /devices/~1d/sg_io/00/key: expected one of the members data, status, sense, "
         "host_status, comment, found \"key\""},
        {R"("devices":{"/d":{"sg_io":{"00":{"status":2,"errno":5}}}})",
         "host.json: /devices/~1d/sg_io/00/status: expected one of the members errno, found "
         "\"status\""},
    });
}

TEST(RecordedHostFile, RefusesWhatIsNoDeviceNumber) {
    for (const char* const number :
         {"\"\"", "\"8\"", "\"8:\"", "\":16\"", "\"c 8\"", "\"b 8:16\"", "\"08:16\"", "\"8:016\"",
          "\"-8:16\"", "\"8:16 \"", "\"4096:0\"", "\"0:1048576\"", "\"8:4294967312\"", "2064"}) {
        EXPECT_EQ(
            refusalOf(withMembers(R"("devices":{"/d":{"number":)" + std::string(number) + "}}")),
            "host.json: /devices/~1d/number: expected \"MAJOR:MINOR\" for a block device, \"c "
            "MAJOR:MINOR\" for a character device, found " +
                std::string(number));
    }
}

TEST(RecordedHostFile, RefusesWhatIsNoLink) {
    const std::string expected = "expected a path of 1 to 4095 bytes without NUL, found ";
    expectMemberRefusals({
        {R"("links":{"a":"b"})",
         "host.json: /links/a: expected an absolute path as the member's name, found \"a\""},
        {R"("links":{"/a/":"b"})",
         "host.json: /links/~1a~1: expected a path that does not end in \"/\" as the member's "
         "name, found \"/a/\""},
        {R"("links":{"/a":""})", "host.json: /links/~1a: " + expected + "\"\""},
        {R"("links":{"/a":"b\u0000"})", "host.json: /links/~1a: " + expected + "\"b?\""},
        {R"("links":{"/a":7})",
         "host.json: /links/~1a: expected a string or {\"hex\": \"...\"}, found 7"},
    });
    EXPECT_NE(refusalOf(withMembers(R"("links":{"/a":")" + std::string(4096, 'x') + R"("})")),
              "accepted");
}

TEST(RecordedHostFile, RefusesAMemberThatIsGivenTwice) {
    expectMemberRefusals({
        {R"("hostname":"a","hostname":"b")",
         "host.json: /hostname: expected each member once, found it again"},
        {R"("devices":{"/dev/sda":{},"/dev/sda":{}})",
         "host.json: /devices/~1dev~1sda: expected each member once, found it again"},
        {R"("commands":[{"command":"a"},{"command":"b","output":["x","y"],"command":"c"}])",
         "host.json: /commands/1/command: expected each member once, found it again"},
        {R"("comment":{"a":[1,{"b":0,"b":1}]})",
         "host.json: /comment/a/1/b: expected each member once, found it again"},
    });
}

TEST(RecordedHostFile, RefusesAWrongTypeDeepInside) {
    expectMemberRefusals({
        {R"("hostname":7)", "host.json: /hostname: expected a string or null, found 7"},
        {R"("kernel_release":null)", "host.json: /kernel_release: expected a string, found null"},
        {R"("files":[])", "host.json: /files: expected an object, found an array"},
        {R"("files":{"/f":7})",
         "host.json: /files/~1f: expected a string, {\"hex\": \"...\"}, {\"errno\": N} or "
         "{\"text\": \"...\", \"read_errno\": N}, found 7"},
        {R"("files":{"/f":{"hex":7}})",
         "host.json: /files/~1f/hex: expected a string of hexadecimal digits, found 7"},
        {R"("directories":{"/d/":{}})",
         "host.json: /directories/~1d~1: expected the member errno, found an object without it"},
        {R"("directories":{"/d/":7})",
         "host.json: /directories/~1d~1: expected an array of names or {\"errno\": N}, found 7"},
        {R"("directories":{"/d/":["a",true]})",
         "host.json: /directories/~1d~1/1: expected a string or {\"hex\": \"...\"}, found true"},
        {R"("devices":null)", "host.json: /devices: expected an object, found null"},
        {R"("devices":{"/d":"x"})", "host.json: /devices/~1d: expected an object, found \"x\""},
        {R"("devices":{"/d":{"inquiry":[]}})",
         "host.json: /devices/~1d/inquiry: expected an object, found an array"},
        {R"("devices":{"/dev/sda":{"inquiry":{"83":131}}})",
         "host.json: /devices/~1dev~1sda/inquiry/83: expected a string of hexadecimal digits, "
         "{\"errno\": N} or {\"data\": \"...\", \"status\": N, \"sense\": \"...\", "
         "\"host_status\": N}, found 131"},
        {R"("devices":{"/d":{"sg_io":{"c0":null}}})",
         "host.json: /devices/~1d/sg_io/c0: expected a string of hexadecimal digits, {\"errno\": "
         "N} "
         "or {\"data\": \"...\", \"status\": N, \"sense\": \"...\", \"host_status\": N}, found "
         "null"},
        {R"("commands":{})",
         "host.json: /commands: expected an array of commands, found an object"},
        {R"("commands":["a"])", "host.json: /commands/0: expected an object, found \"a\""},
        {R"("commands":[{"command":["a"]}])",
         "host.json: /commands/0/command: expected a string, found an array"},
        {R"("commands":[{"command":"a","output":"x"}])",
         "host.json: /commands/0/output: expected an array of lines, found \"x\""},
        {R"("commands":[{"command":"a","output":["x",1.5]}])",
         "host.json: /commands/0/output/1: expected a string or {\"hex\": \"...\"}, found 1.5"},
        {R"("commands":[{"command":"a","timed_out":1}])",
         "host.json: /commands/0/timed_out: expected true or false, found 1"},
    });
}

TEST(RecordedHostFile, RefusesBadHexadecimalDigits) {
    expectMemberRefusals({
        {R"("devices":{"/d":{"inquiry":{"83":"0083000"}}})",
         "host.json: /devices/~1d/inquiry/83: expected an even number of hexadecimal digits, "
         "found 7"},
        {R"("devices":{"/d":{"inquiry":{"std":"00g0"}}})",
         "host.json: /devices/~1d/inquiry/std: expected hexadecimal digits and nothing else, "
         "found \"g\" at digit 3"},
        {R"("devices":{"/d":{"inquiry":{"std":"00 00"}}})",
         "host.json: /devices/~1d/inquiry/std: expected hexadecimal digits and nothing else, "
         "found \" \" at digit 3"},
        {R"("files":{"/f":{"hex":"0x00"}})",
         "host.json: /files/~1f/hex: expected hexadecimal digits and nothing else, found \"x\" at "
         "digit 2"},
        {R"("devices":{"/d":{"sg_io":{"c":""}}})",
         "host.json: /devices/~1d/sg_io/c: expected an even number of hexadecimal digits, found "
         "1"},
        {R"("devices":{"/d":{"sg_io":{"":""}}})",
         "host.json: /devices/~1d/sg_io/: expected a command block in hexadecimal as the member's "
         "name, found nothing"},
        {R"("devices":{"/d":{"sg_io":{"c0":"","C0":""}}})",
         "host.json: /devices/~1d/sg_io/c0: expected each command block once, found it again in "
         "other letters"},
    });
}

TEST(RecordedHostFile, RefusesPageCodesOfAnotherForm) {
    for (const char* code : {"C0", "c", "0c0", "", "STD", "xx", "0xc0"}) {
        EXPECT_EQ(refusalOf(withMembers(R"("devices":{"/d":{"inquiry":{")" + std::string(code) +
                                        R"(":""}}})")),
                  "host.json: /devices/~1d/inquiry/" + std::string(code) +
                      ": expected std or a page code of two lower-case hexadecimal digits, found "
                      "\"" +
                      code + "\"");
    }
}

TEST(RecordedHostFile, ReadsWhatARequestEndedIn) {
    const recording::RecordedDevice device =
        parse(R"("devices":{"/d":{"inquiry":{"std":{"host_status":1},
            "83":{"status":2,"sense":"70000500","data":"0083"}},
            "sg_io":{"00":{"status":8},"c0":{"errno":5},"12":{"data":"01"}}}})")
            .devices.at("/d");
    EXPECT_EQ(device.standardInquiry->hostStatus, 1U);
    EXPECT_FALSE(device.standardInquiry->isAnswer());
    const recording::RecordedPage& page = device.pages.at(0x83);
    EXPECT_EQ(page.status, 2U);
    EXPECT_EQ(page.sense, (Bytes{0x70, 0, 5, 0}));
    EXPECT_EQ(page.bytes, (Bytes{0, 0x83}));
    EXPECT_EQ(device.sgIo.at({0}).status, 8U);
    EXPECT_EQ(device.sgIo.at({0xC0}).error, EIO);
    EXPECT_TRUE(device.sgIo.at({0x12}).isAnswer());
}

TEST(RecordedHostFile, BoundsSenseDataAndTheNumbersOfAResponse) {
    const auto withSense = [](std::size_t bytes) {
        return withMembers(R"("devices":{"/d":{"sg_io":{"00":{"sense":")" +
                           std::string(2 * bytes, '0') + "\"}}}}");
    };
    EXPECT_EQ(refusalOf(withSense(255)), "accepted");
    EXPECT_EQ(refusalOf(withSense(256)),
              "host.json: /devices/~1d/sg_io/00/sense: expected at most 255 bytes, found 256");
    for (const auto& [member, most] :
         std::vector<std::pair<std::string, int>>{{"status", 255}, {"host_status", 65535}}) {
        const auto withNumber = [&name = member](int number) {
            return withMembers(R"("devices":{"/d":{"sg_io":{"00":{")" + name +
                               "\":" + std::to_string(number) + "}}}}");
        };
        EXPECT_EQ(refusalOf(withNumber(0)), "accepted");
        EXPECT_EQ(refusalOf(withNumber(most)), "accepted");
        EXPECT_EQ(refusalOf(withNumber(most + 1)), "host.json: /devices/~1d/sg_io/00/" + member +
                                                       ": expected a whole number from 0 to " +
                                                       std::to_string(most) + ", found " +
                                                       std::to_string(most + 1));
    }
}

TEST(RecordedHostFile, RefusesAddressWordsOfAnotherForm) {
    for (const char* word : {"\"\"", "\"0x\"", "\"5\"", "\"0x123456789\"", "\"0xg\"", "\"0X5\"",
                             "\" 0x5\"", "5", "null"}) {
        EXPECT_EQ(
            refusalOf(withMembers(R"("devices":{"/d":{"id_lun":)" + std::string(word) + "}}")),
            "host.json: /devices/~1d/id_lun: expected a string of 0x and one to eight hexadecimal "
            "digits, or {\"errno\": N}, found " +
                std::string(word));
    }
}

TEST(RecordedHostFile, RefusesNumbersOutOfRange) {
    const std::string errnoRange = "expected a whole number from 1 to 4095, found ";
    expectMemberRefusals({
        {R"("devices":{"/d":{"open_errno":0}})",
         "host.json: /devices/~1d/open_errno: " + errnoRange + "0"},
        {R"("devices":{"/d":{"open_errno":-6}})",
         "host.json: /devices/~1d/open_errno: " + errnoRange + "-6"},
        {R"("devices":{"/d":{"open_errno":4096}})",
         "host.json: /devices/~1d/open_errno: " + errnoRange + "4096"},
        {R"("devices":{"/d":{"open_errno":"6"}})",
         "host.json: /devices/~1d/open_errno: " + errnoRange + "\"6\""},
        {R"("files":{"/f":{"errno":0}})", "host.json: /files/~1f/errno: " + errnoRange + "0"},
        {R"("devices":{"/d":{"inquiry":{"80":{"errno":5.0}}}})",
         "host.json: /devices/~1d/inquiry/80/errno: " + errnoRange + "5.0"},
        {R"("devices":{"/d":{"size_bytes":-1}})",
         "host.json: /devices/~1d/size_bytes: expected a whole number from 0 to "
         "18446744073709551615, found -1"},
        {R"("devices":{"/d":{"size_bytes":18446744073709551616}})",
         "host.json: /devices/~1d/size_bytes: expected a whole number from 0 to "
         "18446744073709551615, found 1.8446744073709552e+19"},
        {R"("commands":[{"command":"a","exit_status":256}])",
         "host.json: /commands/0/exit_status: expected a whole number from 0 to 255, found 256"},
        {R"("commands":[{"command":"a","exit_status":-1}])",
         "host.json: /commands/0/exit_status: expected a whole number from 0 to 255, found -1"},
        {R"("commands":[{"command":"a","signal":0}])",
         "host.json: /commands/0/signal: expected a whole number from 1 to 127, found 0"},
        {R"("commands":[{"command":"a","signal":128}])",
         "host.json: /commands/0/signal: expected a whole number from 1 to 127, found 128"},
    });
    EXPECT_EQ(parse(R"("devices":{"/d":{"open_errno":4095}})").devices.at("/d").openError, 4095);
    EXPECT_EQ(parse(R"("files":{"/f":{"errno":1}})").files.at("/f").error, 1);
}

TEST(RecordedHostFile, RefusesACommandWithoutTextOrWithTwoEnds) {
    expectMemberRefusals({
        {R"("commands":[{"output":[]}])",
         "host.json: /commands/0: expected the member command, found an object without it"},
        {R"("commands":[{"command":"a","exit_status":1,"signal":9}])",
         "host.json: /commands/0: expected one of exit_status, signal and timed_out, found 2"},
        {R"("commands":[{"command":"a","signal":9,"timed_out":true}])",
         "host.json: /commands/0: expected one of exit_status, signal and timed_out, found 2"},
    });
}

TEST(RecordedHostFile, RefusesPathsAndNamesOfAnotherForm) {
    expectMemberRefusals({
        {R"("files":{"etc/fstab":""})",
         "host.json: /files/etc~1fstab: expected an absolute path as the member's name, found "
         "\"etc/fstab\""},
        {R"("devices":{"sda":{}})",
         "host.json: /devices/sda: expected an absolute path as the member's name, found "
         "\"sda\""},
        {R"("devices":{"":{}})",
         "host.json: /devices/: expected an absolute path as the member's name, found \"\""},
        {R"("directories":{"/dev/mapper":[]})",
         "host.json: /directories/~1dev~1mapper: expected a path that ends in \"/\" as the "
         "member's name, found \"/dev/mapper\""},
        {R"("directories":{"/d/":["a","b/c"]})",
         "host.json: /directories/~1d~1/1: expected a name without \"/\", found \"b/c\""},
        {R"("directories":{"/d/":[""]})",
         "host.json: /directories/~1d~1/0: expected a name without \"/\", found \"\""},
    });
}

TEST(RecordedHostFile, EscapesThePlaceAsAJsonPointerHasIt) {
    EXPECT_EQ(
        refusalOf(withMembers(R"("files":{"/a~b/c":1})")),
        "host.json: /files/~1a~0b~1c: expected a string, {\"hex\": \"...\"}, {\"errno\": N} or "
        "{\"text\": \"...\", \"read_errno\": N}, found 1");
}

TEST(RecordedHostFile, RefusesNestingThatNoRecordingHas) {
    const auto nested = [](std::size_t levels) {
        return withMembers("\"comment\":" + std::string(levels, '[') + std::string(levels, ']'));
    };
    EXPECT_EQ(refusalOf(nested(31)), "accepted");
    EXPECT_EQ(refusalOf(nested(32)),
              "host.json: /comment/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0/0: "
              "expected at most 32 levels of nesting");
    EXPECT_NE(refusalOf(std::string(1000000, '[')), "accepted");
    EXPECT_NE(refusalOf(std::string(1000000, '{')), "accepted");
}

TEST(RecordedHostFile, RefusesAFileThatIsTooBig) {
    // One that is just not too big is looked at: its first byte is refused.
    std::string text(std::size_t{64} << 20, '!');
    EXPECT_EQ(refusalOf(text).substr(0, 24), "host.json: 1:1: not JSON");
    text += '!';
    EXPECT_EQ(refusalOf(text), "host.json: expected at most 67108864 bytes, found 67108865");
}

TEST(RecordedHostFile, KeepsAMessageOnOneReadableLine) {
    const std::string message = refusalOf(withMembers(
        "\"files\":{\"/a\\nb\\u0007\":\"\"," + ("\"" + std::string(5000, 'x')) + "\\n\":\"\"}"));
    EXPECT_EQ(message.find('\n'), std::string::npos);
    EXPECT_LT(message.size(), 500U);
    EXPECT_EQ(message.substr(0, 24), "host.json: /files/xxxxxx");
}

TEST(RecordedHostFile, RefusesEveryCutOfACompleteFileWithoutACrash) {
    const std::string whole = withMembers(R"("hostname":"\u00fc","files":{"/f":{"hex":"00"}},
        "directories":{"/d/":["a"]},"devices":{"/d":{"id_lun":"0x1","inquiry":{"std":"00"}}},
        "commands":[{"command":"a","exit_status":1}])");
    EXPECT_EQ(refusalOf(whole), "accepted");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(refusalOf(whole.substr(0, length)), "accepted") << length;
    }
}

TEST(RecordedHostFile, SurvivesEveryByteReplaced) {
    const std::string whole = withMembers(
        R"("files":{"/f":{"hex":"00"}},"devices":{"/d":{"id_lun":"0x1","open_errno":6}})");
    for (std::size_t index = 0; index < whole.size(); ++index) {
        for (const char byte : {'\0', '"', '{', ']', '\\', '\x80', '9'}) {
            std::string text = whole;
            text[index] = byte;
            const std::string message = refusalOf(text);
            EXPECT_EQ(message.find('\n'), std::string::npos) << text;
        }
    }
}

// Both the schema's test and this one read the table of cases.
TEST(RecordedHostFile, AgreesWithTheCasesOfTheSchema) {
    std::ifstream stream(std::string(SCSITOOL_SAMPLES) +
                         "/../tests/schema/recorded_host_cases.json");
    const nlohmann::json cases = nlohmann::json::parse(stream);
    EXPECT_GE(cases["accepted"].size(), 10U);
    EXPECT_GE(cases["refused"].size(), 50U);
    for (const char* kind : {"accepted", "refused"}) {
        for (nlohmann::json document : cases[kind]) {
            document.emplace("format", "scsitool-host/1");
            EXPECT_EQ(refusalOf(document.dump()) == "accepted", std::string(kind) == "accepted")
                << document << ": " << refusalOf(document.dump());
        }
    }
}

// Files of the machine.

TEST(RecordedHostFile, NamesAFileThatCannotBeRead) {
    const auto loadError = [](const std::string& path) -> std::string {
        try {
            recording::loadRecordedHost(path);
        } catch (const RecordedHostError& error) {
            return error.what();
        }
        return "accepted";
    };
    EXPECT_EQ(loadError("/nonexistent/host.json"),
              "/nonexistent/host.json: cannot be read: No such file or directory");
    EXPECT_EQ(loadError("/"), "/: cannot be read: Is a directory");
    EXPECT_EQ(loadError("/dev/null"), "/dev/null: cannot be read: Invalid argument");
}

// The pieces.

TEST(Hex, WritesLowerCaseAndReadsEitherCase) {
    EXPECT_EQ(recording::toHex({0x00, 0x9A, 0xFF}), "009aff");
    Bytes bytes;
    std::size_t badOffset = 99;
    EXPECT_EQ(recording::fromHex("009aFF", bytes, badOffset), recording::HexError::kNone);
    EXPECT_EQ(bytes, (Bytes{0x00, 0x9A, 0xFF}));
    EXPECT_EQ(badOffset, 99U);
}

TEST(Hex, SaysWhereItEnds) {
    const auto outcomeOf = [](const std::string& digits) {
        Bytes bytes;
        std::size_t badOffset = 99;
        const recording::HexError error = recording::fromHex(digits, bytes, badOffset);
        return error == recording::HexError::kNone       ? std::string("none")
               : error == recording::HexError::kOddCount ? std::string("odd")
                                                         : std::to_string(badOffset);
    };
    EXPECT_EQ(outcomeOf(""), "none");
    EXPECT_EQ(outcomeOf("0"), "odd");
    EXPECT_EQ(outcomeOf("000"), "odd");
    for (const char* const bad : {"g000", "0g00", "00g0", "000g", "00g", "g", "0000/", "00:0"}) {
        EXPECT_EQ(outcomeOf(bad), std::to_string(std::string(bad).find_first_of("g/:"))) << bad;
    }
}

TEST(Printable, CutsOnlyBetweenCharacters) {
    EXPECT_EQ(recording::printable("abc\xC3\xBC\xC3\xBC", 4), "abc\xC3\xBC...");
    EXPECT_EQ(recording::printable("abcd", 4), "abcd");
    EXPECT_EQ(recording::printable("abcde", 4), "abcd...");
    EXPECT_EQ(recording::printable("a\nb\x7F", 9), "a?b?");
}

}  // namespace
