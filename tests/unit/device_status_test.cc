#include "scsitool/udid/device_status.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "device_host.h"
#include "recording/replay/recorded_host_file.h"
#include "recording_reporter.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/explanation.h"
#include "trace_capture.h"

namespace {

using recording::RecordedDevice;
using recording::RecordedHostData;
using recording::RecordedPage;
using test::DeviceHost;
using test::namedDisk;
using test::Page;
using udid::DeviceState;
using udid::DeviceStatus;
using udid::FailedRequest;
using udid::Finding;
using Kind = FailedRequest::Kind;
using Texts = std::vector<std::string>;

constexpr char kDisk[] = "/dev/sda";

RecordedHostData hostOf(const std::map<std::string, RecordedDevice>& disks) {
    RecordedHostData data;
    Texts names;
    for (const auto& [name, device] : disks) {
        names.push_back(name);
        data.devices["/dev/" + name] = device;
    }
    data.files["/proc/partitions"] = test::partitionsOf(names);
    data.directories["/dev/"] = names;
    data.hostName = "db01";
    return data;
}

// A host with one disk, enumerated under a watch.
struct Watched {
    explicit Watched(const RecordedDevice& disk) : Watched(hostOf({{"sda", disk}})) {}
    explicit Watched(const RecordedHostData& data) : host(data) {}

    DeviceMap enumerate() { return factory.enumerateDeviceMap(false, false, false, "", ""); }
    DeviceStatus status() const { return watch.statusOf(kDisk); }

    DeviceHost host;
    udid::StatusWatch watch;
    CUDIDFactory factory;
};

// The one failed request of a device that was enumerated.
void expectOneFailure(const DeviceStatus& status, Kind kind, int error) {
    ASSERT_EQ(status.failedRequests.size(), 1U);
    EXPECT_EQ(status.failedRequests[0].kind, kind);
    EXPECT_EQ(status.failedRequests[0].error, error);
    EXPECT_EQ(status.failedRequests[0].scsiStatus, 0U);
}

TEST(DeviceStatus, DiskWithAUdidSaysWhatItsUdidSays) {
    Watched watched(namedDisk("S1", 1));
    const DeviceMap devices = watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.deviceName, kDisk);
    EXPECT_EQ(status.state, DeviceState::kIdentified);
    EXPECT_TRUE(status.isInMap);
    EXPECT_TRUE(status.failedRequests.empty());
    EXPECT_EQ(status.inquiryLength, 96U);
    EXPECT_EQ(status.identity.generator, ":");
    EXPECT_EQ(status.identity.volumeId, "6000000a000000000000000000000001");
    ASSERT_EQ(status.generators.size(), 1U);
    EXPECT_EQ(status.generators[0].generator, ":");
    EXPECT_TRUE(status.generators[0].claimed);
    EXPECT_EQ(status.generators[0].failure, "");
    EXPECT_EQ(watched.watch.finding(), Finding::kDisks);
    EXPECT_EQ(textOf(status), "has a UDID");
    EXPECT_EQ(devices.size(), 1U);
}

TEST(DeviceStatus, OpenThatIsRefusedTellsItsErrno) {
    struct Case {
        int error;
        Finding finding;
        const char* text;
    };
    for (const Case& one :
         {Case{EACCES, Finding::kNoRight, "does not open: Permission denied"},
          Case{EPERM, Finding::kNoRight, "does not open: Operation not permitted"},
          Case{EROFS, Finding::kNoneOpened, "does not open: Read-only file system"},
          Case{ENXIO, Finding::kNoneOpened, "does not open: No such device or address"},
          Case{ENOENT, Finding::kNoneOpened, "does not open: No such file or directory"}}) {
        RecordedDevice disk = namedDisk("S1", 1);
        disk.openError = one.error;
        Watched watched(disk);
        EXPECT_TRUE(watched.enumerate().empty());
        const DeviceStatus status = watched.status();
        EXPECT_EQ(status.state, DeviceState::kNotOpened);
        EXPECT_FALSE(status.isInMap);
        expectOneFailure(status, Kind::kOpen, one.error);
        EXPECT_EQ(watched.watch.finding(), one.finding);
        EXPECT_EQ(textOf(status), one.text);
    }
}

