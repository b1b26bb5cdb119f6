#include "recording/guard/kernel/answering.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/open_node.h"
#include "recording/guard/kernel/kernel_tables.h"
#include "recording/pages/designators.h"

namespace recording::guard {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Kind = Answer::Kind;

constexpr std::size_t kHeader = 8;  // of the command buffer
constexpr std::uint8_t kInquiry = 0x12;
constexpr std::uint8_t kStandardLength = 36;
constexpr std::uint8_t kPageLength = 252;
constexpr int kCheckCondition = 2;
constexpr unsigned kNotSupportedQualifier = 3;
constexpr std::size_t kSenseLength = 32;
constexpr unsigned kTimeout = 10000;  // milliseconds

Answer without(Kind kind, const std::string& why) {
    Answer answer;
    answer.kind = kind;
    answer.why = why;
    return answer;
}

host::CommandBuffer inquiry(bool evpd, std::uint8_t page, std::uint8_t length) {
    host::CommandBuffer buffer = {};
    const std::uint32_t outputLength = length;
    std::memcpy(buffer.data() + 4, &outputLength, sizeof outputLength);
    buffer[kHeader] = kInquiry;
    buffer[kHeader + 1] = evpd ? 1 : 0;
    buffer[kHeader + 2] = page;
    buffer[kHeader + 4] = length;
    return buffer;
}

// The kernel's host bytes of a request for which there is no device at the address.
constexpr std::uint16_t kNoConnect = 0x01;  // DID_NO_CONNECT
constexpr std::uint16_t kBadTarget = 0x04;  // DID_BAD_TARGET

// 0 with the response, a positive SCSI status or a negated errno.
int ask(host::Host& host, const std::string& node, host::CommandBuffer& buffer) {
    const host::OpenNode opened(host, node, host::OpenMode::kReadOnlyNonBlocking);
    return opened.isOpen() ? host.sendCommand(opened.descriptor(), buffer) : opened.descriptor();
}

std::string field(const Bytes& bytes, std::size_t start, std::size_t length) {
    return trimmed(std::string(bytes.begin() + static_cast<std::ptrdiff_t>(start),
                               bytes.begin() + static_cast<std::ptrdiff_t>(start + length)));
}

// LOGICAL UNIT NOT SUPPORTED (ILLEGAL REQUEST, 25h/00h) in fixed or descriptor format, which the
// kernel leaves in place of a response. A deferred error speaks of another command.
bool saysNotSupported(const std::uint8_t* sense) {
    constexpr unsigned kIllegalRequest = 0x05;
    constexpr unsigned kNotSupported = 0x25;
    const unsigned format = sense[0] & 0x7FU;
    if (format == 0x70) {
        return (sense[2] & 0x0FU) == kIllegalRequest && sense[12] == kNotSupported &&
               sense[13] == 0;
    }
    return format == 0x72 && (sense[1] & 0x0FU) == kIllegalRequest && sense[2] == kNotSupported &&
           sense[3] == 0;
}

std::string failureText(int result) {
    return result > 0 ? "INQUIRY ended with SCSI status " + std::to_string(result)
                      : std::strerror(-result);
}

bool isZero(const Bytes& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

Bytes responseIn(const host::CommandBuffer& buffer) {
    return {buffer.begin() + kHeader, buffer.begin() + kHeader + kStandardLength};
}

// SCSI_IOCTL_SEND_COMMAND hands zeros over for a command that never reached the disk; SG_IO also
// tells whether there was nothing to reach or only no answer in time.
Answer askWhyZero(host::Host& host, const std::string& node) {
    const host::OpenNode opened(host, node, host::OpenMode::kReadOnlyNonBlocking);
    host::SgIoRequest request;
    request.cdb = {kInquiry, 0, 0, 0, kStandardLength, 0};
    request.data.resize(kStandardLength);
    request.sense.resize(kSenseLength);
    request.timeout = kTimeout;
    const int result =
        opened.isOpen() ? host.sgIo(opened.descriptor(), request) : opened.descriptor();
    if (result == 0 && (request.hostStatus == kNoConnect || request.hostStatus == kBadTarget)) {
        return without(Kind::kGone, "no device answers at its address (the kernel's host status " +
                                        std::to_string(request.hostStatus) + ")");
    }
    return without(Kind::kUnclear, "the INQUIRY data are zeros");
}

}  // namespace

Answer parseStandardInquiry(const Bytes& bytes) {
    if (bytes.size() < kStandardLength) {
        return without(Kind::kUnclear, "the INQUIRY data end early");
    }
    if (isZero(bytes)) {
        return without(Kind::kUnclear, "the INQUIRY data are zeros");
    }
    const unsigned qualifier = bytes[0] >> 5;
    if (qualifier != 0) {
        Answer answer = without(
            Kind::kGone, "its INQUIRY data say peripheral qualifier " + std::to_string(qualifier));
        answer.qualifier = qualifier;
        answer.isNotSupported = qualifier == kNotSupportedQualifier;
        return answer;
    }
    Answer answer;
    answer.kind = Kind::kConnected;
    answer.vendor = field(bytes, 8, 8);
    answer.product = field(bytes, 16, 16);
    answer.revision = field(bytes, 32, 4);
    answer.deviceType = bytes[0] & 0x1FU;
    return answer;
}

Answer standardAnswer(int result, const host::CommandBuffer& buffer) {
    if (result == 0) {
        return parseStandardInquiry(responseIn(buffer));
    }
    if (result == kCheckCondition && saysNotSupported(buffer.data() + kHeader)) {
        Answer answer = without(Kind::kGone, "INQUIRY ended with LOGICAL UNIT NOT SUPPORTED");
        answer.isNotSupported = true;
        answer.error = result;
        return answer;
    }
    Answer answer = without(isNoDevice(result) ? Kind::kGone : Kind::kUnclear, failureText(result));
    answer.error = result;
    return answer;
}

Answer askDisk(Evidence& evidence, const std::string& node) {
    host::CommandBuffer buffer = inquiry(false, 0, kStandardLength);
    const int result = ask(evidence.host(), node, buffer);
    if (result == 0 && isZero(responseIn(buffer))) {
        return askWhyZero(evidence.host(), node);
    }
    Answer answer = standardAnswer(result, buffer);
    // A recorded host that has no such node, or no answer of it, does not speak of the disk.
    const bool isUnrecorded = result == -ENOENT || result == -ENOTDIR || result == -ENOTTY;
    if (evidence.isRecorded() && isUnrecorded) {
        answer.kind = Kind::kGone;
        answer.isUnspoken = true;
    }
    return answer;
}

VpdPage askPage(Evidence& evidence, const std::string& node, std::uint8_t code) {
    host::CommandBuffer buffer = inquiry(true, code, kPageLength);
    VpdPage page;
    page.error = ask(evidence.host(), node, buffer);
    if (page.error == 0 && buffer[kHeader + 1] != code) {
        page.error = -EIO;
    }
    if (page.error == 0) {
        const std::size_t stated = buffer[kHeader + 2] * 256U + buffer[kHeader + 3];
        const std::size_t length = std::min<std::size_t>(stated, kPageLength - 4U);
        const auto start = buffer.begin() + kHeader + 4;
        page.content.assign(start, start + static_cast<std::ptrdiff_t>(length));
    }
    return page;
}

std::vector<Bytes> logicalUnitNames(const Bytes& page) {
    std::vector<Bytes> names;
    for (const Designator& designator : designatorsIn(page, 0)) {
        if (designator.association == Association::kLogicalUnit && designator.isWhole()) {
            const auto start = page.begin() + static_cast<std::ptrdiff_t>(designator.offset);
            names.emplace_back(
                start, start + static_cast<std::ptrdiff_t>(kDesignatorHeader + designator.length));
        }
    }
    return names;
}

}  // namespace recording::guard
