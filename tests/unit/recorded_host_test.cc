#include "recording/replay/recorded_host.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "recording/replay/recorded_absence.h"
#include "recording/replay/semaphores.h"

namespace {

using host::AddressWords;
using host::CommandBuffer;
using host::OpenMode;
using host::SgIoRequest;
using recording::Bytes;
using recording::Journal;
using recording::RecordedDevice;
using recording::RecordedHost;
using recording::RecordedHostData;
using recording::RecordedPage;

constexpr std::uint8_t kPoison = 0xA5;

/// INQUIRY as it is sent: poison wherever nothing is said.
CommandBuffer inquiryCommand(bool evpd, std::uint8_t page, std::uint8_t allocationLength = 252,
                             std::uint32_t outputLength = 480) {
    CommandBuffer buffer;
    buffer.fill(kPoison);
    const std::uint32_t inputLength = 0;
    std::memcpy(buffer.data(), &inputLength, 4);
    std::memcpy(buffer.data() + 4, &outputLength, 4);
    const std::uint8_t block[6] = {
        0x12, static_cast<std::uint8_t>(evpd ? 1 : 0), page, 0, allocationLength, 0};
    std::copy(std::begin(block), std::end(block), buffer.begin() + 8);
    return buffer;
}

Bytes responseOf(const CommandBuffer& buffer, std::size_t count) {
    return Bytes(buffer.begin() + 8, buffer.begin() + 8 + static_cast<std::ptrdiff_t>(count));
}

Bytes numbered(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t index = 0; index < count; ++index) {
        bytes[index] = static_cast<std::uint8_t>(index + 1);
    }
    return bytes;
}

RecordedDevice diskWithPages() {
    RecordedDevice device;
    device.standardInquiry = Bytes{0x00, 0x00, 0x06, 0x02, 0x1F};
    device.pages[0x00] = Bytes{0x00, 0x00, 0x00, 0x04, 0x00, 0x80, 0x83, 0xC0};
    device.pages[0x80] = Bytes{0x00, 0x80, 0x00, 0x02, 'S', '1'};
    return device;
}

class RecordedHostTest : public testing::Test {
  protected:
    RecordedHost& host() {
        if (!m_host) {
            m_host = std::make_unique<RecordedHost>(data, journal);
        }
        return *m_host;
    }
    int open(const std::string& path) {
        return host().openDevice(path, OpenMode::kReadWriteNonBlocking);
    }

    RecordedHostData data;
    Journal journal;

  private:
    std::unique_ptr<RecordedHost> m_host;
};

using Lines = std::vector<std::string>;

// Files.

TEST_F(RecordedHostTest, ReadsAFile) {
    data.files["/proc/partitions"] = "major minor\n";
    const host::ReadResult read = host().readFile("/proc/partitions");
    EXPECT_EQ(read.error(), 0);
    EXPECT_EQ(read.content, "major minor\n");
}

TEST_F(RecordedHostTest, GivesTheErrorOfAFileThatCannotBeRead) {
    data.files["/proc/scsi/scsi"].error = EIO;
    const host::ReadResult read = host().readFile("/proc/scsi/scsi");
    EXPECT_EQ(read.openError, EIO);
    EXPECT_EQ(read.readError, 0);
    EXPECT_EQ(read.content, "");
    EXPECT_TRUE(host().pathExists("/proc/scsi/scsi"));
}

TEST_F(RecordedHostTest, GivesTheContentInFrontOfAReadError) {
    data.files["/proc/scsi/scsi"] = "Attached devices:\nHost: sc";
    data.files["/proc/scsi/scsi"].readError = ENODEV;
    const host::ReadResult read = host().readFile("/proc/scsi/scsi");
    EXPECT_EQ(read.openError, 0);
    EXPECT_EQ(read.readError, ENODEV);
    EXPECT_EQ(read.content, "Attached devices:\nHost: sc");
    EXPECT_EQ(host().appendFile("/proc/scsi/scsi", "x", {}).openError, 0);
}

TEST_F(RecordedHostTest, CannotReadAFileThatIsNotListedAndTakesThatForAnAnswer) {
    EXPECT_EQ(host().readFile("/etc/x").openError, ENOENT);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, CannotReadADirectoryOrADeviceAsAFile) {
    data.directories["/dev/mapper/"] = {"."};
    data.devices["/dev/sda"] = diskWithPages();
    EXPECT_EQ(host().readFile("/dev/mapper/").openError, EISDIR);
    EXPECT_EQ(host().readFile("/dev/sda").openError, EINVAL);
    EXPECT_EQ(host().appendFile("/dev/sda", "x", {}).openError, EINVAL);
    EXPECT_TRUE(journal.lines().empty());
}

TEST_F(RecordedHostTest, JournalsAnAppendAndKeepsTheContentThatLaterReadsSee) {
    data.files["/proc/scsi/scsi"] = "Attached devices:\n";
    const host::AppendResult result = host().appendFile("/proc/scsi/scsi", "scsi\n", {});
    EXPECT_EQ(result.openError, 0);
    EXPECT_EQ(result.writeError, 0);
    EXPECT_EQ(journal.lines(),
              Lines{R"({"effect":"append","path":"/proc/scsi/scsi","data":"scsi\n"})"});
    EXPECT_EQ(host().readFile("/proc/scsi/scsi").content, "Attached devices:\n");
}

TEST_F(RecordedHostTest, CannotAppendToAFileThatIsNotListed) {
    EXPECT_EQ(host().appendFile("/proc/scsi/scsi", "x", {}).openError, ENOENT);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, CannotAppendToAFileWithAnErrorNorToADirectory) {
    data.files["/proc/scsi/scsi"].error = EACCES;
    data.directories["/proc/"] = {};
    EXPECT_EQ(host().appendFile("/proc/scsi/scsi", "x", {}).openError, EACCES);
    EXPECT_EQ(host().appendFile("/proc/", "x", {}).openError, EISDIR);
    EXPECT_EQ(journal.lines(), Lines{});
}

// Directories and paths.

