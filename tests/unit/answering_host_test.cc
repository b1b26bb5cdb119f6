#include "recording/asking/answering_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "device_host.h"
#include "recording/asking/transcribing_host.h"

namespace {

using host::OpenMode;
using recording::AnsweringHost;
using recording::AskingLimits;

constexpr auto kReadWrite = OpenMode::kReadWriteNonBlocking;

host::CommandBuffer inquiry(std::uint8_t page, bool evpd, std::uint32_t outputLength = 480) {
    host::CommandBuffer buffer{};
    std::memcpy(buffer.data() + 4, &outputLength, sizeof outputLength);
    buffer[8] = 0x12;
    buffer[9] = evpd ? 1 : 0;
    buffer[10] = page;
    buffer[12] = 252;
    return buffer;
}

host::SgIoRequest vendorRequest() {
    host::SgIoRequest request;
    request.cdb = {0xC0, 0, 0, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0, 0};
    request.data.resize(64);
    request.sense.resize(16);
    return request;
}

/// What a device said to one request of each kind, in one text.
std::string conversation(host::Host& host, const std::string& path, OpenMode mode = kReadWrite) {
    std::string said;
    const int descriptor = host.openDevice(path, mode);
    if (descriptor < 0) {
        return "open " + std::to_string(descriptor);
    }
    for (const auto& [page, evpd] :
         {std::pair<int, bool>(0, false), {0, true}, {0x80, true}, {0x80, true}, {0x99, true}}) {
        host::CommandBuffer buffer = inquiry(static_cast<std::uint8_t>(page), evpd);
        const int result = host.sendCommand(descriptor, buffer);
        said += std::to_string(result) + ":" +
                (result < 0 ? std::string() : std::string(buffer.begin(), buffer.end())) + "\n";
    }
    host::AddressWords words;
    said += std::to_string(host.addressWords(descriptor, words)) + ":" +
            std::to_string(words.device) + "," + std::to_string(words.hostUnique) + "\n";
    std::uint64_t size = 0;
    said += std::to_string(host.deviceSize(descriptor, size)) + ":" + std::to_string(size) + "\n";
    host::SgIoRequest request = vendorRequest();
    said += std::to_string(host.sgIo(descriptor, request)) + ":" + std::to_string(request.status) +
            "," + std::to_string(request.hostStatus) + ":" +
            std::string(request.data.begin(), request.data.end()) + ":" +
            std::string(request.sense.begin(), request.sense.end()) + "\n";
    return said + std::to_string(host.closeDevice(descriptor));
}

/// A machine with one disk; what reaches the disk in this process is counted.
class Machine : public host::ForwardingHost {
  public:
    explicit Machine(recording::RecordedHostData data)
        : ForwardingHost(m_recorded), m_recorded(std::move(data), m_journal) {}

    std::function<void(const std::string&)> onOpen = [](const std::string&) {};
    std::function<int(host::CommandBuffer&)> onSend;
    std::function<int(host::SgIoRequest&)> onSgIo;
    int opens = 0;
    int requests = 0;

    int openDevice(const std::string& path, OpenMode mode) override {
        ++opens;
        onOpen(path);
        return ForwardingHost::openDevice(path, mode);
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        ++requests;
        return onSend ? onSend(buffer) : ForwardingHost::sendCommand(descriptor, buffer);
    }
    int addressWords(int descriptor, host::AddressWords& words) override {
        ++requests;
        return ForwardingHost::addressWords(descriptor, words);
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        ++requests;
        return ForwardingHost::deviceSize(descriptor, bytes);
    }
    int sgIo(int descriptor, host::SgIoRequest& request) override {
        ++requests;
        return onSgIo ? onSgIo(request) : ForwardingHost::sgIo(descriptor, request);
    }
    std::size_t openDescriptors() const { return m_recorded.openDescriptors(); }
    std::vector<std::string> journal() const { return m_journal.lines(); }

