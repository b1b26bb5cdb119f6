#include "recording/capture/recorded_host_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "recording/replay/recorded_host_file.h"

namespace {

using recording::parseRecordedHost;
using recording::RecordedHostData;
using recording::recordedHostText;

/// Everything that a recorded host can hold.
RecordedHostData everything() {
    RecordedHostData data;
    data.hostName = "db01";
    data.kernelRelease = "6.1.0";
    data.files["/plain"] = "line\n\"\\ \x01";
    data.files["/bytes"] = std::string("\xFF\0z", 3);
    data.files["/refused"].error = 13;
    data.files["/broken"] = "begin";
    data.files["/broken"].readError = 5;
    data.files["/broken bytes"] = "\xFF";
    data.files["/broken bytes"].readError = 5;
    data.directories["/dev/"] = {".", "..", "\xFE", "a b"};
    data.directories["/empty/"] = {};
    data.directoryErrors["/secret/"] = 13;
    data.links["/dev/disk/by-id/x"] = "../../sda";
    data.links["/odd"] = "\xFF";
    recording::RecordedDevice disk;
    disk.standardInquiry = recording::RecordedPage(recording::Bytes{0, 1, 0xAB});
    disk.pages[0x00] = recording::Bytes{};
    disk.pages[0x83].error = 5;
    disk.sgIo[{0xC0, 0}] = {1, 2};
    disk.sgIo[{0x12}] = {};
    disk.sgIo[{0x13}].error = 5;
    disk.sgIo[{0x14}].hostStatus = 1;
    recording::RecordedPage& failed = disk.pages[0x80];
    failed.bytes = {7};
    failed.status = 2;
    failed.sense = {0x70, 0, 5};
    disk.idLun = 0x02010005;
    disk.sizeBytes = ~std::uint64_t{0};
    disk.number = {host::DeviceNumber::Kind::kBlock, 8, 16};
    disk.inUse = true;
    data.devices["/dev/sda"] = disk;
    data.devices["/dev/sdb"].openError = 6;
    data.devices["/dev/sdc"].writeError = 30;
    data.devices["/dev/sdc"].idLunError = 22;
    data.devices["/dev/sdd"].givenUpAfter = 3600;
    data.devices["/dev/sg0"].number = {host::DeviceNumber::Kind::kCharacter, 21, 0};
    data.devices["/dev/mapper/control"] = {};
    data.commands = {{"/bin/ls x", {"a", "\xFF"}, 0, 0, false},
                     {"/bin/ls x", {}, 2, 0, false},
                     {"/bin/y", {}, 0, 9, false},
                     {"/bin/z", {}, 0, 0, true}};
    return data;
}

// Every value of what was read equals the one that was written; text for text, since a writer that
// drops a member would drop it twice, also member by member.
TEST(RecordedHostWriter, IsReadBackAsItWas) {
    const RecordedHostData data = everything();
    const std::string text = recordedHostText(data);
    const RecordedHostData read = parseRecordedHost(text, "x");
    EXPECT_EQ(recordedHostText(read), text);
    EXPECT_EQ(read.hostName, data.hostName);
    EXPECT_EQ(read.kernelRelease, data.kernelRelease);
    EXPECT_EQ(read.directories, data.directories);
    EXPECT_EQ(read.directoryErrors, data.directoryErrors);
    EXPECT_EQ(read.links, data.links);
    for (const auto& [path, file] : data.files) {
        EXPECT_EQ(read.files.at(path).content, file.content) << path;
        EXPECT_EQ(read.files.at(path).error, file.error) << path;
        EXPECT_EQ(read.files.at(path).readError, file.readError) << path;
    }
    const auto& disk = read.devices.at("/dev/sda");
    EXPECT_EQ(disk.standardInquiry->bytes, (recording::Bytes{0, 1, 0xAB}));
    EXPECT_EQ(disk.pages.at(0x83).error, 5);
    EXPECT_TRUE(disk.pages.at(0x00).bytes.empty());
    EXPECT_EQ(disk.sgIo, data.devices.at("/dev/sda").sgIo);
    EXPECT_EQ(disk.idLun, 0x02010005U);
    EXPECT_EQ(disk.sizeBytes, ~std::uint64_t{0});
    EXPECT_TRUE(disk.number == data.devices.at("/dev/sda").number);
    EXPECT_TRUE(disk.inUse);
    EXPECT_EQ(read.devices.at("/dev/sdb").openError, 6);
    EXPECT_EQ(read.devices.at("/dev/sdc").writeError, 30);
    EXPECT_EQ(read.devices.at("/dev/sdc").idLunError, 22);
    EXPECT_EQ(read.devices.at("/dev/sdd").givenUpAfter, 3600U);
    EXPECT_EQ(read.devices.at("/dev/sdc").givenUpAfter, 0U);
    EXPECT_EQ(read.devices.at("/dev/sg0").number.kind, host::DeviceNumber::Kind::kCharacter);
    EXPECT_EQ(read.devices.size(), data.devices.size());
    ASSERT_EQ(read.commands.size(), 4U);
    EXPECT_EQ(read.commands[0].output, data.commands[0].output);
    EXPECT_EQ(read.commands[1].exitStatus, 2);
    EXPECT_EQ(read.commands[2].signal, 9);
    EXPECT_TRUE(read.commands[3].timedOut);
}

TEST(RecordedHostWriter, WritesASampleThatReadsTheSame) {
    for (const auto& entry : std::filesystem::directory_iterator(SCSITOOL_SAMPLES)) {
        if (entry.path().extension() == ".json") {
            const RecordedHostData data = recording::loadRecordedHost(entry.path());
            const std::string text = recordedHostText(data);
            EXPECT_EQ(recordedHostText(parseRecordedHost(text, "x")), text) << entry.path();
        }
    }
}

TEST(RecordedHostWriter, PutsOneEntryOnALineAndTheCommentInFront) {
    RecordedHostData data;
    data.hostName.reset();
    data.files["/b"] = "2";
    data.files["/a"] = "1";
    EXPECT_EQ(recordedHostText(data, {"Captured.", "\xFF"}),
              "{\n  \"format\": \"scsitool-host/1\",\n"
              "  \"comment\": [\n    \"Captured.\",\n    \"\u00ff\"\n  ],\n"
              "  \"hostname\": null,\n  \"kernel_release\": \"5.10.0\",\n"
              "  \"files\": {\n    \"/a\": \"1\",\n    \"/b\": \"2\"\n  }\n}\n");
}

TEST(RecordedHostWriter, RefusesAPathThatIsNoText) {
    RecordedHostData data;
    data.files["/\xFF"] = "";
    EXPECT_THROW(recordedHostText(data), recording::RecordedHostError);
    data.files.clear();
    data.commands = {{"\xFF", {}, 0, 0, false}};
    EXPECT_THROW(recordedHostText(data), recording::RecordedHostError);
}

}  // namespace
