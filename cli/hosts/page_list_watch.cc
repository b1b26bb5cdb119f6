#include "cli/hosts/page_list_watch.h"

#include <algorithm>

#include "scsitool/scsi/pages.h"

namespace cli {
namespace {

constexpr std::size_t kCommandBlock = 8;  // where it, and then the response, stands in the buffer
constexpr std::uint8_t kInquiry = 0x12;
constexpr std::uint8_t kEvpd = 0x01;

}  // namespace

int PageListWatch::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const bool isPageList = buffer[kCommandBlock] == kInquiry &&
                            (buffer[kCommandBlock + 1] & kEvpd) != 0 &&
                            buffer[kCommandBlock + 2] == scsi::kSupportedPages;
    const std::size_t asked =
        buffer[kCommandBlock + 3] * std::size_t{256} + buffer[kCommandBlock + 4];
    const int result = ForwardingHost::sendCommand(descriptor, buffer);
    if (isPageList && result == 0) {
        const std::uint8_t* const page = buffer.data() + kCommandBlock;
        const std::size_t stated = scsi::kPageHeader + page[scsi::kPageLength] * std::size_t{256} +
                                   page[scsi::kPageLengthLow];
        m_page.assign(page, page + std::min({stated, asked, buffer.size() - kCommandBlock}));
    }
    return result;
}

}  // namespace cli
