#include "recording/capture/recording_host.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <thread>

#include "recording/capture/open_descriptors.h"
#include "recording/capture/recorded_host_writer.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"

namespace {

using host::OpenMode;
using recording::Bytes;
using recording::RecordedHostData;
using recording::RecordingHost;

/// A host that answers as a test tells it to.
class Scripted : public host::ForwardingHost {
  public:
    explicit Scripted(RecordedHostData data = {})
        : ForwardingHost(m_recorded), m_recorded(std::move(data), m_journal) {}

    std::map<std::string, host::DirectoryListing> listings;
    std::map<std::string, std::string> files;
    std::vector<host::CommandResult> answers;
    int commandResult = 0;
    int readWriteError = 0;

    int openDevice(const std::string& path, OpenMode mode) override {
        if (readWriteError != 0 && mode == OpenMode::kReadWriteNonBlocking) {
            return -readWriteError;
        }
        return ForwardingHost::openDevice(path, mode);
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        const int result = ForwardingHost::sendCommand(descriptor, buffer);
        return commandResult != 0 ? commandResult : result;
    }
    host::ReadResult readFile(const std::string& path) override {
        const auto found = files.find(path);
        if (found == files.end()) {
            return ForwardingHost::readFile(path);
        }
        host::ReadResult result;
        result.content = found->second;
        return result;
    }
    host::DirectoryListing listDirectory(const std::string& path) override {
        const auto found = listings.find(path);
        return found == listings.end() ? ForwardingHost::listDirectory(path) : found->second;
    }
    host::CommandResult runCommand(const std::string&, int) override {
        const host::CommandResult answer = answers.front();
        answers.erase(answers.begin());
        return answer;
    }

  private:
    recording::Journal m_journal;
    recording::RecordedHost m_recorded;
};

host::CommandBuffer inquiry(std::uint8_t page, bool evpd, std::uint8_t most = 252) {
    host::CommandBuffer buffer{};
    buffer[4] = 0xE0;
    buffer[5] = 0x01;
    buffer[8] = 0x12;
    buffer[9] = evpd ? 1 : 0;
    buffer[10] = page;
    buffer[12] = most;
    return buffer;
}

/// Asks an INQUIRY page of a device.
void ask(host::Host& host, const std::string& path, std::uint8_t page, bool evpd,
         std::uint8_t most = 252) {
    const int descriptor = host.openDevice(path, OpenMode::kReadWriteNonBlocking);
    ASSERT_GE(descriptor, 0);
    host::CommandBuffer buffer = inquiry(page, evpd, most);
    host.sendCommand(descriptor, buffer);
    host.closeDevice(descriptor);
}

RecordedHostData oneDisk(const Bytes& page) {
    RecordedHostData data;
    data.devices["/dev/sda"].pages[0x83] = page;
    return data;
}

TEST(RecordingHost, KeepsAPageAsItCame) {
    const Bytes page = {0, 0x83, 0, 2, 1, 2};
    Scripted inner(oneDisk(page));
    RecordingHost recorder(inner);
    ask(recorder, "/dev/sda", 0x83, true);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").pages.at(0x83).bytes, page);
}

TEST(RecordingHost, KeepsBytesBehindWhatAPageSaysAndNotTheZerosBehindThose) {
    Scripted inner(oneDisk({0, 0x83, 0, 1, 9, 0, 7}));
    RecordingHost recorder(inner);
    ask(recorder, "/dev/sda", 0x83, true);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").pages.at(0x83).bytes,
              (Bytes{0, 0x83, 0, 1, 9, 0, 7}));
}

TEST(RecordingHost, CutsAPageWhereTheAllocationLengthDid) {
    Scripted inner(oneDisk(Bytes(200, 0xFF)));
    RecordingHost recorder(inner);
    ask(recorder, "/dev/sda", 0x83, true, 16);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").pages.at(0x83).bytes, Bytes(16, 0xFF));
    ask(recorder, "/dev/sda", 0x83, true, 100);
    ask(recorder, "/dev/sda", 0x83, true, 20);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").pages.at(0x83).bytes, Bytes(100, 0xFF));
}

