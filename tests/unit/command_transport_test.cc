#include "host/command_transport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "device_host.h"
#include "recording/replay/recorded_host_file.h"
#include "scripted_host.h"

namespace {

using host::CommandBuffer;
using host::SgIoRequest;
using testing::ElementsAre;

constexpr std::size_t kHeader = 8;

CommandBuffer commandOf(const std::vector<std::uint8_t>& block, std::uint32_t output = 480,
                        std::uint32_t input = 0) {
    CommandBuffer buffer = {};
    std::memcpy(buffer.data(), &input, sizeof input);
    std::memcpy(buffer.data() + 4, &output, sizeof output);
    std::copy(block.begin(), block.end(), buffer.begin() + kHeader);
    return buffer;
}

const std::vector<std::uint8_t> kInquiry = {0x12, 1, 0x83, 0, 252, 0};

/// A device that answers SG_IO as a test says, and keeps what it was sent.
class SgIoDevice : public host::ForwardingHost {
  public:
    SgIoDevice() : ForwardingHost(m_nothing) {}

    int sgIo(int descriptor, SgIoRequest& request) override {
        descriptors.push_back(descriptor);
        sent.push_back(request);
        std::copy(data.begin(), data.end(), request.data.begin());
        std::copy_n(sense.begin(), std::min(sense.size(), request.sense.size()),
                    request.sense.begin());
        request.status = status;
        request.hostStatus = hostStatus;
        return result;
    }

    int result = 0;
    std::uint8_t status = 0;
    std::uint16_t hostStatus = 0;
    std::vector<std::uint8_t> data;
    std::vector<std::uint8_t> sense;
    std::vector<SgIoRequest> sent;
    std::vector<int> descriptors;