TEST_F(RecordedHostTest, ListsADirectoryInItsOrderWithOrWithoutTheLastSlash) {
    data.directories["/dev/mapper/"] = {".", "..", "control", "mpathb", "mpatha"};
    for (const char* path : {"/dev/mapper/", "/dev/mapper"}) {
        const host::DirectoryListing listing = host().listDirectory(path);
        EXPECT_EQ(listing.openError, 0) << path;
        EXPECT_EQ(listing.readError, 0) << path;
        EXPECT_EQ(listing.names, (Lines{".", "..", "control", "mpathb", "mpatha"})) << path;
    }
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, TakesADirectoryThatNothingLiesInForNotThere) {
    data.devices["/dev/sda"] = diskWithPages();
    EXPECT_EQ(host().listDirectory("/dev/mapper/").openError, ENOENT);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, JournalsAListingOfADirectoryThatAnEntryLiesInAsUnanswered) {
    data.devices["/dev/mapper/mpatha"] = diskWithPages();
    EXPECT_EQ(host().listDirectory("/dev/mapper/").openError, ENOENT);
    EXPECT_EQ(host().listDirectory("/dev").openError, ENOENT);
    EXPECT_EQ(journal.unanswered(), (Lines{"directory /dev/mapper/", "directory /dev"}));
}

TEST_F(RecordedHostTest, SeesFromFilesAndDirectoriesTooThatADirectoryIsMissing) {
    data.files["/proc/scsi/scsi"] = "";
    data.directories["/sys/class/fc_host/"] = {};
    for (const char* path : {"/proc/scsi/", "/proc/", "/sys/class/", "/sys/"}) {
        EXPECT_EQ(host().listDirectory(path).openError, ENOENT) << path;
    }
    EXPECT_EQ(journal.unanswered(), (Lines{"directory /proc/scsi/", "directory /proc/",
                                           "directory /sys/class/", "directory /sys/"}));
}

TEST_F(RecordedHostTest, CannotListAFile) {
    data.files["/etc/fstab"] = "";
    EXPECT_EQ(host().listDirectory("/etc/fstab").openError, ENOTDIR);
}

TEST_F(RecordedHostTest, FindsFilesDirectoriesAndDevices) {
    data.files["/sbin/powermt"] = "";
    data.files["/proc/kcore"].error = EACCES;
    data.directories["/dev/mapper/"] = {};
    data.devices["/dev/sda"] = diskWithPages();
    data.devices["/dev/sdb"].openError = ENXIO;
    for (const char* path :
         {"/sbin/powermt", "/proc/kcore", "/dev/mapper/", "/dev/mapper", "/dev/sda", "/dev/sdb"}) {
        EXPECT_TRUE(host().pathExists(path)) << path;
    }
}

TEST_F(RecordedHostTest, FindsOnlyWhatIsListedItself) {
    data.files["/sbin/powermt"] = "";
    for (const char* path : {"/sbin", "/sbin/", "/", "", "/sbin/powermt/", "/sbin/power"}) {
        EXPECT_FALSE(host().pathExists(path)) << path;
        EXPECT_FALSE(host().isDirectory(path)) << path;
    }
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, TellsDirectoriesFromFilesAndDevices) {
    data.files["/a"] = "";
    data.devices["/b"] = diskWithPages();
    data.directories["/c/"] = {};
    data.directories["/"] = {"a", "b", "c"};
    EXPECT_FALSE(host().isDirectory("/a"));
    EXPECT_FALSE(host().isDirectory("/b"));
    EXPECT_TRUE(host().isDirectory("/c"));
    EXPECT_TRUE(host().isDirectory("/c/"));
    EXPECT_TRUE(host().isDirectory("/"));
}

// Links.

TEST_F(RecordedHostTest, ReadsALinkAndNothingElse) {
    data.files["/a"] = "";
    data.links["/b"] = "a";
    std::string target = "before";
    EXPECT_EQ(host().readLink("/a", target), -EINVAL);
    EXPECT_EQ(host().readLink("/c", target), -ENOENT);
    EXPECT_EQ(host().readLink("/b/", target), -ENOTDIR);
    EXPECT_EQ(target, "before");
    EXPECT_EQ(host().readLink("/b", target), 0);
    EXPECT_EQ(target, "a");
}

TEST_F(RecordedHostTest, FollowsLinksToADeviceUnderEveryName) {
    data.devices["/dev/sda"] = diskWithPages();
    data.links["/dev/disk/by-id/wwn-1"] = "../../sda";
    data.links["/dev/disk/by-path/x"] = "/dev/disk/by-id/wwn-1";
    for (const char* path : {"/dev/disk/by-id/wwn-1", "/dev/disk/by-path/x", "/dev//sda",
                             "/dev/./sda", "/dev/disk/../sda", "/../dev/sda"}) {
        const int descriptor = open(path);
        EXPECT_GE(descriptor, 0) << path;
        EXPECT_EQ(host().closeDevice(descriptor), 0) << path;
    }
}

TEST_F(RecordedHostTest, FollowsALinkInTheMiddleOfAPath) {
    data.links["/sys/block/sdb"] = "../devices/pci0/host2/target2:0:0/2:0:0:1/block/sdb";
    data.directories["/sys/devices/pci0/host2/target2:0:0/2:0:0:1/block/sdb/"] = {".", "..",
                                                                                  "device", "size"};
    data.links["/sys/devices/pci0/host2/target2:0:0/2:0:0:1/block/sdb/device"] = "../../../2:0:0:1";
    data.files["/sys/devices/pci0/host2/target2:0:0/2:0:0:1/state"] = "running\n";
    std::string text;
    EXPECT_EQ(host().readFile("/sys/block/sdb/device/state").content, "running\n");
    EXPECT_EQ(host().listDirectory("/sys/block/sdb/").names, (Lines{".", "..", "device", "size"}));
    EXPECT_TRUE(host().isDirectory("/sys/block/sdb"));
    EXPECT_EQ(host().readLink("/sys/block/sdb/device", text), 0);
    EXPECT_EQ(text, "../../../2:0:0:1");
    EXPECT_EQ(host().appendFile("/sys/block/sdb/device/state", "offline\n", {}).openError, 0);
    EXPECT_EQ(
        journal.lines(),
        Lines{R"({"effect":"append","path":"/sys/block/sdb/device/state","data":"offline\n"})"});
}