TEST(RecordingHost, KeepsAFailureUntilThereIsAnAnswer) {
    Scripted inner(oneDisk({0, 0x83, 0, 0}));
    RecordingHost recorder(inner);
    inner.commandResult = -ETIMEDOUT;
    ask(recorder, "/dev/sda", 0x83, true);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").pages.at(0x83).error, ETIMEDOUT);
    inner.commandResult = 0;
    ask(recorder, "/dev/sda", 0x83, true);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").pages.at(0x83).error, 0);
    inner.commandResult = 2;  // CHECK CONDITION
    ask(recorder, "/dev/sda", 0x83, true);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").pages.at(0x83).error, 0);
}

TEST(RecordingHost, RecordsAStatusWithItsSenseData) {
    RecordedHostData data = oneDisk({});
    recording::RecordedPage& page = data.devices["/dev/sda"].pages[0x83];
    page.status = 2;
    page.sense = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0, 0, 0, 0, 0};
    Scripted inner(data);
    RecordingHost recorder(inner);
    ask(recorder, "/dev/sda", 0x83, true);
    const recording::RecordedPage found = recorder.data().devices.at("/dev/sda").pages.at(0x83);
    EXPECT_EQ(found.status, 2);
    EXPECT_EQ(found.sense, (Bytes{0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25}));
    EXPECT_EQ(found.error, 0);
}

/// What is recorded of SG_IO requests that ended like this, one after the other.
recording::RecordedPage sgIoAfter(const std::vector<recording::RecordedPage>& answers) {
    class Answering : public host::ForwardingHost {
      public:
        using ForwardingHost::ForwardingHost;
        recording::RecordedPage next;
        int sgIo(int /*descriptor*/, host::SgIoRequest& request) override {
            std::copy(next.bytes.begin(), next.bytes.end(), request.data.begin());
            std::copy(next.sense.begin(), next.sense.end(), request.sense.begin());
            request.status = next.status;
            request.hostStatus = next.hostStatus;
            return -next.error;
        }
    };
    Scripted disk(oneDisk({}));
    Answering inner(disk);
    RecordingHost recorder(inner);
    const int descriptor = recorder.openDevice("/dev/sda", OpenMode::kReadOnly);
    for (const recording::RecordedPage& answer : answers) {
        inner.next = answer;
        host::SgIoRequest request;
        request.cdb.assign(6, 0);
        request.data.resize(8);
        request.sense.resize(32);
        recorder.sgIo(descriptor, request);
    }
    const auto recorded = recorder.data().devices.at("/dev/sda").sgIo;
    return recorded.empty() ? recording::RecordedPage(Bytes{0xEE}) : recorded.at(Bytes(6, 0));
}

TEST(RecordingHost, RecordsWhatAnSgIoRequestEndedIn) {
    recording::RecordedPage gone;
    gone.hostStatus = 1;
    recording::RecordedPage refused;
    refused.status = 2;
    refused.sense = {0x72, 5, 0x25};
    recording::RecordedPage silent;
    silent.error = ETIMEDOUT;
    recording::RecordedPage none;
    none.error = ENOTTY;
    const recording::RecordedPage good(Bytes{1, 2});
    const recording::RecordedPage longer(Bytes{1, 2, 3});
    EXPECT_EQ(sgIoAfter({gone}), gone);
    EXPECT_EQ(sgIoAfter({refused}), refused);
    EXPECT_EQ(sgIoAfter({silent}), silent);
    EXPECT_EQ(sgIoAfter({none}), recording::RecordedPage(Bytes{0xEE}));
    EXPECT_EQ(sgIoAfter({silent, gone, good, refused}), good);
    EXPECT_EQ(sgIoAfter({good, longer, good}), longer);
    EXPECT_EQ(sgIoAfter({gone, refused}), gone);
}

TEST(RecordingHost, RecordsANodeWithoutCommandsWithoutPages) {
    RecordedHostData data;
    data.devices["/dev/mapper/control"] = {};
    Scripted inner(data);
    RecordingHost recorder(inner);
    ask(recorder, "/dev/mapper/control", 0, false);
    EXPECT_FALSE(recorder.data().devices.at("/dev/mapper/control").standardInquiry);
}