TEST(DeviceStatus, DiskThatIsReadOnlyAloneSaysSo) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.writeError = EROFS;
    Watched watched(disk);
    EXPECT_TRUE(watched.enumerate().empty());
    expectOneFailure(watched.status(), Kind::kOpen, EROFS);
}

// The node opened for the list and not for the requests: the process ran out of descriptors.
TEST(DeviceStatus, SecondOpenThatFailsLeavesTheDeviceInTheMap) {
    Watched watched(namedDisk("S1", 1));
    watched.host.onOpen = [&](const std::string& path) {
        const bool isSecond = watched.host.count("open " + path + " O_RDWR|O_NONBLOCK") == 2;
        return isSecond ? DeviceHost::Answer(-EMFILE) : DeviceHost::Answer();
    };
    const DeviceMap devices = watched.enumerate();
    ASSERT_EQ(devices.size(), 1U);
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kNotOpened);
    EXPECT_TRUE(status.isInMap);
    expectOneFailure(status, Kind::kOpen, EMFILE);
    EXPECT_EQ(textOf(status), "does not open: Too many open files");
    EXPECT_EQ(watched.watch.finding(), Finding::kNoneOpened);
}

TEST(DeviceStatus, OpenWithoutDescriptorsLeftIsToldOfEveryDisk) {
    Watched watched(hostOf({{"sda", namedDisk("S1", 1)}, {"sdb", namedDisk("S2", 2)}}));
    watched.host.onOpen = [](const std::string&) { return DeviceHost::Answer(-EMFILE); };
    EXPECT_TRUE(watched.enumerate().empty());
    ASSERT_EQ(watched.watch.statuses().size(), 2U);
    for (const DeviceStatus& status : watched.watch.statuses()) {
        expectOneFailure(status, Kind::kOpen, EMFILE);
    }
    EXPECT_EQ(watched.watch.finding(), Finding::kNoneOpened);
}

TEST(DeviceStatus, InquiryThatFailsTellsItsErrno) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.standardInquiry->error = EIO;
    Watched watched(disk);
    ASSERT_EQ(watched.enumerate().size(), 1U);
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kNoAnswer);
    EXPECT_TRUE(status.isInMap);
    EXPECT_EQ(status.inquiryLength, 0U);
    expectOneFailure(status, Kind::kInquiry, EIO);
    EXPECT_EQ(textOf(status), "does not answer INQUIRY: Input/output error");
    EXPECT_EQ(watched.watch.finding(), Finding::kNothingAnswered);
}

TEST(DeviceStatus, InquiryThatWantsRightsIsAMatterOfRights) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.standardInquiry->error = EPERM;
    RecordedDevice closed = namedDisk("S2", 2);
    closed.openError = EACCES;
    Watched watched(hostOf({{"sda", disk}, {"sdb", closed}}));
    watched.enumerate();
    EXPECT_EQ(watched.watch.finding(), Finding::kNoRight);
    EXPECT_EQ(textOf(watched.watch.finding()), "this process has not the right to ask the devices");
}

TEST(DeviceStatus, CheckConditionTellsItsSense) {
    struct Case {
        test::Bytes sense;
        const char* text;
    };
    const std::string begin = "does not answer INQUIRY: SCSI status 2";
    for (const Case& one :
         {Case{{0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0x01, 0, 0}, ", sense 05/25/01"},
          Case{{0xF1, 0, 0x26, 0, 0, 0, 0, 6, 0, 0, 0, 0, 0x29, 0x02, 0, 0}, ", sense 06/29/02"},
          // The additional sense code would stand behind their end, then its qualifier alone.
          Case{{0x70, 0, 2, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0x25, 0x01, 0, 0}, ", sense 02/00/00"},
          Case{{0x70, 0, 2, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0x25, 0x01, 0, 0}, ", sense 02/25/00"},
          Case{{0x72, 0x05, 0x24, 0x03, 0, 0, 0, 0}, ", sense 05/24/03"},
          Case{{0x73, 0x1B, 0x44, 0x00, 0, 0, 0, 0}, ", sense 0b/44/00"},
          Case{{0x74, 5, 0x24, 0, 0, 0, 0, 0}, ""}, Case{{}, ""}}) {
        RecordedDevice disk = namedDisk("S1", 1);
        disk.standardInquiry->status = 2;
        disk.standardInquiry->sense = one.sense;
        Watched watched(disk);
        watched.enumerate();
        const DeviceStatus status = watched.status();
        EXPECT_EQ(status.state, DeviceState::kNoAnswer);
        ASSERT_EQ(status.failedRequests.size(), 1U);
        EXPECT_EQ(status.failedRequests[0].scsiStatus, 2U);
        EXPECT_EQ(status.failedRequests[0].error, 0);
        EXPECT_EQ(textOf(status), begin + one.text);
    }
}