TEST_F(RecordedHostTest, TakesWhatIsRecordedUnderALinksOwnNameFirst) {
    data.devices["/dev/dm-0"].sizeBytes = 1;
    data.devices["/dev/mapper/mpatha"].sizeBytes = 2;
    data.links["/dev/mapper/mpatha"] = "../dm-0";
    std::uint64_t bytes = 0;
    EXPECT_EQ(host().deviceSize(open("/dev/mapper/mpatha"), bytes), 0);
    EXPECT_EQ(bytes, 2U);
    std::string target;
    EXPECT_EQ(host().readLink("/dev/mapper/mpatha", target), 0);
    EXPECT_EQ(target, "../dm-0");
}

TEST_F(RecordedHostTest, FindsNothingBehindALinkToNowhere) {
    data.links["/a"] = "nowhere";
    data.files["/plain"] = "";
    data.links["/through"] = "plain/x";
    data.links["/up"] = "nowhere/../plain";
    EXPECT_FALSE(host().pathExists("/a"));
    EXPECT_EQ(host().readFile("/a").openError, ENOENT);
    EXPECT_EQ(open("/a"), -ENOENT);
    EXPECT_EQ(host().writeAccess("/a"), -ENOENT);
    EXPECT_EQ(host().readFile("/through").openError, ENOTDIR);
    EXPECT_EQ(host().readFile("/plain/").openError, ENOTDIR);
    EXPECT_EQ(host().readFile("/up").openError, ENOENT);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, FollowsFortyLinksAndNoMore) {
    data.files["/l0"] = "end";
    for (int link = 1; link <= 41; ++link) {
        data.links["/l" + std::to_string(link)] = "l" + std::to_string(link - 1);
    }
    data.links["/itself"] = "itself";
    std::string text;
    EXPECT_EQ(host().readFile("/l40").content, "end");
    EXPECT_EQ(host().readFile("/l41").openError, ELOOP);
    EXPECT_EQ(open("/itself"), -ELOOP);
    EXPECT_FALSE(host().pathExists("/itself"));
    EXPECT_EQ(host().appendFile("/itself", "x", {}).openError, ELOOP);
    EXPECT_EQ(host().listDirectory("/itself").openError, ELOOP);
    EXPECT_EQ(host().readLink("/itself", text), 0);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, JournalsAListingBehindALinkAsUnansweredWhenSomethingLiesThere) {
    data.links["/sys/block/sda"] = "../devices/sda";
    data.files["/sys/devices/sda/size"] = "8\n";
    EXPECT_EQ(host().listDirectory("/sys/block/sda/").openError, ENOENT);
    EXPECT_EQ(host().listDirectory("/sys/block/").openError, ENOENT);
    EXPECT_EQ(journal.unanswered(), (Lines{"directory /sys/block/sda/", "directory /sys/block/"}));
}

// Rights and numbers.

TEST_F(RecordedHostTest, TakesWhatIsRecordedForWritableUnlessItsErrorSaysOtherwise) {
    data.files["/plain"] = "";
    data.files["/denied"].error = EACCES;
    data.files["/broken"].error = EIO;
    data.directories["/dir/"] = {};
    data.devices["/dev/sda"] = diskWithPages();
    data.devices["/dev/gone"].openError = ENXIO;
    data.devices["/dev/readonly"].openError = EROFS;
    data.devices["/dev/denied"].openError = EACCES;
    data.devices["/dev/forbidden"].openError = EPERM;
    data.links["/link"] = "denied";
    const std::vector<std::pair<const char*, int>> answers = {{"/plain", 0},
                                                              {"/denied", -EACCES},
                                                              {"/broken", -EIO},
                                                              {"/dir", 0},
                                                              {"/dev/sda", 0},
                                                              {"/dev/gone", 0},
                                                              {"/dev/denied", -EACCES},
                                                              {"/dev/readonly", -EROFS},
                                                              {"/dev/forbidden", -EPERM},
                                                              {"/link", -EACCES},
                                                              {"/missing", -ENOENT}};
    for (const auto& [path, answer] : answers) {
        EXPECT_EQ(host().writeAccess(path), answer) << path;
    }
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, TellsTheNumberOfANodeByEveryNameOfIt) {
    const host::DeviceNumber disk = {host::DeviceNumber::Kind::kBlock, 8, 16};
    data.devices["/dev/sdb"].number = disk;
    data.devices["/dev/sdb"].openError = ENXIO;
    data.links["/dev/root"] = "sdb";
    data.devices["/dev/old"] = {};
    for (const char* path : {"/dev/sdb", "/dev/root"}) {
        host::DeviceNumber number;
        EXPECT_EQ(host().deviceNumber(path, number), 0) << path;
        EXPECT_EQ(number, disk) << path;
    }
    host::DeviceNumber number = disk;
    EXPECT_EQ(host().deviceNumber("/dev/missing", number), -ENOENT);
    EXPECT_EQ(number, disk);
    EXPECT_EQ(host().deviceNumber("/dev/old", number), 0);
    EXPECT_EQ(number, host::DeviceNumber());
}

TEST_F(RecordedHostTest, RefusesAnExclusiveOpenOfADeviceInUseAndNoOther) {
    data.devices["/dev/sda"].inUse = true;
    data.devices["/dev/sdb"].inUse = true;
    data.devices["/dev/sdb"].openError = ENXIO;
    EXPECT_EQ(host().openDevice("/dev/sda", OpenMode::kReadOnlyExclusive), -EBUSY);
    EXPECT_EQ(host().openDevice("/dev/sdb", OpenMode::kReadOnlyExclusive), -EBUSY);
    EXPECT_EQ(host().openDescriptors(), 0U);
    for (const OpenMode mode :
         {OpenMode::kReadWriteNonBlocking, OpenMode::kReadOnly, OpenMode::kReadOnlyNonBlocking}) {
        EXPECT_GE(host().openDevice("/dev/sda", mode), 0);
    }
}