  private:
    recording::Journal m_journal;
    recording::RecordedHost m_recorded;
};

recording::RecordedHostData oneDisk() {
    recording::RecordedHostData data;
    recording::RecordedDevice disk = test::namedDisk("AB12", 1);
    disk.sizeBytes = 4096;
    disk.sgIo[vendorRequest().cdb] = {1, 2, 3, 0, 4};
    disk.number = {host::DeviceNumber::Kind::kBlock, 8, 0};
    data.devices["/dev/sda"] = disk;
    data.links["/dev/disk"] = "/dev/sda";
    data.devices["/dev/sdb"] = disk;
    data.devices["/dev/sdb"].number.minor = 16;
    data.files["/proc/scsi/scsi"] = "";
    return data;
}

recording::Asking asking(std::vector<std::string> names, recording::Asking::Interview interview) {
    const auto list = [names] { return names; };
    return {list, list, std::move(interview)};
}

void converse(const std::string& name) {
    conversation(host::current(), name);
}

[[noreturn]] void hang() {
    for (;;) {
        host::waitForChange(std::atomic<std::uint32_t>(0), 0, 10000);
    }
}

TEST(AnsweringHost, SaysWhatTheDeviceSaysWithoutAskingIt) {
    Machine machine(oneDisk());
    const std::string expected = conversation(machine, "/dev/sda");
    machine.opens = machine.requests = 0;
    AnsweringHost answering(machine, {}, {});
    answering.ask(asking({"/dev/sda"}, converse));
    EXPECT_EQ(conversation(answering, "/dev/sda"), expected);
    EXPECT_EQ(conversation(answering, "/dev/sda"), expected) << "and again";
    EXPECT_EQ(machine.opens + machine.requests, 0);
    EXPECT_EQ(answering.asked(), 1U);
    EXPECT_TRUE(answering.givenUp().empty());
}

TEST(AnsweringHost, SaysWhatTheDeviceRefuses) {
    recording::RecordedHostData data = oneDisk();
    data.devices["/dev/sdc"].openError = ENXIO;
    data.devices["/dev/sdd"].idLunError = EIO;
    Machine machine(data);
    // A check condition with its sense data, then none.
    int asked = 0;
    machine.onSend = [&](host::CommandBuffer& buffer) {
        std::memset(buffer.data() + 8, asked, 18);
        buffer[9] = 0x70;
        return ++asked % 2 == 1 ? 2 : -EIO;
    };
    machine.onSgIo = [](host::SgIoRequest& request) {
        request.status = 2;
        request.hostStatus = 513;
        request.sense[3] = 5;
        return 0;
    };
    for (const char* const name : {"/dev/sda", "/dev/sdc", "/dev/sdd", "/dev/sde"}) {
        asked = 0;
        const std::string expected = conversation(machine, name);
        asked = 0;
        AnsweringHost answering(machine, {}, {});
        answering.ask(asking({name}, converse));
        machine.opens = machine.requests = 0;
        EXPECT_EQ(conversation(answering, name), expected) << name;
        EXPECT_EQ(machine.opens + machine.requests, 0) << name;
    }
}

TEST(AnsweringHost, PutsToTheDeviceWhatItWasNotAsked) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {}, {});
    answering.ask(asking({"/dev/sda"}, [](const std::string& name) {
        host::Host& host = host::current();
        const int descriptor = host.openDevice(name, kReadWrite);
        host::AddressWords words;
        host.addressWords(descriptor, words);
        host.closeDevice(descriptor);
    }));
    EXPECT_EQ(conversation(answering, "/dev/sda"), conversation(machine, "/dev/sda"));
    EXPECT_EQ(machine.openDescriptors(), 0U);
    machine.opens = machine.requests = 0;
    const int descriptor = answering.openDevice("/dev/sda", kReadWrite);
    host::AddressWords words;
    EXPECT_EQ(answering.addressWords(descriptor, words), 0);
    EXPECT_EQ(machine.opens, 0) << "not opened before it has to be";
    std::uint64_t size = 0;
    EXPECT_EQ(answering.deviceSize(descriptor, size), 0);
    EXPECT_EQ(answering.deviceSize(descriptor, size), 0);
    EXPECT_EQ(machine.opens, 1) << "once";
    EXPECT_EQ(answering.closeDevice(descriptor), 0);
    EXPECT_EQ(machine.openDescriptors(), 0U);
}

TEST(AnsweringHost, OpensInAnotherModeForReal) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {}, {});
    answering.ask(asking({"/dev/sda"}, converse));
    machine.opens = machine.requests = 0;
    for (const OpenMode mode :
         {OpenMode::kReadOnly, OpenMode::kReadOnlyNonBlocking, OpenMode::kReadOnlyExclusive}) {
        conversation(answering, "/dev/sda", mode);
    }
    EXPECT_EQ(machine.opens, 3);
    EXPECT_EQ(machine.requests, 24);
    EXPECT_EQ(machine.openDescriptors(), 0U);
}