TEST(DeviceStatus, InquiryDataOfZerosAreNoAnswer) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.standardInquiry->bytes = test::Bytes(36);
    Watched watched(disk);
    watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kNoAnswer);
    EXPECT_TRUE(status.failedRequests.empty());
    EXPECT_EQ(textOf(status), "does not answer INQUIRY: the data are zeros");
}

TEST(DeviceStatus, InquiryDataAreAsShortAsTheLibraryTakesThem) {
    for (const std::size_t length : {5U, 31U, 32U, 33U}) {
        RecordedDevice disk = namedDisk("S1", 1);
        disk.standardInquiry->bytes = Page::inquiry("ACME", "RAID 5", length).data();
        disk.standardInquiry->bytes.resize(96);
        Watched watched(disk);
        watched.enumerate();
        const DeviceStatus status = watched.status();
        EXPECT_EQ(status.inquiryLength, length);
        if (length < 32) {
            EXPECT_EQ(status.state, DeviceState::kNoDisk);
            EXPECT_EQ(textOf(status), "is no disk: its INQUIRY data are " + std::to_string(length) +
                                          " bytes of 32");
            EXPECT_EQ(watched.watch.finding(), Finding::kNothingAnswered);
        } else {
            EXPECT_EQ(status.state, DeviceState::kIdentified);
        }
        // The library says the same: no page of such a device was asked for.
        EXPECT_EQ(watched.factory.records()[0]->m_pages.count(0x83), length < 32 ? 0U : 1U);
    }
}

TEST(DeviceStatus, WhatIsNoConnectedDiskSaysItsFirstByte) {
    RecordedDevice tape = test::diskOf(Page::inquiry("ACME", "TAPE").set(0, 0x21));
    Watched watched(tape);
    watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kNoDisk);
    EXPECT_EQ(status.peripheral, 0x21);
    EXPECT_EQ(textOf(status), "is no disk: byte 0 of its INQUIRY data is 0x21");
}

TEST(DeviceStatus, AddressThatFailsEndsTheWorkOnADevice) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.idLun.reset();
    disk.idLunError = EINVAL;
    Watched watched(disk);
    watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kNoAddress);
    expectOneFailure(status, Kind::kAddress, EINVAL);
    EXPECT_EQ(textOf(status), "does not tell its address: Invalid argument");
    EXPECT_EQ(watched.watch.finding(), Finding::kDisks);
}

TEST(DeviceStatus, UdidOfNamesIsNoIdentity) {
    Watched watched(test::diskOf(Page::inquiry("ACME", "RAID 5")));
    watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kHostNamed);
    EXPECT_EQ(status.generators.size(), 1U);
    EXPECT_EQ(textOf(status).find("has a UDID of names, good on this host alone; "), 0U)
        << textOf(status);
    EXPECT_NE(textOf(status).find("the device does not list VPD page 0x00"), std::string::npos);
}

TEST(DeviceStatus, PageThatDoesNotComeIsTold) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.pages[0x83].status = 2;
    disk.pages[0x83].sense = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x24, 0, 0, 0};
    Watched watched(disk);
    watched.enumerate();
    const DeviceStatus status = watched.status();
    ASSERT_EQ(status.failedRequests.size(), 1U);
    EXPECT_EQ(status.failedRequests[0].kind, Kind::kPage);
    EXPECT_EQ(status.failedRequests[0].page, 0x83U);
    EXPECT_NE(textOf(status).find("; INQUIRY for page 0x83: SCSI status 2, sense 05/24/00"),
              std::string::npos)
        << textOf(status);
}

