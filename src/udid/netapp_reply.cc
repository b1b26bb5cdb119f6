#include "udid/netapp_reply.h"

#include "scsitool/udid/udid_text.h"

namespace udid {
namespace {

constexpr std::size_t kFirstRecord = 8;
constexpr std::size_t kLastRecordStart = 256;
constexpr unsigned char kControllerRecord = 0x22;
constexpr std::size_t kRecordLength = 2;
constexpr std::size_t kIdentifier = 28;

}  // namespace

ControllerIdentifier findControllerIdentifier(const scsi::PageView& reply) {
    std::size_t start = kFirstRecord;
    while (start <= kLastRecordStart) {
        decides({kControllerReply, reply}, start, 1);
        if (reply[start] == kControllerRecord) {
            return {start + kIdentifier,
                    reply.text(start + kIdentifier, kControllerIdentifierBytes)};
        }
        decides({kControllerReply, reply}, start + kRecordLength, 2);
        const unsigned length = reply.word(start + kRecordLength);
        if (length < 1) {
            break;
        }
        start += length;
    }
    return {};
}

}  // namespace udid