TEST(AnsweringHost, LeavesOtherDevicesAndDescriptorsAlone) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {}, {});
    answering.ask(asking({"/dev/sda"}, converse));
    EXPECT_EQ(conversation(answering, "/dev/sdb"), conversation(machine, "/dev/sdb"));
    host::AddressWords words;
    EXPECT_EQ(answering.addressWords(-1, words), -EBADF);
    EXPECT_EQ(answering.closeDevice(-1), -EBADF);
}

TEST(AnsweringHost, GivesUpWhatDoesNotAnswerUnderEveryName) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {4, 1}, {});
    const std::uint64_t begun = host::monotonicMilliseconds();
    answering.ask(asking({"/dev/sda", "/dev/sdb"}, [](const std::string& name) {
        if (name == "/dev/sda") {
            hang();
        }
        converse(name);
    }));
    const std::uint64_t took = host::monotonicMilliseconds() - begun;
    EXPECT_GE(took, 1000U);
    EXPECT_LT(took, 10000U);
    EXPECT_EQ(answering.givenUp(), std::set<std::string>{"/dev/sda"});
    EXPECT_EQ(answering.asked(), 2U);
    machine.opens = 0;
    for (const OpenMode mode : {kReadWrite, OpenMode::kReadOnly, OpenMode::kReadOnlyNonBlocking,
                                OpenMode::kReadOnlyExclusive}) {
        EXPECT_EQ(answering.openDevice("/dev/sda", mode), -ETIMEDOUT);
        EXPECT_EQ(answering.openDevice("/dev/disk", mode), -ETIMEDOUT) << "a link to it";
    }
    EXPECT_EQ(machine.opens, 0);
    EXPECT_EQ(conversation(answering, "/dev/sdb"), conversation(machine, "/dev/sdb"));
}

TEST(AnsweringHost, KeepsWhatItGaveUpThroughEffectsAndAsksTheOthersAgain) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {4, 6}, {});
    const auto interview = [](const std::string& name) {
        if (name == "/dev/sda") {
            hang();
        }
        converse(name);
    };
    const std::uint64_t begun = host::monotonicMilliseconds();
    answering.ask({[] { return std::vector<std::string>{"/dev/sda"}; },
                   [] {
                       return std::vector<std::string>{"/dev/sda", "/dev/sdb"};
                   },
                   interview});
    answering.appendFile("/proc/scsi/scsi", "x", {});
    EXPECT_EQ(answering.openDevice("/dev/sda", kReadWrite), -ETIMEDOUT);
    EXPECT_LT(host::monotonicMilliseconds() - begun, 11900U) << "not asked a second time";
    machine.opens = 0;
    conversation(answering, "/dev/sdb");
    EXPECT_EQ(machine.opens, 0) << "asked after the effect";
    EXPECT_EQ(answering.asked(), 2U);
    EXPECT_EQ(answering.givenUp(), std::set<std::string>{"/dev/sda"});
}

TEST(AnsweringHost, AsksAgainAfterEachKindOfEffect) {
    using Effect = std::function<void(host::Host&)>;
    const std::pair<Effect, bool> kEffects[] = {
        {[](host::Host& host) { host.appendFile("/proc/scsi/scsi", "x", {}); }, true},
        {[](host::Host& host) { host.runCommand("/sbin/multipath -v0", 1); }, true},
        {[](host::Host& host) { host.runShell("true"); }, true},
        {[](host::Host& host) { host.runCommand("/sbin/pidof multipathd", 1); }, false},
        {[](host::Host& host) { host.readFile("/proc/scsi/scsi"); }, false},
        {[](host::Host& host) { host.sleepSeconds(1); }, false}};
    for (const auto& [effect, isOne] : kEffects) {
        Machine machine(oneDisk());
        AnsweringHost answering(machine, {}, {});
        int listed = 0;
        const auto list = [&listed] {
            ++listed;
            return std::vector<std::string>{"/dev/sda"};
        };
        answering.ask({list, list, converse});
        effect(answering);
        EXPECT_EQ(
            answering.closeDevice(answering.openDevice("/dev/sda", OpenMode::kReadOnlyNonBlocking)),
            0);
        EXPECT_EQ(listed, 1) << "a question of the guard's asks nobody else";
        answering.closeDevice(answering.openDevice("/dev/sda", kReadWrite));
        EXPECT_EQ(listed, isOne ? 2 : 1);
        answering.closeDevice(answering.openDevice("/dev/sda", kReadWrite));
        EXPECT_EQ(listed, isOne ? 2 : 1) << "once";
    }
}