TEST_F(RecordedHostTest, HoldsABlockDeviceThatIsOpenExclusivelyUnderEveryName) {
    const host::DeviceNumber number = {host::DeviceNumber::Kind::kBlock, 8, 0};
    data.devices["/dev/sda"].number = number;
    data.devices["/dev/same"].number = number;
    data.devices["/dev/sg0"].number = {host::DeviceNumber::Kind::kCharacter, 8, 0};
    data.devices["/dev/sdb"].number = {host::DeviceNumber::Kind::kBlock, 8, 16};
    EXPECT_GE(open("/dev/same"), 0);
    const int held = host().openDevice("/dev/sda", OpenMode::kReadOnlyExclusive);
    EXPECT_GE(held, 0);
    EXPECT_EQ(host().openDevice("/dev/same", OpenMode::kReadOnlyExclusive), -EBUSY);
    EXPECT_GE(open("/dev/same"), 0);
    EXPECT_GE(host().openDevice("/dev/sdb", OpenMode::kReadOnlyExclusive), 0);
    EXPECT_GE(host().openDevice("/dev/sg0", OpenMode::kReadOnlyExclusive), 0);
    EXPECT_GE(host().openDevice("/dev/sg0", OpenMode::kReadOnlyExclusive), 0);
    EXPECT_EQ(host().closeDevice(held), 0);
    EXPECT_GE(host().openDevice("/dev/same", OpenMode::kReadOnlyExclusive), 0);
}

// Devices.

TEST_F(RecordedHostTest, OpensAListedDeviceWithADescriptorThatNoKernelGives) {
    data.devices["/dev/sda"] = diskWithPages();
    const int first = open("/dev/sda");
    const int second = host().openDevice("/dev/sda", OpenMode::kReadOnly);
    EXPECT_GE(first, 0x40000000);
    EXPECT_GE(second, 0x40000000);
    EXPECT_NE(first, second);
    EXPECT_EQ(host().openDescriptors(), 2U);
    EXPECT_EQ(host().closeDevice(first), 0);
    EXPECT_EQ(host().closeDevice(second), 0);
    EXPECT_EQ(host().openDescriptors(), 0U);
}

TEST_F(RecordedHostTest, RefusesToOpenADeviceThatIsNotListed) {
    data.files["/etc/fstab"] = "";
    EXPECT_EQ(open("/dev/sda"), -ENOENT);
    EXPECT_EQ(open("/etc/fstab"), -ENOENT);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, GivesTheErrnoOfADeviceThatDoesNotOpen) {
    data.devices["/dev/sdb"].openError = ENXIO;
    EXPECT_EQ(open("/dev/sdb"), -ENXIO);
    EXPECT_EQ(host().openDescriptors(), 0U);
}

TEST_F(RecordedHostTest, KnowsOnlyDescriptorsThatAreOpen) {
    data.devices["/dev/sda"] = diskWithPages();
    const int descriptor = open("/dev/sda");
    EXPECT_EQ(host().closeDevice(descriptor), 0);
    for (const int bad : {descriptor, -1, 0, descriptor + 1}) {
        CommandBuffer buffer = inquiryCommand(false, 0);
        AddressWords words;
        SgIoRequest request;
        std::uint64_t bytes = 0;
        EXPECT_EQ(host().closeDevice(bad), -EBADF) << bad;
        EXPECT_EQ(host().sendCommand(bad, buffer), -EBADF) << bad;
        EXPECT_EQ(host().addressWords(bad, words), -EBADF) << bad;
        EXPECT_EQ(host().sgIo(bad, request), -EBADF) << bad;
        EXPECT_EQ(host().deviceSize(bad, bytes), -EBADF) << bad;
    }
}

TEST_F(RecordedHostTest, AnswersTheStandardInquiryWhenEvpdIsClear) {
    data.devices["/dev/sda"] = diskWithPages();
    CommandBuffer buffer = inquiryCommand(false, 0);
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), 0);
    EXPECT_EQ(responseOf(buffer, 6), (Bytes{0x00, 0x00, 0x06, 0x02, 0x1F, 0x00}));
}

TEST_F(RecordedHostTest, AnswersThePageOfThePageCodeWhenEvpdIsSet) {
    data.devices["/dev/sda"] = diskWithPages();
    const int descriptor = open("/dev/sda");
    CommandBuffer list = inquiryCommand(true, 0x00);
    EXPECT_EQ(host().sendCommand(descriptor, list), 0);
    EXPECT_EQ(responseOf(list, 8), (Bytes{0x00, 0x00, 0x00, 0x04, 0x00, 0x80, 0x83, 0xC0}));
    CommandBuffer serial = inquiryCommand(true, 0x80);
    EXPECT_EQ(host().sendCommand(descriptor, serial), 0);
    EXPECT_EQ(responseOf(serial, 6), (Bytes{0x00, 0x80, 0x00, 0x02, 'S', '1'}));
}

TEST_F(RecordedHostTest, LooksAtTheEvpdBitAloneAndNotAtTheLunBitsBesideIt) {
    data.devices["/dev/sda"] = diskWithPages();
    const int descriptor = open("/dev/sda");
    CommandBuffer standard = inquiryCommand(false, 0);
    standard[9] = 0x60;
    EXPECT_EQ(host().sendCommand(descriptor, standard), 0);
    EXPECT_EQ(responseOf(standard, 5), (Bytes{0x00, 0x00, 0x06, 0x02, 0x1F}));
    CommandBuffer serial = inquiryCommand(true, 0x80);
    serial[9] = 0x61;
    EXPECT_EQ(host().sendCommand(descriptor, serial), 0);
    EXPECT_EQ(responseOf(serial, 2), (Bytes{0x00, 0x80}));
}

TEST_F(RecordedHostTest, RefusesAPageCodeWithoutEvpd) {
    data.devices["/dev/sda"] = diskWithPages();
    CommandBuffer buffer = inquiryCommand(false, 0x80);
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), -EIO);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, HandsOverAtMostTheAllocationLength) {
    for (const std::uint8_t allocated : Bytes{0, 1, 99, 100, 101, 252}) {
        RecordedHostData one;
        one.devices["/dev/sda"].standardInquiry = numbered(100);
        RecordedHost scanned(one, journal);
        CommandBuffer buffer = inquiryCommand(false, 0, allocated);
        EXPECT_EQ(scanned.sendCommand(scanned.openDevice("/dev/sda", OpenMode::kReadOnly), buffer),
                  0);
        Bytes expected = numbered(std::min<std::size_t>(allocated, 100));
        expected.resize(480);
        EXPECT_EQ(responseOf(buffer, 480), expected) << "allocation length " << int{allocated};
    }
}