// The kernel hands zeros over for a command that never reached the disk.
TEST(DeviceStatus, PageOfZerosDidNotCome) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.pages[0x80] = recording::RecordedPage();
    disk.pages[0x80].hostStatus = 1;
    Watched watched(disk);
    watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kIdentified);
    ASSERT_EQ(status.failedRequests.size(), 1U);
    EXPECT_EQ(status.failedRequests[0].kind, Kind::kPage);
    EXPECT_EQ(status.failedRequests[0].page, 0x80U);
    EXPECT_EQ(status.failedRequests[0].error, EIO);
    EXPECT_EQ(textOf(status), "has a UDID; INQUIRY for page 0x80: Input/output error");
}

TEST(DeviceStatus, GeneratorThatFailedIsNamedWithItsReason) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.standardInquiry->bytes = Page::inquiry("EMC", "SYMMETRIX", 96).data();
    Watched watched(disk);
    watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kIdentified);
    ASSERT_EQ(status.generators.size(), 2U);
    EXPECT_EQ(status.generators[0].generator, "EMC:SYMMETRIX");
    EXPECT_EQ(status.generators[0].family, udid::familyName("EMC:SYMMETRIX"));
    EXPECT_TRUE(status.generators[0].claimed);
    EXPECT_EQ(status.generators[0].failure, "MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:EMC:SYMMETRIX");
    ASSERT_FALSE(status.generators[0].remarks.empty());
    EXPECT_EQ(status.identity.generator, ":");
    EXPECT_EQ(textOf(status), "has a UDID; " + status.generators[0].family + ": " +
                                  status.generators[0].remarks[0] + ", " +
                                  status.generators[0].failure);
}

TEST(DeviceStatus, RequestOfAGeneratorIsTold) {
    const test::Bytes command = {0xC0, 0x00, 0x00, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0x00, 0x00};
    RecordedDevice disk = namedDisk("S1", 1);
    disk.standardInquiry->bytes = Page::inquiry("NETAPP", "LUN").data();
    RecordedPage refusal;
    refusal.status = 2;
    refusal.sense = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x20, 0, 0, 0};
    RecordedPage lost;
    lost.hostStatus = 1;
    RecordedPage refused;
    refused.error = EPERM;
    for (const auto& [reply, text] :
         {std::pair<RecordedPage, const char*>{refusal, "; SG_IO: SCSI status 2, sense 05/20/00"},
          {lost, "; SG_IO: the kernel's host status 1"},
          {refused, "; SG_IO: Operation not permitted"}}) {
        disk.sgIo[command] = reply;
        Watched watched(disk);
        watched.enumerate();
        ASSERT_EQ(watched.status().failedRequests.size(), 1U) << text;
        EXPECT_EQ(watched.status().failedRequests[0].kind, Kind::kGeneratorsOwn);
        const std::string told = textOf(watched.status());
        EXPECT_NE(told.find("the controller tells no identifier"), std::string::npos) << told;
        EXPECT_NE(told.find(text), std::string::npos) << told;
    }
}

// What a generator opens for itself takes nothing away from what the device answered before.
TEST(DeviceStatus, OpenOfAGeneratorThatFailsIsARequestThatFailed) {
    RecordedDevice disk = namedDisk("S1", 1);
    disk.standardInquiry->bytes = Page::inquiry("NETAPP", "LUN").data();
    Watched watched(disk);
    watched.host.onOpen = [&](const std::string& path) {
        return watched.host.count("open " + path + " other") == 1 ? DeviceHost::Answer(-EMFILE)
                                                                  : DeviceHost::Answer();
    };
    watched.enumerate();
    EXPECT_EQ(watched.status().state, DeviceState::kIdentified);
    expectOneFailure(watched.status(), Kind::kOpen, EMFILE);
    EXPECT_NE(textOf(watched.status()).find("; open: Too many open files"), std::string::npos);
}

// A generator of the caller's own.
struct OwnGenerator : CUdidGenerator {
    OwnGenerator() : CUdidGenerator("OWN", "G") {}
    bool claimDevice(CScsiDeviceData*) override {
        if (reporting && udid::reporter() != nullptr) {
            udid::reporter()->remarked("not one of ours");
        }
        return claims;
    }
    std::string getUniqueDeviceID(CScsiDeviceData*) override {
        if (reporting && udid::reporter() != nullptr) {
            udid::reporter()->added({udid::Format::kHostName, udid::kNoPage, 0, 0, "db01"});
        }
        if (fails) {
            throw CUdidGeneratorException("ID", m_vendor, m_product);
        }
        return "body";
    }
    bool claims = false;
    bool fails = false;
    bool reporting = false;
};

