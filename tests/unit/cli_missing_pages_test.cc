#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "cli/hosts/missing_pages.h"
#include "cli/hosts/page_answer.h"
#include "cli_harness.h"
#include "scsitool/host/forwarding_host.h"
#include "sick_host.h"

// A page that a disk has and does not send: the UDID that the library makes lacks what it holds.

namespace {

using test::Bytes;
using test::CliMachine;
using test::CliResult;
using test::namedDisk;
using testing::HasSubstr;
using testing::Not;

const std::string kUdid = "UDID##ACME##RAID_5##A1##6000000A000000000000000000000001";
const Bytes kRefusal = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x24, 0, 0, 0};
const Bytes kAttention = {0x70, 0, 6, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x29, 0, 0, 0};

host::CommandBuffer answerOf(const Bytes& response) {
    host::CommandBuffer buffer = {};
    std::copy(response.begin(), response.end(), buffer.begin() + 8);
    return buffer;
}

std::string why(int result, const Bytes& response) {
    return cli::whyNotCome(result, answerOf(response));
}

TEST(PageAnswer, APageThatCameIsNotMissing) {
    EXPECT_EQ(why(0, {0x00, 0x80, 0x00, 0x00}), "");
    EXPECT_EQ(why(0, {0x00, 0x00, 0x00, 0x01}), "");
}

TEST(PageAnswer, ZerosNeverReachedTheDisk) {
    EXPECT_EQ(why(0, {}), "the command did not reach the disk");
    Bytes late(36);
    late[35] = 1;
    EXPECT_EQ(why(0, late), "");
    Bytes later(37);
    later[36] = 1;
    EXPECT_EQ(why(0, later), "the command did not reach the disk");
}

TEST(PageAnswer, AnErrorOfTheHostIsNamed) {
    EXPECT_EQ(why(-ENXIO, {}), "no such device or address");
    EXPECT_EQ(why(-EIO, {}), "input/output error");
}

TEST(PageAnswer, ARecordingWithoutTheListGivesEioForIt) {
    EXPECT_EQ(cli::missingText(0x80, "SCSI status 8"), "page 0x80: SCSI status 8");
    EXPECT_TRUE(cli::mayBeUnrecordedList(cli::missingText(0x00, why(-EIO, {}))));
    EXPECT_FALSE(cli::mayBeUnrecordedList(cli::missingText(0x80, why(-EIO, {}))));
    EXPECT_FALSE(cli::mayBeUnrecordedList(cli::missingText(0x00, why(-ENXIO, {}))));
    EXPECT_FALSE(cli::mayBeUnrecordedList(""));
}

TEST(PageAnswer, WhatTheDiskRefusesForGoodIsNotMissing) {
    EXPECT_EQ(why(2, kRefusal), "");
    EXPECT_EQ(why(2, {0x72, 5, 0x24, 0}), "");
    EXPECT_EQ(why(2, {0x70, 0, 5}), "");
    // LOGICAL UNIT NOT SUPPORTED: the volume is gone.
    Bytes gone = kRefusal;
    gone[12] = 0x25;
    EXPECT_EQ(why(2, gone), "SCSI status 2, sense 05/25/00");
    EXPECT_EQ(why(2, {0x72, 5, 0x25, 0}), "SCSI status 2, sense 05/25/00");
    // A deferred error is that of another command.
    EXPECT_EQ(why(2, {0x73, 5, 0x24, 0}), "SCSI status 2, sense 05/24/00");
    Bytes deferred = kRefusal;
    deferred[0] = 0x71;
    EXPECT_EQ(why(2, deferred), "SCSI status 2, sense 05/24/00");
}

TEST(PageAnswer, WhatMayComeTheNextTimeIsMissing) {
    EXPECT_EQ(why(2, kAttention), "SCSI status 2, sense 06/29/00");
    EXPECT_EQ(why(2, {}), "SCSI status 2");
    EXPECT_EQ(why(8, {}), "SCSI status 8");
    // Sense data come with CHECK CONDITION alone.
    EXPECT_EQ(why(8, kRefusal), "SCSI status 8");
}

