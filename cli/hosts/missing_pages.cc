#include "cli/hosts/missing_pages.h"

#include <optional>

#include "cli/hosts/page_answer.h"
#include "host/noted_open.h"
#include "scsi/inquiry_command.h"
#include "scsitool/udid/reporter.h"

namespace cli {
namespace {

// The codes in page 0x00, as many as the library reads: their number is one byte to it.
std::set<std::uint8_t> pagesIn(const host::CommandBuffer& answer) {
    const auto page = answer.begin() + scsi::kCommandBlock;
    const auto first = page + scsi::kPageHeader;
    return {first, first + *(page + scsi::kPageLengthLow)};
}

}  // namespace

int MissingPages::openDevice(const std::string& path, host::OpenMode mode) {
    const int descriptor = ForwardingHost::openDevice(path, mode);
    return host::notedOpen(inner(), descriptor, [&] {
        if (descriptor >= 0) {
            m_open[descriptor] = {path, {scsi::kSupportedPages}};
        }
    });
}

int MissingPages::closeDevice(int descriptor) {
    m_open.erase(descriptor);
    return ForwardingHost::closeDevice(descriptor);
}

int MissingPages::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const std::optional<std::uint8_t> page = pageAskedFor(buffer);
    const int result = ForwardingHost::sendCommand(descriptor, buffer);
    const auto device = m_open.find(descriptor);
    if (!page || device == m_open.end()) {
        return result;
    }
    Listing& listing = device->second;
    if (*page == scsi::kSupportedPages && result == 0) {
        listing.listed = pagesIn(buffer);
        listing.listed.insert(scsi::kSupportedPages);
    }
    if (listing.listed.count(*page) != 0) {
        note(listing.path, *page, whyNotCome(result, buffer));
    }
    return result;
}

int MissingPages::sgIo(int descriptor, host::SgIoRequest& request) {
    const int result = ForwardingHost::sgIo(descriptor, request);
    const auto device = m_open.find(descriptor);
    if (isVendorSpecific(request) && device != m_open.end()) {
        note(device->second.path, udid::kControllerReply, whyNotCome(result, request));
    }
    return result;
}

void MissingPages::note(const std::string& path, unsigned page, const std::string& why) {
    if (!why.empty()) {
        m_missing[path][page] = why;
        return;
    }
    const auto former = m_missing.find(path);
    if (former != m_missing.end() && former->second.erase(page) != 0 && former->second.empty()) {
        m_missing.erase(former);
    }
}

}  // namespace cli