TEST(DeviceStatus, GeneratorThatDeclinedIsToldWhenItSaysWhy) {
    for (const bool reporting : {false, true}) {
        Watched watched(namedDisk("S1", 1));
        OwnGenerator own;
        own.reporting = reporting;
        watched.factory.askFirst({&own});
        watched.enumerate();
        const DeviceStatus status = watched.status();
        EXPECT_EQ(status.state, DeviceState::kIdentified);
        ASSERT_EQ(status.generators.size(), reporting ? 2U : 1U);
        if (reporting) {
            EXPECT_EQ(status.generators[0].generator, "OWN:G");
            EXPECT_EQ(status.generators[0].family, "OWN:G");
            EXPECT_FALSE(status.generators[0].claimed);
            EXPECT_EQ(textOf(status), "has a UDID; OWN:G: not one of ours");
        }
    }
}

TEST(DeviceStatus, NameThatAFailedGeneratorPutInIsNotInTheUdid) {
    for (const bool fails : {false, true}) {
        Watched watched(namedDisk("S1", 1));
        OwnGenerator own;
        own.claims = true;
        own.reporting = true;
        own.fails = fails;
        watched.factory.askFirst({&own});
        watched.enumerate();
        EXPECT_EQ(watched.status().state,
                  fails ? DeviceState::kIdentified : DeviceState::kHostNamed);
    }
}

TEST(DeviceStatus, DeviceThatNoGeneratorMadeAUdidOfHasNone) {
    for (const bool claims : {false, true}) {
        Watched watched(namedDisk("S1", 1));
        OwnGenerator own;
        own.claims = claims;
        own.fails = true;
        watched.factory.m_generators = {&own};
        watched.enumerate();
        const DeviceStatus status = watched.status();
        EXPECT_EQ(status.state, DeviceState::kNoUdid);
        EXPECT_TRUE(status.isInMap);
        EXPECT_EQ(status.identity.generator, "");
        EXPECT_EQ(textOf(status), claims ? "has no UDID; OWN:G: ID:OWN:G" : "has no UDID");
    }
}

TEST(DeviceStatus, TaqGeneratorIsAskedWithoutAClaim) {
    for (const bool fails : {false, true}) {
        Watched watched(namedDisk("S1", 1));
        auto* const own = new OwnGenerator;
        own->fails = fails;
        if (fails) {
            watched.factory.m_taqGenerator.reset(own);
        } else {
            delete own;
        }
        watched.factory.m_taqMode = true;
        EXPECT_EQ(watched.enumerate()[kDisk].uid.empty(), fails);
        const DeviceStatus status = watched.status();
        EXPECT_EQ(status.state, fails ? DeviceState::kNoUdid : DeviceState::kIdentified);
        ASSERT_EQ(status.generators.size(), 1U);
        EXPECT_EQ(status.generators[0].generator, "TAQ:TAQ");
        EXPECT_EQ(status.generators[0].failure, fails ? "ID:OWN:G" : "");
    }
}

TEST(DeviceStatus, UdidThatTheCallerAssignedIsToldAsSuch) {
    Watched watched(namedDisk("S1", 1));
    watched.factory.m_presetDeviceMap[kDisk].uid = "preset";
    watched.enumerate();
    const DeviceStatus status = watched.status();
    EXPECT_EQ(status.state, DeviceState::kIdentified);
    EXPECT_TRUE(status.generators.empty());
    EXPECT_EQ(textOf(status), "has a UDID; the caller assigned this UDID in advance");
}