TEST_F(RecordedHostTest, ZeroesTheRestOfTheOutputLengthAndTouchesNothingElse) {
    data.devices["/dev/sda"].standardInquiry = numbered(40);
    CommandBuffer buffer = inquiryCommand(false, 0);
    const CommandBuffer before = buffer;
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), 0);
    EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + 8, before.begin()));
    Bytes expected = numbered(40);
    expected.resize(480);
    EXPECT_EQ(responseOf(buffer, 480), expected);
    EXPECT_EQ(Bytes(buffer.begin() + 488, buffer.end()), Bytes(24, kPoison));
}

TEST_F(RecordedHostTest, HandsOverAtMostTheOutputLength) {
    data.devices["/dev/sda"].standardInquiry = numbered(40);
    CommandBuffer buffer = inquiryCommand(false, 0, 252, 16);
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), 0);
    EXPECT_EQ(responseOf(buffer, 16), numbered(16));
    EXPECT_EQ(buffer[24], kPoison);
}

TEST_F(RecordedHostTest, RefusesAnOutputLengthThatTheBufferCannotHold) {
    data.devices["/dev/sda"].standardInquiry = numbered(40);
    const int descriptor = open("/dev/sda");
    CommandBuffer fits = inquiryCommand(false, 0, 252, 504);
    EXPECT_EQ(host().sendCommand(descriptor, fits), 0);
    EXPECT_EQ(fits[511], 0);
    for (const std::uint32_t length : {505U, 0xFFFFFFFFU}) {
        CommandBuffer tooLong = inquiryCommand(false, 0, 252, length);
        const CommandBuffer before = tooLong;
        EXPECT_EQ(host().sendCommand(descriptor, tooLong), -EINVAL) << length;
        EXPECT_EQ(tooLong, before) << length;
    }
}

TEST_F(RecordedHostTest, KnowsNoCommandButInquiry) {
    data.devices["/dev/sda"] = diskWithPages();
    CommandBuffer buffer = inquiryCommand(false, 0);
    buffer[8] = 0x25;
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), -ENOTTY);
}

TEST_F(RecordedHostTest, FailsForAPageThatIsNotListedAndTakesThatForAnAnswer) {
    data.devices["/dev/sda"] = diskWithPages();
    CommandBuffer buffer = inquiryCommand(true, 0xC8);
    const CommandBuffer before = buffer;
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), -EIO);
    EXPECT_EQ(buffer, before);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, JournalsAPageThatTheDevicesOwnListNamesAsUnanswered) {
    data.devices["/dev/sda"] = diskWithPages();
    CommandBuffer buffer = inquiryCommand(true, 0xC0);
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), -EIO);
    EXPECT_EQ(journal.unanswered(), Lines{"page c0 of /dev/sda"});
}

TEST_F(RecordedHostTest, ReadsNoPageListBeyondItsEndOrItsLength) {
    data.devices["/dev/long"].pages[0x00] = Bytes{0x00, 0x00, 0xFF, 0xFF, 0x83};
    data.devices["/dev/short"].pages[0x00] = Bytes{0x00, 0x00, 0x00, 0x01, 0x00, 0x83};
    data.devices["/dev/cut"].pages[0x00] = Bytes{0x00, 0x00, 0x00};
    data.devices["/dev/refused"].pages[0x00].error = EIO;
    for (const char* path : {"/dev/long", "/dev/short", "/dev/cut", "/dev/refused"}) {
        CommandBuffer buffer = inquiryCommand(true, 0x83);
        EXPECT_EQ(host().sendCommand(open(path), buffer), -EIO) << path;
    }
    EXPECT_EQ(journal.unanswered(), Lines{"page 83 of /dev/long"});
}

TEST_F(RecordedHostTest, JournalsAMissingStandardInquiryOfADeviceWithPages) {
    data.devices["/dev/sda"] = diskWithPages();
    data.devices["/dev/sda"].standardInquiry.reset();
    CommandBuffer buffer = inquiryCommand(false, 0);
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), -EIO);
    EXPECT_EQ(journal.unanswered(), Lines{"page std of /dev/sda"});
}

TEST_F(RecordedHostTest, TakesADeviceWithoutAnyPageForANodeThatTakesNoScsiCommand) {
    data.devices["/dev/mapper/control"] = {};
    const int descriptor = open("/dev/mapper/control");
    CommandBuffer standard = inquiryCommand(false, 0);
    EXPECT_EQ(host().sendCommand(descriptor, standard), -ENOTTY);
    CommandBuffer list = inquiryCommand(true, 0);
    EXPECT_EQ(host().sendCommand(descriptor, list), -ENOTTY);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, GivesTheErrorOfAPageThatTheDeviceRefused) {
    data.devices["/dev/sda"] = diskWithPages();
    data.devices["/dev/sda"].pages[0xC0].error = ETIMEDOUT;
    data.devices["/dev/sdb"].standardInquiry = RecordedPage();
    data.devices["/dev/sdb"].standardInquiry->error = ENXIO;
    CommandBuffer page = inquiryCommand(true, 0xC0);
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), page), -ETIMEDOUT);
    CommandBuffer standard = inquiryCommand(false, 0);
    EXPECT_EQ(host().sendCommand(open("/dev/sdb"), standard), -ENXIO);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, TellsTheAddressWord) {
    data.devices["/dev/sda"].idLun = 0x02010005;
    AddressWords words = {1, 2};
    EXPECT_EQ(host().addressWords(open("/dev/sda"), words), 0);
    EXPECT_EQ(words.device, 0x02010005U);
    EXPECT_EQ(words.hostUnique, 0U);
}

