#include "cli/hosts/answer_watch.h"

#include <algorithm>
#include <cerrno>

#include "cli/hosts/page_answer.h"
#include "host/noted_open.h"
#include "scsi/inquiry_command.h"
#include "scsitool/udid/reporter.h"

namespace cli {

int AnswerWatch::openDevice(const std::string& path, host::OpenMode mode) {
    const int descriptor = ForwardingHost::openDevice(path, mode);
    return host::notedOpen(inner(), descriptor, [&] {
        m_seen[path].openResult = std::min(descriptor, 0);
        if (descriptor >= 0) {
            m_open[descriptor] = path;
        }
    });
}

int AnswerWatch::closeDevice(int descriptor) {
    m_open.erase(descriptor);
    return ForwardingHost::closeDevice(descriptor);
}

int AnswerWatch::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const bool isStandardInquiry = scsi::isInquiry(buffer) && !scsi::asksForPage(buffer);
    const std::optional<std::uint8_t> page = pageAskedFor(buffer);
    const int result = ForwardingHost::sendCommand(descriptor, buffer);
    const auto device = m_open.find(descriptor);
    if (isStandardInquiry && device != m_open.end()) {
        SeenAnswer& seen = m_seen[device->second];
        seen.inquiryResult = result;
        seen.answer = recording::guard::standardAnswer(result, buffer);
    } else if (result == -ETIMEDOUT) {
        noteLater(descriptor, result);
    } else if (page && device != m_open.end()) {
        noteMissing(m_seen[device->second], *page, whyNotCome(result, buffer));
    }
    return result;
}

int AnswerWatch::sgIo(int descriptor, host::SgIoRequest& request) {
    const int result = ForwardingHost::sgIo(descriptor, request);
    const auto device = m_open.find(descriptor);
    if (isVendorSpecific(request) && device != m_open.end()) {
        if (result == -ETIMEDOUT) {
            noteLater(descriptor, result);
        } else {
            noteMissing(m_seen[device->second], udid::kControllerReply,
                        whyNotCome(result, request));
        }
    }
    return result;
}

int AnswerWatch::addressWords(int descriptor, host::AddressWords& words) {
    const int result = ForwardingHost::addressWords(descriptor, words);
    noteLater(descriptor, result);
    return result;
}

void AnswerWatch::noteLater(int descriptor, int result) {
    const auto device = m_open.find(descriptor);
    if (result < 0 && device != m_open.end() && m_seen[device->second].laterError == 0) {
        m_seen[device->second].laterError = result;
    }
}

void AnswerWatch::noteMissing(SeenAnswer& seen, unsigned page, const std::string& why) {
    // What may be none goes behind what is one.
    if (!why.empty() && (seen.missingPage.empty() || mayBeUnrecordedList(seen.missingPage))) {
        seen.missingPage = missingText(page, why);
    }
}

const SeenAnswer& AnswerWatch::seen(const std::string& path) const {
    static const SeenAnswer kNothing;
    const auto found = m_seen.find(path);
    return found != m_seen.end() ? found->second : kNothing;
}

}  // namespace cli