TEST(DeviceStatus, EveryOperationOfTheLibraryIsWatched) {
    Watched watched(namedDisk("S1", 1));
    EXPECT_EQ(watched.watch.finding(), Finding::kNothingAsked);
    EXPECT_EQ(watched.status().state, DeviceState::kNotOpened);
    EXPECT_EQ(textOf(watched.status()), "does not open: nobody tried");

    std::vector<CScsiDeviceData> measured;
    EXPECT_EQ(CLinuxDeviceDiscovery().enumerateNativeDevicePathsExt(measured), 0);
    EXPECT_EQ(watched.status().state, DeviceState::kOpened);
    EXPECT_EQ(textOf(watched.status()), "opens, and nothing was asked of it");
    EXPECT_EQ(watched.watch.finding(), Finding::kNothingAnswered);

    for (CScsiDeviceData* record : CLinuxDeviceDiscovery().rescan(false, false, false, "", "")) {
        delete record;
    }
    EXPECT_EQ(watched.status().state, DeviceState::kAnswered);
    EXPECT_FALSE(watched.status().isInMap);
    EXPECT_EQ(textOf(watched.status()), "answers");

    EXPECT_NE(watched.factory.getCachedUniqueDeviceID(kDisk, false), "");
    EXPECT_EQ(watched.status().state, DeviceState::kIdentified);
    watched.host.onOpen = [](const std::string&) { return DeviceHost::Answer(-ENXIO); };
    EXPECT_TRUE(watched.factory.validateDeviceMap(kDisk).empty());
    EXPECT_EQ(watched.status().state, DeviceState::kNotOpened);
    EXPECT_FALSE(watched.status().isInMap);
    EXPECT_EQ(watched.watch.statuses().size(), 1U);
}

TEST(DeviceStatus, RecordOfTheCallersOwnIsTakenAsItStands) {
    Watched watched(namedDisk("S1", 1));
    CScsiDeviceData record("/dev/sdq", "", "", 0, 0, 0, -1, "ACME", "DISK", "", 0);
    watched.factory.getUniqueDeviceID(&record);
    EXPECT_EQ(watched.watch.statusOf("/dev/sdq").state, DeviceState::kHostNamed);
}

TEST(Finding, HostWithoutADiskIsToldFromOneThatHidesThem) {
    {
        Watched watched(hostOf({}));
        EXPECT_TRUE(watched.enumerate().empty());
        EXPECT_EQ(watched.watch.finding(), Finding::kNoDisk);
        EXPECT_TRUE(watched.watch.unreadLists().empty());
        EXPECT_EQ(textOf(watched.watch.finding()), "the host lists no such disk");
    }
    {
        RecordedHostData data = hostOf({});
        data.files["/proc/partitions"].error = EACCES;
        Watched watched(data);
        watched.enumerate();
        watched.enumerate();
        EXPECT_EQ(watched.watch.finding(), Finding::kNoList);
        ASSERT_EQ(watched.watch.unreadLists().size(), 1U);
        EXPECT_EQ(watched.watch.unreadLists()[0].path, "/proc/partitions");
        EXPECT_EQ(watched.watch.unreadLists()[0].error, EACCES);
        EXPECT_EQ(textOf(watched.watch.finding()), "a list of the devices could not be read");
    }
    {
        RecordedHostData data = hostOf({});
        data.directoryErrors["/dev/mapper/"] = EACCES;
        Watched watched(data);
        watched.enumerate();
        EXPECT_EQ(watched.watch.finding(), Finding::kNoList);
    }
}

TEST(Finding, ListOfDisksThatBreaksOffIsUnread) {
    RecordedHostData data = hostOf({{"sda", namedDisk("S1", 1)}});
    data.files["/proc/partitions"].readError = EIO;
    Watched watched(data);
    watched.enumerate();
    ASSERT_EQ(watched.watch.unreadLists().size(), 1U);
    EXPECT_EQ(watched.watch.unreadLists()[0].error, EIO);
    EXPECT_EQ(watched.watch.finding(), Finding::kDisks);
}

// The names in /dev/mapper are all tried.
TEST(Finding, WhatIsNoScsiDeviceCountsForNothing) {
    RecordedHostData data = hostOf({});
    data.directories["/dev/mapper/"] = {".", "..", "control"};
    RecordedDevice control;
    control.standardInquiry = RecordedPage();
    control.standardInquiry->error = ENOTTY;
    data.devices["/dev/mapper/control"] = control;
    for (const char* directory : {"/dev/mapper/.", "/dev/mapper/.."}) {
        data.devices[directory].openError = EISDIR;
    }
    Watched watched(data);
    watched.enumerate();
    EXPECT_EQ(watched.watch.statuses().size(), 3U);
    EXPECT_EQ(watched.watch.finding(), Finding::kNoDisk);
}