  private:
    recording::Journal m_journal;
    recording::RecordedHost m_nothing{recording::RecordedHostData{}, m_journal};
};

TEST(SendBySgIo, SendsTheBlockThatTheIoctlWouldSend) {
    SgIoDevice device;
    CommandBuffer buffer = commandOf(kInquiry);
    EXPECT_EQ(host::sendBySgIo(device, 7, buffer), 0);
    ASSERT_EQ(device.sent.size(), 1U);
    EXPECT_THAT(device.descriptors, ElementsAre(7));
    EXPECT_EQ(device.sent[0].cdb, kInquiry);
    EXPECT_EQ(device.sent[0].data.size(), 480U);
    EXPECT_EQ(device.sent[0].sense.size(), 16U);
    EXPECT_EQ(device.sent[0].timeout, 60'000U);
}

TEST(SendBySgIo, TheGroupOfTheOperationCodeTellsTheLengthOfTheBlock) {
    for (const auto& [code, length] :
         std::vector<std::pair<std::uint8_t, std::size_t>>{{0x00, 6},
                                                           {0x1F, 6},
                                                           {0x20, 10},
                                                           {0x3F, 10},
                                                           {0x40, 10},
                                                           {0x5F, 10},
                                                           {0x60, 12},
                                                           {0x80, 16},
                                                           {0x9F, 16},
                                                           {0xA0, 12},
                                                           {0xBF, 12},
                                                           {0xC0, 10},
                                                           {0xE0, 10},
                                                           {0xFF, 10}}) {
        SgIoDevice device;
        CommandBuffer buffer = commandOf({code});
        host::sendBySgIo(device, 0, buffer);
        EXPECT_EQ(device.sent[0].cdb.size(), length) << int{code};
        EXPECT_EQ(device.sent[0].cdb[0], code);
    }
}

TEST(SendBySgIo, TheResponseStandsWhereTheCommandStood) {
    SgIoDevice device;
    device.data = {0x00, 0x83, 0x00, 0x01, 0x77};
    CommandBuffer expected = commandOf(device.data);
    CommandBuffer buffer = commandOf({0x12, 1, 0x83, 0, 252, 0, 1, 2, 3});
    // Behind what is asked for nothing is written.
    buffer[kHeader + 480] = expected[kHeader + 480] = 0x5A;
    EXPECT_EQ(host::sendBySgIo(device, 0, buffer), 0);
    EXPECT_EQ(buffer, expected);
}

TEST(SendBySgIo, ACommandThatDidNotReachTheDeviceLeavesZeros) {
    SgIoDevice device;
    device.hostStatus = 1;
    CommandBuffer buffer = commandOf(kInquiry);
    EXPECT_EQ(host::sendBySgIo(device, 0, buffer), 0);
    EXPECT_EQ(buffer, commandOf({}));
}

TEST(SendBySgIo, SixteenBytesOfSenseDataStandWhereTheResponseWould) {
    SgIoDevice device;
    device.status = 2;
    device.data = {1, 2, 3};
    device.sense = {0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0, 0, 0xAA, 0xBB, 0xCC};
    CommandBuffer buffer = commandOf(kInquiry);
    EXPECT_EQ(host::sendBySgIo(device, 0, buffer), 2);
    device.sense.resize(16);
    EXPECT_EQ(buffer, commandOf(device.sense));
}

TEST(SendBySgIo, AStatusWithoutSenseDataLeavesTheCommand) {
    SgIoDevice device;
    device.status = 0x18;  // RESERVATION CONFLICT
    CommandBuffer buffer = commandOf(kInquiry);
    EXPECT_EQ(host::sendBySgIo(device, 0, buffer), 0x18);
    EXPECT_EQ(buffer, commandOf(kInquiry));
}

TEST(SendBySgIo, AnErrnoLeavesTheBufferAsItWas) {
    SgIoDevice device;
    device.result = -ENXIO;
    device.data = {1, 2, 3};
    CommandBuffer buffer = commandOf(kInquiry);
    EXPECT_EQ(host::sendBySgIo(device, 0, buffer), -ENXIO);
    EXPECT_EQ(buffer, commandOf(kInquiry));
}

TEST(SendBySgIo, SendsNothingWithAnInputOrTooMuchOutput) {
    SgIoDevice device;
    for (const auto& [input, output] :
         std::vector<std::pair<std::uint32_t, std::uint32_t>>{{1, 36}, {0, 505}, {489, 0}}) {
        CommandBuffer buffer = commandOf(kInquiry, output, input);
        EXPECT_EQ(host::sendBySgIo(device, 0, buffer), -EINVAL) << input << ", " << output;
    }
    EXPECT_TRUE(device.sent.empty());
    CommandBuffer most = commandOf(kInquiry, 504);
    EXPECT_EQ(host::sendBySgIo(device, 0, most), 0);
}

/// A kernel whose two interfaces give these results; tells which of them were asked.
struct Kernel {
    int byIoctl;
    int bySgIo;
    std::string asked;

    int send(host::CommandTransport& transport) {
        CommandBuffer buffer = {};
        return transport.send(
            buffer,
            [this](CommandBuffer&) {
                asked += "ioctl ";
                return byIoctl;
            },
            [this](CommandBuffer&) {
                asked += "SG_IO ";
                return bySgIo;
            });
    }
};

TEST(CommandTransport, WhatTheIoctlGaveStays) {
    for (const int result : {0, 2, 0x18, -EIO, -ENXIO, -ENODEV, -EPERM, -EACCES, -EBADF, -ENOMEM,
                             -EFAULT, -ETIMEDOUT, -EBUSY, -EAGAIN, -ENOTCONN, -EINTR}) {
        host::CommandTransport transport;
        Kernel kernel = {result, 0, ""};
        EXPECT_EQ(kernel.send(transport), result);
        EXPECT_EQ(kernel.send(transport), result);
        EXPECT_EQ(kernel.asked, "ioctl ioctl ") << result;
    }
}

TEST(CommandTransport, WhereTheIoctlIsUnknownTheResultIsThatOfSgIo) {
    for (const int refusal : {-ENOTTY, -EINVAL, -ENOSYS, -EOPNOTSUPP}) {
        for (const int result : {0, 2, 0x18}) {
            host::CommandTransport transport;
            Kernel kernel = {refusal, result, ""};
            EXPECT_EQ(kernel.send(transport), result);
            EXPECT_EQ(kernel.send(transport), result);
            EXPECT_EQ(kernel.asked, "ioctl SG_IO SG_IO ") << "what is once refused is not tried";
        }
    }
}

TEST(CommandTransport, AnErrnoOfSgIoIsNoProofThatTheKernelRefuses) {
    for (const int result : {-ENXIO, -EIO, -EPERM}) {
        host::CommandTransport transport;
        Kernel kernel = {-ENOTTY, result, ""};
        EXPECT_EQ(kernel.send(transport), result);
        kernel.send(transport);
        EXPECT_EQ(kernel.asked, "ioctl SG_IO ioctl SG_IO ");
    }
}

TEST(CommandTransport, ANodeThatTakesNeitherHasTheErrnoOfTheIoctl) {
    host::CommandTransport transport;
    Kernel node = {-ENOTTY, -EINVAL, ""};
    EXPECT_EQ(node.send(transport), -ENOTTY);
    EXPECT_EQ(node.asked, "ioctl SG_IO ");
    Kernel disk = {0, 0, ""};
    EXPECT_EQ(disk.send(transport), 0);
    EXPECT_EQ(disk.asked, "ioctl ") << "it says nothing of the kernel";
}

std::vector<std::string> sampleFiles() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(SCSITOOL_SAMPLES)) {
        if (entry.path().extension() == ".json") {
            files.push_back(entry.path());
        }
    }
    return files;
}

