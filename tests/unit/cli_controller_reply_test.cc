#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "cli/hosts/page_answer.h"
#include "cli_harness.h"
#include "family_samples.h"
#include "scsitool/udid/reporter.h"
#include "sick_host.h"

// The reply of a NetApp controller is half of the UDID of its volumes. Where it does not come the
// library makes another one of the pages.

namespace {

using test::Bytes;
using test::CliMachine;
using test::CliResult;
using test::FamilySample;
using test::Page;
using testing::HasSubstr;

const Bytes kRefusal = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x20, 0, 0, 0};
const Bytes kCommand = {0xC0, 0x00, 0x00, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0x00, 0x00};
const char kUdid[] = "UDID##NETAPP##LUN##4082368-508##6E6F70717273747576777879";

host::SgIoRequest replyOf(std::uint8_t status, std::uint16_t hostStatus, const Bytes& sense = {}) {
    host::SgIoRequest reply;
    reply.cdb = kCommand;
    reply.status = status;
    reply.hostStatus = hostStatus;
    reply.sense = sense;
    return reply;
}

TEST(ControllerReply, ARefusalForGoodIsNotMissing) {
    EXPECT_EQ(cli::whyNotCome(0, replyOf(0, 0)), "");
    EXPECT_EQ(cli::whyNotCome(-ENOTTY, replyOf(0, 0)), "");
    EXPECT_EQ(cli::whyNotCome(0, replyOf(2, 0, kRefusal)), "");
}

TEST(ControllerReply, WhatMayComeTheNextTimeIsMissing) {
    EXPECT_EQ(cli::whyNotCome(-EIO, replyOf(0, 0)), "input/output error");
    EXPECT_EQ(cli::whyNotCome(0, replyOf(0, 1)), "the command did not reach the disk");
    EXPECT_EQ(cli::whyNotCome(0, replyOf(8, 0, kRefusal)), "SCSI status 8");
    EXPECT_EQ(cli::whyNotCome(0, replyOf(2, 0)), "SCSI status 2");
    EXPECT_EQ(cli::whyNotCome(0, replyOf(2, 0, Bytes(1, 0x70))), "SCSI status 2, sense 00/00/00");
    EXPECT_EQ(cli::missingText(udid::kControllerReply, "SCSI status 8"),
              "the controller's reply: SCSI status 8");
}

TEST(ControllerReply, OnlyAVendorSpecificCommandAsksForIt) {
    host::SgIoRequest request;
    EXPECT_FALSE(cli::isVendorSpecific(request));
    for (const auto& [operation, isOne] :
         {std::pair<std::uint8_t, bool>{0x12, false}, {0xBF, false}, {0xC0, true}, {0xFF, true}}) {
        request.cdb = {operation, 0, 0, 0, 0, 0};
        EXPECT_EQ(cli::isVendorSpecific(request), isOne) << int(operation);
    }
}

/// A host of one volume of a NetApp array.
class OneVolume : public test::SickHost {
  public:
    OneVolume() {
        const FamilySample& sample = test::sampleNamed("NetApp");
        recording::RecordedDevice volume =
            test::diskOf(sample.pages.at(0),
                         {{0x00, Page::supported({0x00, 0x83})}, {0x83, sample.pages.at(0x83)}});
        volume.sgIo[kCommand].bytes = sample.pages.at(udid::kControllerReply).data();
        addDisk("sda", "2:0:0:1", volume);
    }
    recording::RecordedPage& reply() { return data.devices["/dev/sda"].sgIo[kCommand]; }
    CliResult run(const std::vector<std::string>& arguments) {
        CliMachine machine(data);
        return machine.run(arguments);
    }
};

TEST(ControllerReply, IsMissedByEveryCommandThatTellsAUdid) {
    OneVolume host;
    EXPECT_THAT(host.run({"udid", "/dev/sda"}).out, HasSubstr(kUdid));
    host.reply().hostStatus = 1;
    for (const char* command : {"udid", "explain", "validate"}) {
        const CliResult result = host.run({command, "/dev/sda"});
        EXPECT_EQ(result.status, 3) << command;
        EXPECT_EQ(result.err,
                  "scsitool: answered in part, so that a UDID may lack what did not come: /dev/sda "
                  "(the controller's reply: the command did not reach the disk)\n")
            << command;
    }
    EXPECT_EQ(host.run({"udev-export", "/dev/sda"}).status, 1);
    EXPECT_THAT(host.run({"doctor"}).out, HasSubstr("DOC031"));
}

TEST(ControllerReply, IsMissedInTheRowOfItsVolume) {
    OneVolume host;
    host.reply().status = 8;
    for (const char* command : {"devices", "volumes"}) {
        const CliResult result = host.run({command});
        EXPECT_EQ(result.status, 3) << command;
        EXPECT_EQ(result.err, "scsitool: 1 of 1 disk answered in part: /dev/sda\n") << command;
    }
    EXPECT_THAT(host.run({"devices"}).out,
                HasSubstr("answered in part: the controller's reply: SCSI status 8"));
    EXPECT_EQ(host.run({"--json", "devices"}).json()["missing_pages"],
              nlohmann::ordered_json::parse(R"([{"name": "/dev/sda", "pages": [
                  {"page": "c000000a980a22100000", "why": "SCSI status 8"}]}])"));
}

TEST(ControllerReply, OneThatTheArrayRefusesForGoodIsNoDoubt) {
    OneVolume host;
    host.reply().status = 2;
    host.reply().sense = kRefusal;
    for (const char* command : {"udid", "devices"}) {
        EXPECT_EQ(host.run({command, "/dev/sda"}).status, 0) << command;
    }
}

TEST(ControllerReply, ThatComesTheNextTimeIsMissingNoMore) {
    OneVolume host;
    host.reply().error = EIO;
    EXPECT_EQ(host.run({"devices"}).status, 3);
    host.reply().error = 0;
    EXPECT_EQ(host.run({"devices"}).status, 0);
}

}  // namespace
