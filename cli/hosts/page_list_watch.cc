#include "cli/hosts/page_list_watch.h"

#include <algorithm>

#include "scsi/inquiry_command.h"

namespace cli {

int PageListWatch::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const bool isPageList = scsi::isInquiry(buffer) && scsi::asksForPage(buffer) &&
                            scsi::pageAskedFor(buffer) == scsi::kSupportedPages;
    const std::size_t asked =
        buffer[scsi::kCommandBlock + 3] * std::size_t{256} + buffer[scsi::kCommandBlock + 4];
    const int result = ForwardingHost::sendCommand(descriptor, buffer);
    if (isPageList && result == 0) {
        const std::uint8_t* const page = buffer.data() + scsi::kCommandBlock;
        const std::size_t stated = scsi::kPageHeader + page[scsi::kPageLength] * std::size_t{256} +
                                   page[scsi::kPageLengthLow];
        m_page.assign(page, page + std::min({stated, asked, buffer.size() - scsi::kCommandBlock}));
    }
    return result;
}

}  // namespace cli
