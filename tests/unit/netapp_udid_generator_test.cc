#include "scsitool/udid/netapp_udid_generator.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>

#include "generator_probe.h"
#include "page_builder.h"
#include "scsitool/host/forwarding_host.h"
#include "slot_of.h"

namespace {

using test::bodyOf;
using test::Bytes;
using test::Claim;
using test::counting;
using test::Page;
using test::recordOf;
using test::store;
using test::storeEmpty;
using Lines = std::vector<std::string>;

/// Stands for a device that answers the vendor-specific command, and notes every request.
class ControllerHost : public host::ForwardingHost {
  public:
    ControllerHost() : ForwardingHost(host::current()) {}

    int openDevice(const std::string& path, host::OpenMode mode) override {
        requests.push_back("open " + path +
                           (mode == host::OpenMode::kReadOnlyNonBlocking ? " ro,nonblock" : " ?"));
        return openResult;
    }
    int closeDevice(int descriptor) override {
        requests.push_back("close " + std::to_string(descriptor));
        if (hasNoMemory) {
            throw std::bad_alloc();
        }
        return 0;
    }
    int sgIo(int descriptor, host::SgIoRequest& request) override {
        std::string line = "sg_io " + std::to_string(descriptor);
        for (const std::uint8_t byte : request.cdb) {
            constexpr char kDigits[] = "0123456789abcdef";
            line += std::string(" ") + kDigits[byte >> 4] + kDigits[byte & 0xF];
        }
        line += " data " + std::to_string(request.data.size());
        line += " sense " + std::to_string(request.sense.size());
        line += " timeout " + std::to_string(request.timeout);
        requests.push_back(line);
        std::copy(reply.begin(), reply.end(), request.data.begin());
        request.status = status;
        return sgIoResult;
    }

    /// A reply with one controller record.
    static Bytes replyWith(const std::string& identifier) {
        Bytes bytes(128);
        bytes[8] = 0x22;
        bytes[11] = 64;
        std::copy(identifier.begin(), identifier.end(), bytes.begin() + 36);
        return bytes;
    }

    int openResult = 5;
    int sgIoResult = 0;
    std::uint8_t status = 0;
    bool hasNoMemory = false;
    Bytes reply = replyWith("4061490311");
    Lines requests;
};

class NetAppGenerator : public testing::Test {
  protected:
    NetAppGenerator() : record(recordOf("NETAPP", "LUN", "/dev/sdn")) {
        store(record, 0x83, names());
    }
    static Page names() { return Page::vpd(0x83, 40).bytes(21, counting(13, 0x6E)); }
    std::string body() { return bodyOf(generator, record); }