TEST(PageAnswer, OnlyAnInquiryWithEvpdAsksForAPage) {
    host::CommandBuffer request = {};
    request[8] = 0x12;
    request[10] = 0x83;
    EXPECT_FALSE(cli::pageAskedFor(request));
    request[9] = 0x21;  // the logical unit number of SCSI-2 stands in the same byte
    EXPECT_EQ(cli::pageAskedFor(request), std::optional<std::uint8_t>(0x83));
    request[8] = 0x1A;
    EXPECT_FALSE(cli::pageAskedFor(request));
}

/// A host of one disk, a native one without a map.
class OneDisk : public test::SickHost {
  public:
    OneDisk() { addDisk("sda", "2:0:0:1", namedDisk("A1", 1)); }

    recording::RecordedPage& page(std::uint8_t code) {
        recording::RecordedPage& page = data.devices["/dev/sda"].pages[code];
        page = recording::RecordedPage();
        return page;
    }
    void lose(std::uint8_t code) { page(code).hostStatus = 1; }
    void refuse(std::uint8_t code, const Bytes& sense) {
        recording::RecordedPage& answer = page(code);
        answer.status = 2;
        answer.sense = sense;
    }
    CliResult run(const std::vector<std::string>& arguments) {
        CliMachine machine(data);
        CliResult result = machine.run(arguments);
        EXPECT_EQ(machine.openDescriptors(), 0U);
        return result;
    }
};

const std::string kLost = "page 0x80: the command did not reach the disk";
const std::string kDoubt =
    "scsitool: answered in part, so that a UDID may lack what did not come: /dev/sda (" + kLost +
    ")\n";

TEST(MissingPages, EveryCommandThatTellsAUdidSaysSo) {
    OneDisk host;
    host.lose(0x80);
    for (const char* command : {"udid", "explain", "validate", "inquiry"}) {
        const CliResult result = host.run({command, "/dev/sda"});
        EXPECT_EQ(result.status, 3) << command;
        EXPECT_EQ(result.err, kDoubt) << command;
    }
}

TEST(MissingPages, ThePictureHasItInTheRow) {
    OneDisk host;
    host.lose(0x80);
    for (const char* command : {"devices", "volumes"}) {
        const CliResult result = host.run({command});
        EXPECT_EQ(result.status, 3) << command;
        EXPECT_EQ(result.err, "scsitool: 1 of 1 disk answered in part: /dev/sda\n") << command;
    }
    EXPECT_THAT(host.run({"devices"}).out, HasSubstr("answered in part: " + kLost));
}

TEST(MissingPages, TheDocumentNamesThePages) {
    OneDisk host;
    host.lose(0x80);
    for (const char* command : {"udid", "devices"}) {
        EXPECT_EQ(host.run({"--json", command, "/dev/sda"}).json()["missing_pages"],
                  nlohmann::ordered_json::parse(R"([{"name": "/dev/sda", "pages": [
                      {"page": "80", "why": "the command did not reach the disk"}]}])"))
            << command;
    }
    host.refuse(0x80, kRefusal);
    EXPECT_FALSE(host.run({"--json", "udid", "/dev/sda"}).json().contains("missing_pages"));
}

TEST(MissingPages, ARefusalForGoodIsNoDoubt) {
    OneDisk host;
    host.refuse(0x80, kRefusal);
    for (const char* command : {"udid", "explain", "validate", "devices"}) {
        const CliResult result = host.run({command, "/dev/sda"});
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_EQ(result.err, "") << command;
    }
}

TEST(MissingPages, ThePageListIsOneOfThem) {
    OneDisk host;
    host.lose(0x00);
    EXPECT_THAT(host.run({"udid", "/dev/sda"}).err, HasSubstr("/dev/sda (page 0x00: "));
    EXPECT_EQ(
        host.run({"--json", "udid", "/dev/sda"}).json()["missing_pages"][0]["pages"][0]["page"],
        "00");
}