TEST(RecordingHost, TellsAnOpenForWritingFromAnOpen) {
    Scripted inner(oneDisk({}));
    RecordingHost recorder(inner);
    inner.readWriteError = EROFS;
    EXPECT_EQ(recorder.openDevice("/dev/sda", OpenMode::kReadWriteNonBlocking), -EROFS);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").openError, EROFS);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").writeError, 0);
    recorder.closeDevice(recorder.openDevice("/dev/sda", OpenMode::kReadOnly));
    const auto device = recorder.data().devices.at("/dev/sda");
    EXPECT_EQ(device.openError, 0);
    EXPECT_EQ(device.writeError, EROFS);
    recording::Journal journal;
    recording::RecordedHost replay(recorder.data(), journal);
    EXPECT_EQ(replay.openDevice("/dev/sda", OpenMode::kReadWriteNonBlocking), -EROFS);
    EXPECT_GE(replay.openDevice("/dev/sda", OpenMode::kReadOnly), 0);
}

TEST(RecordingHost, RecordsWhoIsInUse) {
    RecordedHostData data = oneDisk({});
    data.devices["/dev/sda"].inUse = true;
    Scripted inner(data);
    RecordingHost recorder(inner);
    EXPECT_EQ(recorder.openDevice("/dev/sda", OpenMode::kReadOnlyExclusive), -EBUSY);
    EXPECT_TRUE(recorder.data().devices.at("/dev/sda").inUse);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").openError, 0);
}

// A path of a mounted map whose session is gone.
TEST(RecordingHost, RecordsADiskThatIsInUseAndDoesNotOpen) {
    RecordedHostData data = oneDisk({});
    data.devices["/dev/sda"].inUse = true;
    data.devices["/dev/sda"].openError = ENXIO;
    Scripted inner(data);
    RecordingHost recorder(inner);
    EXPECT_EQ(recorder.openDevice("/dev/sda", OpenMode::kReadOnlyNonBlocking), -ENXIO);
    EXPECT_EQ(recorder.openDevice("/dev/sda", OpenMode::kReadOnlyExclusive), -EBUSY);
    EXPECT_TRUE(recorder.data().devices.at("/dev/sda").inUse);
    EXPECT_EQ(recorder.data().devices.at("/dev/sda").openError, ENXIO);
}

host::CommandResult printed(const std::string& line, int waitStatus = 0, bool timedOut = false) {
    host::CommandResult result;
    result.lines = {line};
    result.waitStatus = waitStatus;
    result.timedOut = timedOut;
    return result;
}

TEST(RecordingHost, KeepsTheAnswersToACommandInOrderAndTheLastOnce) {
    Scripted inner;
    inner.answers = {printed("a"),    printed("a"),          printed("b", 3 << 8),
                     printed("c", 9), printed("d", 9, true), printed("d", 9, true)};
    RecordingHost recorder(inner);
    for (int run = 0; run < 6; ++run) {
        recorder.runCommand("/bin/x", 1);
    }
    recording::Journal journal;
    recording::RecordedHost replay(recorder.data(), journal);
    for (const char* const line : {"a", "a", "b", "c", "d", "d", "d"}) {
        EXPECT_EQ(replay.runCommand("/bin/x", 1).lines, std::vector<std::string>{line});
    }
    const std::vector<recording::RecordedCommand> commands = recorder.data().commands;
    ASSERT_EQ(commands.size(), 5U);
    EXPECT_EQ(commands[2].exitStatus, 3);
    EXPECT_EQ(commands[3].signal, 9);
    EXPECT_TRUE(commands[4].timedOut);
    EXPECT_EQ(commands[4].signal, 0);
}