TEST(Finding, OneDiskThatAnswersIsEnough) {
    RecordedDevice closed = namedDisk("S1", 1);
    closed.openError = EACCES;
    Watched watched(hostOf({{"sda", closed}, {"sdb", namedDisk("S2", 2)}}));
    watched.enumerate();
    EXPECT_EQ(watched.watch.finding(), Finding::kDisks);
    EXPECT_EQ(textOf(watched.watch.finding()), "disks answered");
}

TEST(Finding, AnyOtherReasonThanRightsIsNoMatterOfRights) {
    RecordedDevice closed = namedDisk("S1", 1);
    closed.openError = EACCES;
    RecordedDevice gone = namedDisk("S2", 2);
    gone.openError = ENXIO;
    Watched watched(hostOf({{"sda", closed}, {"sdb", gone}}));
    watched.enumerate();
    EXPECT_EQ(watched.watch.finding(), Finding::kNoneOpened);
    EXPECT_EQ(textOf(watched.watch.finding()), "no device opened");
}

TEST(Finding, NamesAreThoseOfDocuments) {
    const Texts states = {"not-opened", "opened",  "no-answer",  "no-disk",   "no-address",
                          "answered",   "no-udid", "host-named", "identified"};
    for (std::size_t i = 0; i < states.size(); ++i) {
        EXPECT_EQ(nameOf(static_cast<DeviceState>(i)), states[i]);
    }
    const Texts findings = {"nothing-asked", "disks",   "nothing-answered", "no-right",
                            "none-opened",   "no-list", "no-disk"};
    for (std::size_t i = 0; i < findings.size(); ++i) {
        EXPECT_EQ(nameOf(static_cast<Finding>(i)), findings[i]);
    }
    EXPECT_EQ(textOf(Finding::kNothingAsked), "nothing was asked of the host");
    EXPECT_EQ(textOf(Finding::kNothingAnswered), "devices opened, and none answered as a disk");
}

TEST(StatusWatch, ReporterThatWasThereGoesOnHearingEverything) {
    struct Listener : udid::IdentityCollector {
        void told(udid::Fact fact, const std::string& text) override {
            IdentityCollector::told(fact, text);
            ++facts;
        }
        int facts = 0;
    };
    const DeviceHost host(hostOf({{"sda", namedDisk("S1", 1)}}));
    CUDIDFactory factory;
    test::RecordingReporter alone;
    {
        const udid::ReportScope listening(&alone);
        factory.enumerateDeviceMap(false, false, false, "", "");
    }
    test::RecordingReporter beside;
    {
        const udid::ReportScope listening(&beside);
        const udid::StatusWatch watch;
        factory.enumerateDeviceMap(false, false, false, "", "");
    }
    EXPECT_EQ(beside.lines, alone.lines);
    EXPECT_FALSE(alone.lines.empty());
    Listener identities;
    {
        const udid::ReportScope listening(&identities);
        const udid::StatusWatch watch;
        factory.enumerateDeviceMap(false, false, false, "", "");
    }
    ASSERT_NE(identities.of(kDisk), nullptr);
    EXPECT_EQ(identities.of(kDisk)->volumeId, "6000000a000000000000000000000001");
    EXPECT_GT(identities.facts, 0);
    EXPECT_EQ(udid::reporter(), nullptr);
}

TEST(StatusWatch, HostPutInPlaceAfterItIsNotSeen) {
    Watched watched(namedDisk("S1", 1));
    {
        RecordedDevice refused = namedDisk("S2", 2);
        refused.openError = EACCES;
        const DeviceHost later(hostOf({{"sdb", refused}}));
        EXPECT_TRUE(watched.enumerate().empty());
        EXPECT_FALSE(later.requests.empty());
        EXPECT_TRUE(watched.watch.statuses().empty());
        EXPECT_EQ(watched.watch.finding(), Finding::kNothingAsked);
    }
    watched.enumerate();
    EXPECT_EQ(watched.status().state, DeviceState::kIdentified);
}

