// What a recorded device answers to requests.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "recording/replay/recorded_host.h"
#include "recording/text/hex.h"
#include "scsitool/host/request_limits.h"

namespace recording {
namespace {

constexpr std::size_t kCommandHeader = 8;
constexpr std::uint8_t kInquiry = 0x12;
constexpr std::size_t kInquiryLength = 6;
constexpr std::uint8_t kEvpd = 0x01;
constexpr std::size_t kSenseOfCommand = 16;  // the kernel's OMAX_SB_LEN

// Page 0x00: the codes stand from byte 4 on, their number in bytes 2-3; no more than are stored.
bool listsPage(const RecordedDevice& device, std::uint8_t code) {
    const auto list = device.pages.find(0x00);
    if (list == device.pages.end() || list->second.bytes.size() < 4) {
        return false;
    }
    const Bytes& bytes = list->second.bytes;
    const std::size_t end = std::min<std::size_t>(bytes.size(), 4U + bytes[2] * 256U + bytes[3]);
    for (std::size_t index = 4; index < end; ++index) {
        if (bytes[index] == code) {
            return true;
        }
    }
    return false;
}

const RecordedPage* pageOf(const RecordedDevice& device, bool evpd, std::uint8_t code) {
    if (evpd) {
        const auto found = device.pages.find(code);
        return found == device.pages.end() ? nullptr : &found->second;
    }
    return code == 0 && device.standardInquiry ? &*device.standardInquiry : nullptr;
}

// What a request comes to. An INQUIRY is the same through either interface, so that one written
// down for SCSI_IOCTL_SEND_COMMAND answers SG_IO, too, unless that has its own entry.
const RecordedPage* answerTo(const RecordedDevice& device, const Bytes& block) {
    const auto found = device.sgIo.find(block);
    if (found != device.sgIo.end()) {
        return &found->second;
    }
    return block.size() == kInquiryLength && block[0] == kInquiry
               ? pageOf(device, (block[1] & kEvpd) != 0, block[2])
               : nullptr;
}

std::size_t allocationLength(const std::uint8_t* inquiry) {
    return inquiry[3] * 256U + inquiry[4];
}

}  // namespace

const RecordedPage* RecordedHost::findPage(const RecordedTree::Node& node, bool evpd,
                                           std::uint8_t code, int& error) {
    const RecordedDevice& device = node.device;
    if (!device.standardInquiry && device.pages.empty()) {
        error = -ENOTTY;  // a node that takes no SCSI command
        return nullptr;
    }
    const RecordedPage* const page = pageOf(device, evpd, code);
    // Every device server answers the standard INQUIRY.
    const bool isGap = evpd ? listsPage(device, code) : code == 0;
    if (page == nullptr && isGap) {
        m_journal.addUnanswered("page " + (evpd ? toHex(&code, 1) : "std") + " of " + node.path);
    }
    error = page == nullptr ? -EIO : -page->error;
    return error == 0 ? page : nullptr;
}

int RecordedHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const RecordedTree::Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    const int refused = host::checkRequest(buffer);
    if (refused != 0) {
        return refused;
    }
    std::uint32_t outputLength = 0;
    std::memcpy(&outputLength, buffer.data() + sizeof outputLength, sizeof outputLength);
    const std::uint8_t* const block = buffer.data() + kCommandHeader;
    if (block[0] != kInquiry) {
        return -ENOTTY;
    }
    const std::size_t allowed = allocationLength(block);
    int error = 0;
    const RecordedPage* const page = findPage(*node, (block[1] & kEvpd) != 0, block[2], error);
    if (page == nullptr) {
        return error;
    }
    const auto response = buffer.begin() + kCommandHeader;
    std::fill_n(response, outputLength, std::uint8_t{0});
    if (page->status != 0) {
        // The kernel leaves the sense data where the response would be.
        std::copy_n(page->sense.begin(), std::min(page->sense.size(), kSenseOfCommand), response);
        return page->status;
    }
    // Of a request that did not reach the device this interface does not tell: there are zeros.
    std::copy_n(page->bytes.begin(),
                std::min({page->bytes.size(), allowed, std::size_t{outputLength}}), response);
    return 0;
}

int RecordedHost::addressWords(int descriptor, host::AddressWords& words) {
    const RecordedTree::Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    if (!node->device.idLun) {
        return node->device.idLunError != 0 ? -node->device.idLunError : -ENOTTY;
    }
    words = {*node->device.idLun, 0};
    return 0;
}

int RecordedHost::sgIo(int descriptor, host::SgIoRequest& request) {
    const RecordedTree::Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    const int refused = host::checkRequest(request);
    if (refused != 0) {
        return refused;
    }
    const RecordedPage* const answer = answerTo(node->device, request.cdb);
    if (answer == nullptr || answer->error != 0) {
        return answer == nullptr ? -ENOTTY : -answer->error;
    }
    std::fill(request.data.begin(), request.data.end(), std::uint8_t{0});
    std::size_t length = std::min(answer->bytes.size(), request.data.size());
    if (request.cdb[0] == kInquiry && request.cdb.size() == kInquiryLength) {
        length = std::min(length, allocationLength(request.cdb.data()));
    }
    std::copy_n(answer->bytes.begin(), length, request.data.begin());
    std::copy_n(answer->sense.begin(), std::min(answer->sense.size(), request.sense.size()),
                request.sense.begin());
    request.status = answer->status;
    request.hostStatus = answer->hostStatus;
    return 0;
}

int RecordedHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    const RecordedTree::Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    if (!node->device.sizeBytes) {
        return -ENOTTY;
    }
    bytes = *node->device.sizeBytes;
    return 0;
}

}  // namespace recording