// The recorded host speaks for the kernel: what it gives by the ioctl comes by SG_IO, byte by byte.
TEST(SendBySgIo, GivesWhatTheIoctlGivesForEveryPageOfTheSamples) {
    std::size_t compared = 0;
    for (const std::string& file : sampleFiles()) {
        recording::Journal journal;
        recording::RecordedHost machine(recording::loadRecordedHost(file), journal);
        for (const auto& [node, device] : recording::loadRecordedHost(file).devices) {
            const int descriptor = machine.openDevice(node, host::OpenMode::kReadWriteNonBlocking);
            for (const int page : {-1, 0x00, 0x80, 0x83, 0xB0, 0xC0, 0xC8, 0xD0}) {
                const auto evpd = static_cast<std::uint8_t>(page < 0 ? 0 : 1);
                const auto code = static_cast<std::uint8_t>(page < 0 ? 0 : page);
                CommandBuffer byIoctl = commandOf({0x12, evpd, code, 0, 252, 0});
                CommandBuffer bySgIo = byIoctl;
                const int result = machine.sendCommand(descriptor, byIoctl);
                const int second = host::sendBySgIo(machine, descriptor, bySgIo);
                if (result < 0) {
                    EXPECT_LT(second, 0) << file << " " << node << " " << page;
                } else {
                    EXPECT_EQ(second, result) << file << " " << node << " " << page;
                    EXPECT_EQ(bySgIo, byIoctl) << file << " " << node << " " << page;
                    ++compared;
                }
            }
            machine.closeDevice(descriptor);
        }
    }
    EXPECT_GT(compared, 200U);
}

// In turn, so that the host itself is asked and not a process of its own.
const std::vector<std::string> kInTurn = {"--jobs", "1", "--deadline", "0"};

test::CliResult runInTurn(host::Host& machine, std::vector<std::string> words) {
    words.insert(words.begin(), kInTurn.begin(), kInTurn.end());
    return test::runCli(words, machine);
}

TEST(Transport, BySgIoTheMapIsTheSame) {
    for (const std::string& file : sampleFiles()) {
        test::DeviceHost byIoctl(recording::loadRecordedHost(file));
        const test::CliResult expected = runInTurn(byIoctl, {"devices"});
        EXPECT_FALSE(byIoctl.sent.empty());
        test::DeviceHost bySgIo(recording::loadRecordedHost(file));
        const test::CliResult found = runInTurn(bySgIo, {"--transport", "sg_io", "devices"});
        EXPECT_TRUE(bySgIo.sent.empty()) << "the ioctl that the kernel warns of";
        EXPECT_EQ(found.out, expected.out) << file;
        EXPECT_EQ(found.status, expected.status) << file;
    }
}

TEST(Transport, SideBySideGoesThatWayToo) {
    test::DeviceHost sound(test::smallHost());
    const std::string expected = test::runCli({"udid", "/dev/sda"}, sound).out;
    test::DeviceHost machine(test::smallHost());
    machine.onSend = [](CommandBuffer&) { return std::optional<int>(-ENOTTY); };
    EXPECT_NE(test::runCli({"udid", "/dev/sda"}, machine).out, expected);
    EXPECT_EQ(test::runCli({"--transport", "sg_io", "udid", "/dev/sda"}, machine).out, expected);
}

TEST(Transport, IsOneOfTwo) {
    test::DeviceHost machine(test::smallHost());
    EXPECT_EQ(runInTurn(machine, {"--transport", "send_command", "udid", "/dev/sda"}).status, 0);
    EXPECT_FALSE(machine.sent.empty());
    const test::CliResult refused = runInTurn(machine, {"--transport", "SG_IO", "devices"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "scsitool: --transport SG_IO: expected send_command or sg_io\n");
}

}  // namespace