TEST_F(RecordedHostTest, GivesTheErrorOfAnAddressRequestThatFailed) {
    data.devices["/dev/sda"].idLunError = EINVAL;
    AddressWords words = {1, 2};
    EXPECT_EQ(host().addressWords(open("/dev/sda"), words), -EINVAL);
    EXPECT_EQ(words.device, 1U);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, TellsTheSize) {
    data.devices["/dev/sda"].sizeBytes = std::uint64_t{5} << 40;
    std::uint64_t bytes = 0;
    EXPECT_EQ(host().deviceSize(open("/dev/sda"), bytes), 0);
    EXPECT_EQ(bytes, std::uint64_t{5} << 40);
}

TEST_F(RecordedHostTest, AnswersAnSgIoRequestByItsCommandBlock) {
    const Bytes block = {0xC0, 0x00, 0x00, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0x00, 0x00};
    data.devices["/dev/sda"].sgIo[block] = {1, 2, 3};
    SgIoRequest request;
    request.cdb = block;
    request.data.assign(5, kPoison);
    request.status = 2;
    const int descriptor = open("/dev/sda");
    EXPECT_EQ(host().sgIo(descriptor, request), 0);
    EXPECT_EQ(request.data, (Bytes{1, 2, 3, 0, 0}));
    EXPECT_EQ(request.status, 0);
    request.data.assign(2, kPoison);
    EXPECT_EQ(host().sgIo(descriptor, request), 0);
    EXPECT_EQ(request.data, (Bytes{1, 2}));
}

// The order of the kernel: rights, who claims the device, the driver.
TEST_F(RecordedHostTest, RefusesAClaimBeforeTheDriverIsAsked) {
    data.devices["/dev/sda"].inUse = true;
    data.devices["/dev/sda"].openError = ENXIO;
    data.devices["/dev/sdb"].inUse = true;
    data.devices["/dev/sdb"].openError = EACCES;
    EXPECT_EQ(host().openDevice("/dev/sda", OpenMode::kReadOnlyExclusive), -EBUSY);
    EXPECT_EQ(host().openDevice("/dev/sda", OpenMode::kReadOnly), -ENXIO);
    EXPECT_EQ(host().openDevice("/dev/sdb", OpenMode::kReadOnlyExclusive), -EACCES);
}

TEST_F(RecordedHostTest, EndsAnSgIoRequestAsItIsRecorded) {
    recording::RecordedPage& answer = data.devices["/dev/sda"].sgIo[Bytes(6, 0)];
    answer.bytes = {1};
    answer.status = 2;
    answer.sense = {0x70, 0, 5, 0x25};
    answer.hostStatus = 1;
    data.devices["/dev/sda"].sgIo[{0xC0}].error = EBUSY;
    SgIoRequest request;
    request.cdb.assign(6, 0);
    request.data.assign(2, kPoison);
    request.sense.assign(3, kPoison);
    const int descriptor = open("/dev/sda");
    EXPECT_EQ(host().sgIo(descriptor, request), 0);
    EXPECT_EQ(request.status, 2);
    EXPECT_EQ(request.hostStatus, 1);
    EXPECT_EQ(request.data, (Bytes{1, 0}));
    EXPECT_EQ(request.sense, (Bytes{0x70, 0, 5}));
    request.cdb = {0xC0};
    EXPECT_EQ(host().sgIo(descriptor, request), -EBUSY);
}

TEST_F(RecordedHostTest, LeavesSenseDataInPlaceOfAResponse) {
    data.devices["/dev/sda"] = diskWithPages();
    recording::RecordedPage& page = data.devices["/dev/sda"].pages[0x83];
    page.bytes = {9};
    page.status = 2;
    page.sense.assign(20, 0x77);
    CommandBuffer buffer = inquiryCommand(true, 0x83);
    EXPECT_EQ(host().sendCommand(open("/dev/sda"), buffer), 2);
    Bytes expected(16, 0x77);
    expected.resize(480);
    EXPECT_EQ(responseOf(buffer, 480), expected);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, HandsZerosOverForACommandThatDidNotReachTheDisk) {
    data.devices["/dev/sda"].standardInquiry.emplace().hostStatus = 1;
    CommandBuffer buffer = inquiryCommand(false, 0);
    const int descriptor = open("/dev/sda");
    EXPECT_EQ(host().sendCommand(descriptor, buffer), 0);
    EXPECT_EQ(responseOf(buffer, 480), Bytes(480, 0));
    SgIoRequest request;
    request.cdb = {0x12, 0, 0, 0, 36, 0};
    EXPECT_EQ(host().sgIo(descriptor, request), 0);
    EXPECT_EQ(request.hostStatus, 1);
}

TEST_F(RecordedHostTest, AnswersInquiryThroughSgIoFromItsPages) {
    data.devices["/dev/sda"].pages[0x80] = Bytes{0, 0x80, 0, 4, 'A', 'B', 'C', 'D'};
    data.devices["/dev/sda"].pages[0x83].error = ETIMEDOUT;
    SgIoRequest request;
    request.cdb = {0x12, 1, 0x80, 0, 6, 0};
    request.data.assign(8, kPoison);
    const int descriptor = open("/dev/sda");
    EXPECT_EQ(host().sgIo(descriptor, request), 0);
    EXPECT_EQ(request.data, (Bytes{0, 0x80, 0, 4, 'A', 'B', 0, 0}));
    request.cdb[2] = 0x83;
    EXPECT_EQ(host().sgIo(descriptor, request), -ETIMEDOUT);
    request.cdb[2] = 0xC0;
    EXPECT_EQ(host().sgIo(descriptor, request), -ENOTTY);
    // A page code without EVPD asks for no page.
    request.cdb = {0x12, 0, 0x80, 0, 6, 0};
    EXPECT_EQ(host().sgIo(descriptor, request), -ENOTTY);
}

TEST_F(RecordedHostTest, FailsWithEnottyForWhatADeviceHasNoEntryFor) {
    data.devices["/dev/sda"] = diskWithPages();
    const int descriptor = open("/dev/sda");
    AddressWords words;
    SgIoRequest request;
    request.cdb = {0xC0};
    std::uint64_t bytes = 7;
    EXPECT_EQ(host().addressWords(descriptor, words), -ENOTTY);
    EXPECT_EQ(host().sgIo(descriptor, request), -ENOTTY);
    EXPECT_EQ(host().deviceSize(descriptor, bytes), -ENOTTY);
    EXPECT_EQ(bytes, 7U);
    EXPECT_EQ(journal.lines(), Lines{});
}

