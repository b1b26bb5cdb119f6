#include <algorithm>
#include <cerrno>
#include <cstring>

#include "recording/capture/recording_host.h"

namespace recording {
namespace {

constexpr std::size_t kHeader = 8;  // of the command buffer
constexpr std::uint8_t kInquiry = 0x12;
constexpr std::uint8_t kEvpd = 0x01;
constexpr std::size_t kSenseOfCommand = 16;  // the kernel's OMAX_SB_LEN, in place of a response

/// An INQUIRY command as it stands in a buffer.
struct InquiryRequest {
    bool isInquiry = false;
    bool evpd = false;
    std::uint8_t page = 0;
    std::size_t most = 0;  // bytes that can come back
};

InquiryRequest inquiryIn(const host::CommandBuffer& buffer) {
    const std::uint8_t* const block = buffer.data() + kHeader;
    std::uint32_t outputLength = 0;
    std::memcpy(&outputLength, buffer.data() + sizeof outputLength, sizeof outputLength);
    return {block[0] == kInquiry, (block[1] & kEvpd) != 0, block[2],
            std::min<std::size_t>({block[3] * 256U + block[4], outputLength,
                                   host::CommandBuffer().size() - kHeader})};
}

// What the response says it holds, and further bytes as far as any is not zero: the kernel zeros
// what the device did not send, and a device may send more than it says.
Bytes responseIn(const host::CommandBuffer& buffer, const InquiryRequest& request) {
    const std::uint8_t* const response = buffer.data() + kHeader;
    std::size_t length = request.evpd ? 4U + response[2] * 256U + response[3] : 5U + response[4];
    length = std::min(length, request.most);
    for (std::size_t end = request.most; end > length; --end) {
        if (response[end - 1] != 0) {
            length = end;
        }
    }
    return {response, response + length};
}

// An answer takes the place of a failure, and a longer one that of a shorter.
void keepBetter(RecordedPage& known, const RecordedPage& answer) {
    if (answer.isAnswer() && (!known.isAnswer() || known.bytes.size() < answer.bytes.size())) {
        known = answer;
    }
}

void dropLastZeros(Bytes& bytes) {
    while (!bytes.empty() && bytes.back() == 0) {
        bytes.pop_back();
    }
}

}  // namespace

RecordingHost::Node* RecordingHost::nodeOf(int descriptor) {
    const auto found = m_descriptors.find(descriptor);
    return found == m_descriptors.end() ? nullptr : &m_nodes[found->second];
}

int RecordingHost::openDevice(const std::string& path, host::OpenMode mode) {
    const int result = ForwardingHost::openDevice(path, mode);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (result != -ENOENT && isWritable(path)) {
        noteOpen(path, mode, result);
        if (result >= 0) {
            m_descriptors[result] = path;
        }
    }
    return result;
}

void RecordingHost::noteOpen(const std::string& path, host::OpenMode mode, int result) {
    Node& node = m_nodes[path];
    const bool writes = mode == host::OpenMode::kReadWriteNonBlocking;
    if (result >= 0) {
        node.opened = true;
        node.openedToWrite = node.openedToWrite || writes;
    } else if (mode == host::OpenMode::kReadOnlyExclusive && result == -EBUSY) {
        // The kernel refuses it before it asks the driver, and so it tells nothing of an open.
        node.device.inUse = true;
    } else if (writes) {
        node.device.writeError = -result;
    } else {
        node.device.openError = -result;
    }
}

int RecordingHost::closeDevice(int descriptor) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_descriptors.erase(descriptor);
    }
    return ForwardingHost::closeDevice(descriptor);
}

int RecordingHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const InquiryRequest request = inquiryIn(buffer);
    const int result = ForwardingHost::sendCommand(descriptor, buffer);
    const std::lock_guard<std::mutex> lock(m_mutex);
    Node* const node = nodeOf(descriptor);
    // A page code without EVPD is no request that a device answers; nor is EINVAL an answer of one.
    if (node == nullptr || !request.isInquiry || (!request.evpd && request.page != 0) ||
        result == -EINVAL || result == -EBADF) {
        return result;
    }
    RecordedPage answer;
    if (result == 0) {
        answer.bytes = responseIn(buffer, request);
    } else if (result < 0) {
        answer.error = -result;
    } else {
        answer.status = static_cast<std::uint8_t>(result);
        answer.sense.assign(buffer.begin() + kHeader, buffer.begin() + kHeader + kSenseOfCommand);
        dropLastZeros(answer.sense);
    }
    notePage(*node, request.evpd, request.page, answer);
    return result;
}

void RecordingHost::notePage(Node& node, bool evpd, std::uint8_t code, const RecordedPage& answer) {
    RecordedDevice& device = node.device;
    if (evpd) {
        keepBetter(device.pages.emplace(code, answer).first->second, answer);
    } else if (!device.standardInquiry) {
        device.standardInquiry = answer;
    } else {
        keepBetter(*device.standardInquiry, answer);
    }
}

int RecordingHost::addressWords(int descriptor, host::AddressWords& words) {
    const int result = ForwardingHost::addressWords(descriptor, words);
    const std::lock_guard<std::mutex> lock(m_mutex);
    Node* const node = nodeOf(descriptor);
    if (node == nullptr || node->device.idLun) {
        return result;
    }
    if (result >= 0) {
        node->device.idLun = words.device;
        node->device.idLunError = 0;
    } else if (result != -ENOTTY) {
        node->device.idLunError = -result;
    }
    return result;
}

int RecordingHost::sgIo(int descriptor, host::SgIoRequest& request) {
    const int result = ForwardingHost::sgIo(descriptor, request);
    const std::lock_guard<std::mutex> lock(m_mutex);
    Node* const node = nodeOf(descriptor);
    // What the node takes no request for has no entry, and a request that is wrong is no answer.
    if (node == nullptr || result == -ENOTTY || result == -EINVAL || result == -EBADF) {
        return result;
    }
    RecordedPage answer;
    if (result < 0) {
        answer.error = -result;
    } else {
        answer.bytes = request.data;
        answer.status = request.status;
        answer.sense = request.sense;
        answer.hostStatus = request.hostStatus;
        dropLastZeros(answer.bytes);
        dropLastZeros(answer.sense);
    }
    if (answer.isAnswer()) {
        answer.sense.clear();
    }
    if (answer.bytes.size() > m_limits.response) {
        answer.bytes.resize(m_limits.response);
        remark(m_descriptors[descriptor] + ": an SG_IO response of more than " +
               std::to_string(m_limits.response) + " bytes is recorded up to there");
    }
    keepBetter(node->device.sgIo.emplace(request.cdb, answer).first->second, answer);
    return result;
}

int RecordingHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    const int result = ForwardingHost::deviceSize(descriptor, bytes);
    const std::lock_guard<std::mutex> lock(m_mutex);
    Node* const node = nodeOf(descriptor);
    if (node != nullptr && result >= 0 && !node->device.sizeBytes) {
        node->device.sizeBytes = bytes;
    }
    return result;
}

int RecordingHost::deviceNumber(const std::string& path, host::DeviceNumber& number) {
    const int result = ForwardingHost::deviceNumber(path, number);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (result >= 0 && number.kind != host::DeviceNumber::Kind::kNone && isWritable(path)) {
        m_nodes[path].device.number = number;
    }
    return result;
}

}  // namespace recording