    static constexpr char kUnit[] = "##6e6f70717273747576777879";
    static constexpr char kNoIdentifier[] = "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:NETAPP:LUN";
    CNetAppUdidGenerator generator{"NETAPP", "LUN"};
    CScsiDeviceData record;
    ControllerHost controller;
    host::Scope scope{controller};
};

TEST_F(NetAppGenerator, ClaimsByTheBaseRule) {
    const Claim claims[] = {{"NETAPP", "LUN", true},        {"NETAPP", "LUN C-Mode", false},
                            {"NETAPP", "lun", false},       {"netapp", "LUN", false},
                            {"NETAPPX", "LUN", false},      {"NETAPP", "", false},
                            {"NETAPP", "INF-01-00", false}, {"NETAPP  ", "LUN             ", true}};
    for (const Claim& claim : claims) {
        CScsiDeviceData device = recordOf(claim.vendor, claim.product);
        EXPECT_EQ(generator.claimDevice(&device), claim.claimed)
            << claim.vendor << "|" << claim.product;
    }
    EXPECT_EQ(controller.requests, Lines{});
}

TEST_F(NetAppGenerator, PrefixIsTheBaseRules) {
    EXPECT_EQ(generator.getUniqueDeviceIDPrefix(&record), "UDID##NETAPP##LUN##");
}

TEST_F(NetAppGenerator, AddsTheControllerQueryAfterTheBody) {
    EXPECT_EQ(test::slotOf(&CNetAppUdidGenerator::getEnclosureID),
              test::slotOf(&CUdidGenerator::getUniqueDeviceID) + 1);
}

TEST_F(NetAppGenerator, SendsOneCommandOverAReadOnlyDescriptor) {
    EXPECT_EQ(generator.getEnclosureID(&record), "4061490311");
    EXPECT_EQ(
        controller.requests,
        (Lines{"open /dev/sdn ro,nonblock",
               "sg_io 5 c0 00 00 0a 98 0a 22 10 00 00 data 4096 sense 64 timeout 10", "close 5"}));
}

TEST_F(NetAppGenerator, WritesControllerAndUnit) {
    EXPECT_EQ(body(), std::string("4061490311") + kUnit);
}

TEST_F(NetAppGenerator, DescriptorZeroIsClosedToo) {
    controller.openResult = 0;
    EXPECT_EQ(generator.getEnclosureID(&record), "4061490311");
    EXPECT_EQ(controller.requests.back(), "close 0");
}

TEST_F(NetAppGenerator, AHostThatHasNoMemoryForTheCloseEndsNothing) {
    controller.hasNoMemory = true;
    EXPECT_EQ(generator.getEnclosureID(&record), "4061490311");
    EXPECT_EQ(controller.requests.back(), "close 5");
}

TEST_F(NetAppGenerator, ADeviceThatCannotBeOpenedTellsNoIdentifier) {
    controller.openResult = -ENXIO;
    EXPECT_EQ(generator.getEnclosureID(&record), "");
    EXPECT_EQ(controller.requests, Lines{"open /dev/sdn ro,nonblock"});
    EXPECT_EQ(body(), kNoIdentifier);
}

TEST_F(NetAppGenerator, AFailedRequestTellsNoIdentifierAndClosesTheDevice) {
    controller.sgIoResult = -ENOTTY;
    EXPECT_EQ(generator.getEnclosureID(&record), "");
    EXPECT_EQ(controller.requests.back(), "close 5");
    EXPECT_EQ(controller.requests.size(), 3U);
    EXPECT_EQ(body(), kNoIdentifier);
}

TEST_F(NetAppGenerator, ACheckConditionWithoutDataTellsNoIdentifier) {
    controller.status = 0x02;
    controller.reply.clear();
    EXPECT_EQ(body(), kNoIdentifier);
    EXPECT_EQ(controller.requests.back(), "close 5");
}

TEST_F(NetAppGenerator, AReplyWithoutControllerRecordTellsNoIdentifier) {
    controller.reply = Bytes(4096);
    EXPECT_EQ(body(), kNoIdentifier);
    // A record of type 0x22 that starts behind byte 256.
    controller.reply[8] = 1;
    controller.reply[11] = 249;
    controller.reply[257] = 0x22;
    controller.reply[285] = 'A';
    EXPECT_EQ(body(), kNoIdentifier);
    controller.reply[11] = 248;
    controller.reply[256] = 0x22;
    controller.reply[284] = 'B';
    EXPECT_EQ(body(), std::string("BA") + kUnit);
}

TEST_F(NetAppGenerator, AnEmptyIdentifierIsNone) {
    controller.reply = ControllerHost::replyWith("");
    EXPECT_EQ(generator.getEnclosureID(&record), "");
    EXPECT_EQ(body(), kNoIdentifier);
}

TEST_F(NetAppGenerator, AnIdentifierThatFillsItsBytesIsCutTo23Characters) {
    controller.reply = ControllerHost::replyWith("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    EXPECT_EQ(body(), std::string("ABCDEFGHIJKLMNOPQRSTUVW") + kUnit);
}

TEST_F(NetAppGenerator, ADeviceThatDoesNotListPage83SaysSoInPlaceOfTheProduct) {
    record.m_supportedPages = {0x00, 0x80};
    EXPECT_EQ(body(), "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:NETAPP:0x83");
    record.m_supportedPages.clear();
    EXPECT_EQ(body(), "!MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:NETAPP:0x83");
}

TEST_F(NetAppGenerator, TheControllerIsAskedBeforeTheListOfPages) {
    record.m_supportedPages.clear();
    controller.reply.clear();
    EXPECT_EQ(body(), kNoIdentifier);
}

TEST_F(NetAppGenerator, Page83OfFewerThan33BytesIsInvalidDeviceData) {
    const std::string failure = "!MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:NETAPP:LUN";
    store(record, 0x83, names().cut(31));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(32));
    EXPECT_EQ(body(), failure);
    store(record, 0x83, names().cut(33));
    EXPECT_EQ(body(), std::string("4061490311") + kUnit);
    store(record, 0x83, names().cut(34));
    EXPECT_EQ(body(), std::string("4061490311") + kUnit);
    storeEmpty(record, 0x83);
    EXPECT_EQ(body(), failure);
    record.m_pages.erase(0x83);
    EXPECT_EQ(body(), failure);
}

TEST_F(NetAppGenerator, BodyUsesTheQueryThatADerivedGeneratorBringsAlong) {
    struct Derived : CNetAppUdidGenerator {
        Derived() : CNetAppUdidGenerator("NETAPP", "LUN") {}
        std::string getEnclosureID(CScsiDeviceData*) override { return answer; }
        std::string answer;
    } derived;
    derived.answer = std::string("own\0rest", 8);
    EXPECT_EQ(bodyOf(derived, record), std::string("own") + kUnit);
    derived.answer = std::string("\0rest", 5);
    EXPECT_EQ(bodyOf(derived, record), kNoIdentifier);
    EXPECT_EQ(controller.requests, Lines{});
}

}  // namespace