// Commands and other effects.

TEST_F(RecordedHostTest, AnswersACommandByItsExactText) {
    data.commands = {{"/sbin/multipath -v0 ", {"error"}, 1, 0, false}};
    const host::CommandResult found = host().runCommand("/sbin/multipath -v0 ", 600);
    EXPECT_EQ(found.lines, Lines{"error"});
    EXPECT_EQ(found.waitStatus, 1 << 8);
    EXPECT_FALSE(found.timedOut);
    const host::CommandResult missing = host().runCommand("/sbin/multipath -v0", 30);
    EXPECT_EQ(missing.lines, Lines{});
    EXPECT_EQ(missing.waitStatus, 127 << 8);
    EXPECT_FALSE(missing.timedOut);
    EXPECT_EQ(journal.lines(),
              (Lines{R"({"effect":"command","command":"/sbin/multipath -v0 ","timeout":600})",
                     R"({"effect":"command","command":"/sbin/multipath -v0","timeout":30})",
                     R"({"effect":"unanswered","what":"command /sbin/multipath -v0"})"}));
}

TEST_F(RecordedHostTest, JournalsCommandsThatOnlyReadToo) {
    data.commands = {{"/bin/ls /sys/class/fc_host/", {"host5"}, 0, 0, false}};
    EXPECT_EQ(host().runCommand("/bin/ls /sys/class/fc_host/", 600).lines, Lines{"host5"});
    EXPECT_EQ(
        journal.lines(),
        Lines{R"({"effect":"command","command":"/bin/ls /sys/class/fc_host/","timeout":600})"});
}

TEST_F(RecordedHostTest, AnswersACommandThatIsListedTwiceInOrderAndTheLastForGood) {
    data.commands = {
        {"a", {"one"}, 0, 0, false}, {"b", {"other"}, 0, 0, false}, {"a", {"two"}, 3, 0, false}};
    EXPECT_EQ(host().runCommand("a", 1).lines, Lines{"one"});
    EXPECT_EQ(host().runCommand("b", 1).lines, Lines{"other"});
    EXPECT_EQ(host().runCommand("a", 1).lines, Lines{"two"});
    EXPECT_EQ(host().runCommand("a", 1).waitStatus, 3 << 8);
    EXPECT_EQ(host().runCommand("b", 1).lines, Lines{"other"});
}

TEST_F(RecordedHostTest, EndsACommandBySignalOrByItsTimeLimit) {
    data.commands = {{"crash", {}, 0, 11, false}, {"hang", {"part"}, 0, 0, true}};
    const host::CommandResult crashed = host().runCommand("crash", 1);
    EXPECT_EQ(crashed.waitStatus, 11);
    EXPECT_FALSE(crashed.timedOut);
    const host::CommandResult timedOut = host().runCommand("hang", 1);
    EXPECT_EQ(timedOut.waitStatus, 9);
    EXPECT_TRUE(timedOut.timedOut);
    EXPECT_EQ(timedOut.lines, Lines{"part"});
}

TEST_F(RecordedHostTest, LetsAShellLineAndAPauseSucceedAtOnce) {
    EXPECT_EQ(host().runShell("/bin/false"), 0);
    host().sleepSeconds(3600);
    EXPECT_EQ(journal.lines(), (Lines{R"({"effect":"shell","command":"/bin/false"})",
                                      R"({"effect":"sleep","seconds":3600})"}));
}

// Names.

TEST_F(RecordedHostTest, TellsHostNameAndKernelRelease) {
    data.hostName = "db01";
    data.kernelRelease = "4.18.0-553.el8.x86_64";
    std::string name;
    EXPECT_EQ(host().hostName(name), 0);
    EXPECT_EQ(name, "db01");
    EXPECT_EQ(host().kernelRelease(), "4.18.0-553.el8.x86_64");
}

TEST_F(RecordedHostTest, IsLocalhostOnKernel510WhenNothingIsSaid) {
    std::string name;
    EXPECT_EQ(host().hostName(name), 0);
    EXPECT_EQ(name, "localhost");
    EXPECT_EQ(host().kernelRelease(), "5.10.0");
}

TEST_F(RecordedHostTest, FailsToReadAHostNameThatIsNull) {
    data.hostName.reset();
    std::string name = "before";
    EXPECT_EQ(host().hostName(name), -EIO);
    EXPECT_EQ(name, "before");
}

// Semaphores.

constexpr int kCreate = IPC_CREAT | 0666;
const std::vector<host::SemaphoreOperation> kLock = {{0, true, false}, {1, true, true}};
const std::vector<host::SemaphoreOperation> kUnlock = {{-1, true, true}};

TEST_F(RecordedHostTest, KeepsASemaphoreOfItsOwn) {
    const int identifier = host().openSemaphore(1001, 1, kCreate);
    EXPECT_GE(identifier, 0);
    EXPECT_EQ(host().openSemaphore(1001, 1, kCreate), identifier);
    EXPECT_EQ(host().openSemaphore(1001, 1, 0), identifier);
    EXPECT_NE(host().openSemaphore(1002, 1, kCreate), identifier);
    EXPECT_EQ(host().operateSemaphore(identifier, kLock), 0);
    EXPECT_EQ(host().operateSemaphore(identifier, kUnlock), 0);
    EXPECT_EQ(host().operateSemaphore(identifier, kLock), 0);
    EXPECT_EQ(journal.lines(), Lines{});
}

TEST_F(RecordedHostTest, GivesTheErrorsOfSemget) {
    EXPECT_EQ(host().openSemaphore(5, 1, 0), -ENOENT);
    EXPECT_EQ(host().openSemaphore(5, 0, kCreate), -EINVAL);
    EXPECT_EQ(host().openSemaphore(5, 32001, kCreate), -EINVAL);
    EXPECT_GE(host().openSemaphore(5, 2, kCreate), 0);
    EXPECT_EQ(host().openSemaphore(5, 2, kCreate | IPC_EXCL), -EEXIST);
    EXPECT_EQ(host().openSemaphore(5, 3, kCreate), -EINVAL);
    EXPECT_GE(host().openSemaphore(5, 0, kCreate), 0);
    EXPECT_NE(host().openSemaphore(IPC_PRIVATE, 1, 0), host().openSemaphore(IPC_PRIVATE, 1, 0));
}