TEST(MissingPages, NoPageListIsADoubtOnALiveHostAlone) {
    OneDisk host;
    host.data.devices["/dev/sda"].pages.clear();  // EIO
    const CliResult live = host.run({"udid", "/dev/sda"});
    EXPECT_EQ(live.status, 3);
    EXPECT_THAT(live.err, HasSubstr("/dev/sda (page 0x00: input/output error)"));
    EXPECT_EQ(host.run({"devices"}).err, "scsitool: 1 of 1 disk answered in part: /dev/sda\n");
    const test::TempFolder folder;
    const std::string file = folder.write("host.json", R"({"format": "scsitool-host/1",
        "files": {"/proc/partitions": "   8        0    1048576 sda\n"},
        "devices": {"/dev/sda": {"id_lun": "0x00000000", "inquiry": {"std": "000005021f0000)" +
                                                           std::string(58, '2') + R"("}}}})");
    for (const char* command : {"udid", "devices"}) {
        const CliResult recorded = host.run({"--host", file, command, "/dev/sda"});
        EXPECT_EQ(recorded.status, 0) << recorded.err;
        EXPECT_EQ(recorded.err, "");
    }
}

TEST(MissingPages, ThereIsNoLinkBeforeThePageComes) {
    OneDisk host;
    EXPECT_THAT(host.run({"udev-export", "/dev/sda"}).out, HasSubstr("SCSITOOL_LINK=" + kUdid));
    host.lose(0x80);
    const CliResult result = host.run({"udev-export", "/dev/sda"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "scsitool: /dev/sda: answered in part: " + kLost +
                              "; a UDID made without it may be another one\n");
    host.refuse(0x80, kRefusal);
    EXPECT_THAT(host.run({"udev-export", "/dev/sda"}).out, HasSubstr("SCSITOOL_LINK="));
}

TEST(MissingPages, DoctorSaysWhatTheUdidIsWorth) {
    OneDisk host;
    host.lose(0x80);
    const CliResult result = host.run({"doctor"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.out, HasSubstr("DOC031"));
    host.refuse(0x80, kRefusal);
    EXPECT_THAT(host.run({"doctor"}).out, Not(HasSubstr("DOC031")));
}

/// Loses every VPD page but the list while `loses` is set.
class LosingHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    bool loses = false;

    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        const bool isPage = buffer[9] == 1 && buffer[10] != 0;
        return loses && isPage ? -ENXIO : ForwardingHost::sendCommand(descriptor, buffer);
    }
};

/// Asks for the list of pages and for these.
void ask(host::Host& host, const std::vector<std::uint8_t>& pages) {
    const int descriptor = host.openDevice("/dev/sda", host::OpenMode::kReadWriteNonBlocking);
    ASSERT_GE(descriptor, 0);
    for (const std::uint8_t code : pages) {
        host::CommandBuffer request = {};
        request[4] = 252;
        request[8] = 0x12;
        request[9] = 1;
        request[10] = code;
        request[12] = 252;
        host.sendCommand(descriptor, request);
    }
    host.closeDevice(descriptor);
}

using Missing = std::map<std::string, cli::MissingPages::Pages>;
const std::string kGone = "no such device or address";

TEST(MissingPages, WhatComesTheNextTimeIsMissingNoMore) {
    const OneDisk disk;
    CliMachine machine(disk.data);
    LosingHost losing(machine.host());
    cli::MissingPages watch(losing);
    ask(watch, {0x00, 0x83, 0x80});
    EXPECT_TRUE(watch.missing().empty());
    losing.loses = true;
    ask(watch, {0x00, 0x83, 0x80});
    EXPECT_EQ(watch.missing(), (Missing{{"/dev/sda", {{0x80, kGone}, {0x83, kGone}}}}));
    losing.loses = false;
    ask(watch, {0x00, 0x80});
    EXPECT_EQ(watch.missing(), (Missing{{"/dev/sda", {{0x83, kGone}}}}));
    ask(watch, {0x00, 0x83});
    EXPECT_TRUE(watch.missing().empty());
}

TEST(MissingPages, APageThatIsNotListedIsNoneThatTheDiskHas) {
    const OneDisk disk;
    CliMachine machine(disk.data);
    LosingHost losing(machine.host());
    cli::MissingPages watch(losing);
    losing.loses = true;
    ask(watch, {0x00, 0xC0});
    EXPECT_TRUE(watch.missing().empty());
    // Who does not know the list does not know that.
    ask(watch, {0x80});
    EXPECT_TRUE(watch.missing().empty());
}

}  // namespace