TEST(RecordingHost, KnowsAPathByWhatItIs) {
    RecordedHostData data;
    data.files["/sbin/powermt"] = "";
    data.directories["/dev/mapper/"] = {".", "..", "control"};
    data.directoryErrors["/proc/1/fd/"] = EACCES;
    data.links["/dev/disk/by-id/x"] = "../../sda";
    data.hostName.reset();
    data.kernelRelease = "6.1.0";
    Scripted inner(data);
    RecordingHost recorder(inner);
    EXPECT_TRUE(recorder.pathExists("/sbin/powermt"));
    EXPECT_TRUE(recorder.pathExists("/dev/mapper"));
    EXPECT_FALSE(recorder.pathExists("/sbin/none"));
    EXPECT_EQ(recorder.listDirectory("/proc/1/fd/").openError, EACCES);
    std::string text;
    EXPECT_EQ(recorder.readLink("/dev/disk/by-id/x", text), 0);
    EXPECT_LT(recorder.hostName(text), 0);
    EXPECT_EQ(recorder.kernelRelease(), "6.1.0");
    const RecordedHostData recorded = recorder.data();
    EXPECT_EQ(recorded.files.at("/sbin/powermt").error, 0);
    EXPECT_EQ(recorded.files.at("/sbin/none").error, ENOENT);
    EXPECT_EQ(recorded.files.size(), 2U);
    EXPECT_EQ(recorded.directories.at("/dev/mapper"), data.directories.at("/dev/mapper/"));
    EXPECT_EQ(recorded.directoryErrors.at("/proc/1/fd"), EACCES);
    EXPECT_EQ(recorded.links, data.links);
    EXPECT_FALSE(recorded.hostName);
    EXPECT_EQ(recorded.kernelRelease, "6.1.0");
}

TEST(RecordingHost, RecordsWhatWasLookedForInVain) {
    using namespace std::string_literals;
    RecordedHostData there;
    there.directories["/dev/mapper/"] = {".", ".."};
    there.devices["/dev/sda"] = {};
    Scripted machine(there);
    RecordingHost host(machine);
    for (const std::string& path :
         {"/sbin/x"s, "/sys/y/"s, "/dev/sda"s, "/dev/mapper"s, "z"s, ""s, "/a\0b"s}) {
        host.pathExists(path);
    }
    const RecordedHostData data = host.data();
    std::vector<std::string> absent;
    for (const auto& [path, file] : data.files) {
        if (file.error == ENOENT) {
            absent.push_back(path);
        }
    }
    EXPECT_EQ(absent, (std::vector<std::string>{"/sbin/x", "/sys/y"}));
    EXPECT_NO_THROW(recording::parseRecordedHost(recording::recordedHostText(data, {}), "host"));
}

TEST(RecordingHost, RecordsAFailedReadAndTheFirstThatSucceeds) {
    RecordedHostData data;
    data.files["/proc/swaps"].error = EIO;
    Scripted inner(data);
    RecordingHost recorder(inner);
    recorder.readFile("/proc/swaps");
    EXPECT_EQ(recorder.data().files.at("/proc/swaps").error, EIO);
    inner.files["/proc/swaps"] = "first";
    recorder.readFile("/proc/swaps");
    inner.files["/proc/swaps"] = "second";
    EXPECT_EQ(recorder.readFile("/proc/swaps").content, "second");
    EXPECT_EQ(recorder.data().files.at("/proc/swaps").content, "first");
    EXPECT_EQ(recorder.data().files.at("/proc/swaps").error, 0);
}

// A hostile host.

TEST(RecordingHost, BoundsWhatItRecordsAndSaysSo) {
    recording::RecordingLimits limits;
    limits.file = 10;
    limits.names = 2;
    limits.outputBytes = 4;
    limits.answers = 2;
    Scripted inner;
    inner.files["/at"] = std::string(10, 'x');
    inner.files["/over"] = std::string(11, 'x');
    inner.listings["/at/"].names = {"a", "b"};
    inner.listings["/over/"].names = {"a", "b", "c"};
    host::CommandResult much = printed("abc");
    much.lines.emplace_back("d");
    inner.answers = {much, printed("1"), printed("2"), printed("3")};
    RecordingHost recorder(inner, limits);
    recorder.readFile("/at");
    EXPECT_EQ(recorder.readFile("/over").content.size(), 11U);
    recorder.listDirectory("/at/");
    EXPECT_EQ(recorder.listDirectory("/over/").names.size(), 3U);
    recorder.runCommand("much", 1);
    recorder.runCommand("often", 1);
    recorder.runCommand("often", 1);
    recorder.runCommand("often", 1);
    const RecordedHostData data = recorder.data();
    EXPECT_EQ(data.files.at("/at").error, 0);
    EXPECT_EQ(data.files.at("/over").readError, EFBIG);
    EXPECT_EQ(data.directories.at("/at").size(), 2U);
    EXPECT_EQ(data.directories.at("/over").size(), 2U);
    EXPECT_EQ(data.commands.at(0).output, std::vector<std::string>{"abc"});
    EXPECT_EQ(data.commands.at(1).output, std::vector<std::string>{"1"});
    EXPECT_EQ(data.commands.at(2).output, std::vector<std::string>{"3"});
    EXPECT_EQ(recorder.remarks(),
              (std::vector<std::string>{
                  "/over/: of more than 2 names only these are recorded",
                  "/over: a file of more than 10 bytes is recorded as too large to be read",
                  "much: of more than 4 bytes of output only these are recorded",
                  "often: run more than 2 times; the answers between these and the last are not "
                  "recorded"}));
}