TEST(AnsweringHost, AnswersWhatIsOpenAcrossAnEffect) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {}, {});
    answering.ask(asking({"/dev/sda"}, converse));
    const int descriptor = answering.openDevice("/dev/sda", kReadWrite);
    answering.runShell("true");
    host::AddressWords words;
    EXPECT_EQ(answering.addressWords(descriptor, words), 0);
    EXPECT_EQ(answering.closeDevice(descriptor), 0);
    EXPECT_EQ(answering.closeDevice(descriptor), -EBADF);
}

TEST(AnsweringHost, AsksADeviceListedTwiceOnce) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {}, {});
    answering.ask(asking({"/dev/sda", "/dev/sda"}, converse));
    EXPECT_EQ(answering.asked(), 1U);
}

// Where the results lie in the memory that the workers share with their parent.
unsigned char* sharedResults() {
    std::ifstream maps("/proc/self/maps");
    unsigned char* memory = nullptr;
    for (std::string line; std::getline(maps, line);) {
        if (line.find("rw-s") != std::string::npos && line.find("/dev/zero") != std::string::npos) {
            memory = reinterpret_cast<unsigned char*>(std::stoull(line, nullptr, 16));
        }
    }
    return memory + 64 + recording::Board::kSeats * 16 + 64;
}

TEST(AnsweringHost, GivesUpADeviceWhoseAnswersHaveBecomeGarbage) {
    Machine machine(oneDisk());
    AnsweringHost answering(machine, {1, 10}, {});
    answering.ask(asking({"/dev/sda", "/dev/sdb"}, [](const std::string& name) {
        converse(name);
        if (name == "/dev/sdb") {
            std::memset(sharedResults(), 0xff, 64);  // the answers of the first
        }
    }));
    EXPECT_EQ(answering.openDevice("/dev/sda", kReadWrite), -ETIMEDOUT);
    EXPECT_EQ(answering.givenUp(), std::set<std::string>{"/dev/sda"});
    EXPECT_EQ(answering.openDevice("/dev/sda", OpenMode::kReadOnly), -ETIMEDOUT);
    EXPECT_EQ(conversation(answering, "/dev/sdb"), conversation(machine, "/dev/sdb"));
}

TEST(AnsweringHost, LeavesWhatAnInterviewDidNotComeToToTheDevice) {
    Machine machine(oneDisk());
    const std::string expected = conversation(machine, "/dev/sda");
    AnsweringHost answering(machine, {}, {});
    answering.ask(asking({"/dev/sda"}, [](const std::string& name) {
        host::current().closeDevice(host::current().openDevice(name, kReadWrite));
        throw std::runtime_error("");
    }));
    EXPECT_EQ(conversation(answering, "/dev/sda"), expected);
}

TEST(TranscribingHost, HasNoEffect) {
    Machine machine(oneDisk());
    recording::TranscribingHost host(machine, "/dev/sda");
    EXPECT_EQ(host.appendFile("/proc/scsi/scsi", "x", {}).openError, EPERM);
    EXPECT_EQ(host.runCommand("/sbin/pidof x", 1).waitStatus, 126 << 8);
    EXPECT_EQ(host.runShell("true"), 126 << 8);
    EXPECT_EQ(host.openSemaphore(1, 1, 0), -EPERM);
    EXPECT_EQ(host.operateSemaphore(1, {}), -EPERM);
    host.sleepSeconds(100);
    EXPECT_TRUE(machine.journal().empty());
}

TEST(TranscribingHost, PutsDownNothingOfOtherDevices) {
    Machine machine(oneDisk());
    recording::TranscribingHost host(machine, "/dev/sda");
    conversation(host, "/dev/sdb");
    EXPECT_EQ(host.transcript().text(), "");
    conversation(host, "/dev/sda");
    EXPECT_NE(host.transcript().text(), "");
}

}  // namespace