TEST(StatusWatch, EveryThreadHasItsOwn) {
    std::vector<std::thread> threads;
    std::vector<Finding> findings(4, Finding::kNothingAsked);
    for (std::size_t i = 0; i < findings.size(); ++i) {
        threads.emplace_back([&finding = findings[i], i] {
            RecordedDevice disk = namedDisk("S1", 1);
            disk.openError = i % 2 == 0 ? EACCES : 0;
            for (int round = 0; round < 20; ++round) {
                Watched watched(disk);
                watched.enumerate();
                finding = watched.watch.finding();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(findings, (std::vector<Finding>{Finding::kNoRight, Finding::kDisks, Finding::kNoRight,
                                              Finding::kDisks}));
}

// One enumeration of a sample: its map, everything that was traced and everything that was done.
struct Enumerated {
    Texts lines;
    std::vector<DeviceStatus> statuses;
};

Enumerated enumerated(const std::string& file, bool rescan, bool isWatched) {
    recording::Journal journal;
    recording::RecordedHost host(recording::loadRecordedHost(file), journal);
    const host::Scope scope(host);
    const std::unique_ptr<udid::StatusWatch> watch(isWatched ? new udid::StatusWatch : nullptr);
    test::TraceCapture trace;
    CUDIDFactory factory;
    factory.registerTraceLog(trace.log());
    Enumerated run;
    for (const auto& [name, info] : factory.enumerateDeviceMap(rescan, false, false, "", "")) {
        run.lines.push_back(name + " " + std::to_string(info.dmpClaimLevel) + " " + info.uid);
    }
    for (const Texts& more : {trace.lines(), journal.lines(), journal.unanswered()}) {
        run.lines.insert(run.lines.end(), more.begin(), more.end());
    }
    EXPECT_EQ(host.openDescriptors(), 0U);
    if (watch != nullptr) {
        run.statuses = watch->statuses();
        for (const DeviceStatus& status : run.statuses) {
            EXPECT_EQ(status.isInMap, factory.deviceMap().count(status.deviceName) != 0)
                << file << " " << status.deviceName;
            EXPECT_EQ(textOf(status).find('\n'), std::string::npos);
        }
        // Every device of the map has a status.
        for (const auto& entry : factory.deviceMap()) {
            EXPECT_TRUE(watch->statusOf(entry.first).isInMap) << entry.first;
        }
    }
    return run;
}

TEST(StatusWatch, ChangesNothingOfWhatTheLibraryDoesOnAnySample) {
    std::size_t samples = 0;
    for (const auto& entry : std::filesystem::directory_iterator(SCSITOOL_SAMPLES)) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        ++samples;
        for (const bool rescan : {false, true}) {
            const Enumerated plain = enumerated(entry.path(), rescan, false);
            const Enumerated watched = enumerated(entry.path(), rescan, true);
            EXPECT_EQ(watched.lines, plain.lines) << entry.path();
            EXPECT_FALSE(watched.statuses.empty()) << entry.path();
        }
    }
    EXPECT_GT(samples, 10U);
}

// The account is the one that an explanation gives.
TEST(StatusWatch, TellsOfGeneratorsWhatAnExplanationTells) {
    recording::Journal journal;
    recording::RecordedHost host(
        recording::loadRecordedHost(std::string(SCSITOOL_SAMPLES) + "/families.json"), journal);
    const host::Scope scope(host);
    const udid::StatusWatch watch;
    CUDIDFactory factory;
    factory.enumerateDeviceMap(false, false, false, "", "");
    for (const auto& record : factory.records()) {
        const DeviceStatus status = watch.statusOf(record->m_deviceName);
        for (const udid::GeneratorReport& report : udid::explain(factory, *record).generators) {
            for (const udid::GeneratorAnswer& answer : status.generators) {
                if (answer.generator == report.name) {
                    EXPECT_EQ(answer.claimed, report.claimed) << record->m_deviceName;
                    EXPECT_EQ(answer.failure, report.failure) << record->m_deviceName;
                    EXPECT_EQ(answer.remarks, report.remarks) << record->m_deviceName;
                }
            }
        }
        EXPECT_FALSE(status.generators.empty()) << record->m_deviceName;
    }
}

}  // namespace