TEST(RecordingHost, WritesAHostWithNamesThatAreNoText) {
    const std::string odd = "/dev/\xFF\x01\n";
    RecordedHostData inside;
    inside.hostName = "h\xFF";
    inside.files[odd] = "x";
    inside.files["/f"] = std::string("\xFF\0", 2);
    inside.directories["/dev/"] = {".", "..", "\xFF\x01\n", "\"\\"};
    inside.links["/l"] = "\xFE";
    Scripted inner(inside);
    RecordingHost recorder(inner);
    std::string text;
    recorder.hostName(text);
    recorder.readFile(odd);
    recorder.readFile("/f");
    recorder.listDirectory("/dev/");
    recorder.readLink("/l", text);
    EXPECT_EQ(recorder.remarks().size(), 1U);
    const RecordedHostData data = recorder.data();
    const RecordedHostData read =
        recording::parseRecordedHost(recording::recordedHostText(data), "x");
    EXPECT_EQ(read.hostName, "h\xFF");
    EXPECT_EQ(read.files.count(odd), 0U);
    EXPECT_EQ(read.files.at("/f").content, std::string("\xFF\0", 2));
    EXPECT_EQ(read.directories.at("/dev/"), inside.directories.at("/dev/"));
    EXPECT_EQ(read.links, inside.links);
}

TEST(RecordingHost, MayBeAskedBySeveralThreads) {
    Scripted inner(oneDisk({0, 0x83, 0, 2, 1, 2}));
    RecordingHost recorder(inner);
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                ask(recorder, "/dev/sda", 0x83, true);
                recorder.listDirectory("/dev/");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(recorder.data().devices.size(), 1U);
}

TEST(OpenDescriptors, KeepsTheDevicesOfProcesses) {
    RecordedHostData data;
    data.links = {{"/proc/7/fd/0", "/dev/null"}, {"/proc/7/fd/3", "/home/anna/letter"},
                  {"/proc/7/fd/4", "/dev/sda"},  {"/proc/7/fd/5", "/tmp/mine"},
                  {"/proc/7/ns/mnt", "mnt:[1]"}, {"/proc/8/ns/mnt", "mnt:[1]"}};
    data.directories = {{"/proc/7/fd", {".", "..", "0", "3", "4", "5"}},
                        {"/proc", {"7", "8", "self"}}};
    data.files = {{"/proc/7/fdinfo/0", ""},
                  {"/proc/7/fdinfo/4", ""},
                  {"/proc/7/comm", "x"},
                  {"/proc/8/comm", "y"}};
    data.devices = {{"/proc/7/fd/0", {}}, {"/proc/7/fd/4", {}}};
    data.devices["/proc/7/fd/5"].number = {host::DeviceNumber::Kind::kBlock, 8, 0};
    recording::keepOpenDevices(data);
    EXPECT_EQ(data.links, (std::map<std::string, std::string>{{"/proc/7/fd/4", "/dev/sda"},
                                                              {"/proc/7/fd/5", "/tmp/mine"},
                                                              {"/proc/7/ns/mnt", "mnt:[1]"}}));
    EXPECT_EQ(data.directories.at("/proc/7/fd"), (std::vector<std::string>{".", "..", "4", "5"}));
    EXPECT_EQ(data.directories.at("/proc"), (std::vector<std::string>{"7", "self"}));
    EXPECT_EQ(data.files.count("/proc/7/fdinfo/0"), 0U);
    EXPECT_EQ(data.files.size(), 2U);
    EXPECT_EQ(data.devices.size(), 2U);
}

}  // namespace