TEST_F(RecordedHostTest, GivesTheErrorsOfSemop) {
    const int identifier = host().openSemaphore(1001, 1, kCreate);
    EXPECT_EQ(host().operateSemaphore(identifier + 1, kLock), -EINVAL);
    EXPECT_EQ(host().operateSemaphore(-1, kLock), -EINVAL);
    EXPECT_EQ(host().operateSemaphore(identifier, {}), -EINVAL);
    const std::vector<host::SemaphoreOperation> tooMany(501, {0, false, false});
    EXPECT_EQ(host().operateSemaphore(identifier, tooMany), -E2BIG);
    EXPECT_EQ(host().operateSemaphore(identifier, kUnlock), -EAGAIN);
    EXPECT_EQ(host().operateSemaphore(identifier, {{32767, false, false}}), 0);
    EXPECT_EQ(host().operateSemaphore(identifier, {{1, false, false}}), -ERANGE);
    EXPECT_EQ(host().operateSemaphore(identifier, {{0, false, true}}), -EAGAIN);
}

TEST_F(RecordedHostTest, ExecutesSemaphoreOperationsTogetherOrNotAtAll) {
    const int identifier = host().openSemaphore(1001, 1, kCreate);
    EXPECT_EQ(host().operateSemaphore(identifier, {{1, false, true}, {-2, false, true}}), -EAGAIN);
    EXPECT_EQ(host().operateSemaphore(identifier, {{0, false, true}}), 0);
}

TEST_F(RecordedHostTest, RefusesASemaphoreWaitThatOnlyTheWaiterCouldEnd) {
    const int identifier = host().openSemaphore(1001, 1, kCreate);
    EXPECT_EQ(host().operateSemaphore(identifier, kLock), 0);
    EXPECT_EQ(host().operateSemaphore(identifier, kLock), -EDEADLK);
    EXPECT_EQ(host().operateSemaphore(identifier, {{-2, false, false}}), -EDEADLK);
    EXPECT_EQ(host().operateSemaphore(identifier, kUnlock), 0);
}

TEST(Semaphores, LetAThreadWaitForTheSemaphoreOfAnother) {
    recording::Semaphores semaphores;
    const int identifier = semaphores.open(1001, 1, kCreate);
    EXPECT_EQ(semaphores.operate(identifier, kLock), 0);
    std::atomic<bool> isThrough{false};
    std::thread other([&] {
        EXPECT_EQ(semaphores.operate(identifier, kLock), 0);
        isThrough = true;
        EXPECT_EQ(semaphores.operate(identifier, kUnlock), 0);
    });
    while (semaphores.waiting() == 0 && !isThrough) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(isThrough);
    EXPECT_EQ(semaphores.operate(identifier, kUnlock), 0);
    other.join();
    EXPECT_EQ(semaphores.waiting(), 0);
    EXPECT_EQ(semaphores.operate(identifier, kLock), 0);
}

TEST(RecordedHost, AFileThatWasLookedForInVainIsNotThere) {
    RecordedHostData data;
    data.files["/sbin/x"].error = ENOENT;
    Journal journal;
    RecordedHost host(data, journal);
    EXPECT_FALSE(host.pathExists("/sbin/x"));
    EXPECT_FALSE(host.pathExists("/sbin"));
    EXPECT_EQ(host.readFile("/sbin/x").openError, ENOENT);
    EXPECT_EQ(host.writeAccess("/sbin/x"), -ENOENT);
    EXPECT_EQ(host.listDirectory("/sbin/").openError, ENOENT);
    EXPECT_TRUE(journal.lines().empty());
}

TEST(RecordedAbsence, IsWhatTheRecordingSaysAndNotWhatItIsSilentOn) {
    RecordedHostData data;
    data.files["/sbin/x"].error = ENOENT;
    data.files["/sbin/y"].error = EACCES;
    data.directories["/dev/"] = {".", "..", "sda"};
    data.directories["/sys/class"] = {"block"};
    const std::vector<std::pair<std::string, bool>> cases = {{"/sbin/x", true},
                                                             {"/sbin/y", false},
                                                             {"/sbin/z", false},
                                                             {"/dev/sdb", true},
                                                             {"/dev/sda", false},
                                                             {"/dev/mapper/", true},
                                                             {"/sys/class/fc_host", true},
                                                             {"/sys/class/fc_host/host2/", true},
                                                             {"/sys/class/block/sda", false},
                                                             {"/sys", false},
                                                             {"", false},
                                                             {"/", false},
                                                             {"x", false}};
    for (const auto& [path, absent] : cases) {
        EXPECT_EQ(recording::saysAbsent(data, path), absent) << path;
    }
}

TEST(RecordedAbsence, OfACopyIsThatOfItsOriginal) {
    RecordedHostData original;
    original.files["/sbin/x"].error = ENOENT;
    original.directories["/dev/"] = {".", ".."};
    RecordedHostData copy;
    for (const char* path : {"/sbin/x", "/sbin/y", "/dev/sda"}) {
        copy.files[path].error = ENOENT;
    }
    copy.files["/sbin/z"] = "z";
    recording::keepSilenceOf(original, copy);
    std::vector<std::string> paths;
    for (const auto& [path, file] : copy.files) {
        paths.push_back(path);
    }
    EXPECT_EQ(paths, (std::vector<std::string>{"/dev/sda", "/sbin/x", "/sbin/z"}));
}

TEST(RecordedAbsence, ACommandIsAnsweredByItsWholeText) {
    RecordedHostData data;
    data.commands.push_back({"/bin/ls /x", {}, 2});
    EXPECT_TRUE(recording::answersCommand(data, "/bin/ls /x"));
    EXPECT_FALSE(recording::answersCommand(data, "/bin/ls"));
}

}  // namespace
