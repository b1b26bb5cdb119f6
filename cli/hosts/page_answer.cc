#include "cli/hosts/page_answer.h"

#include <cerrno>
#include <cstdio>

#include "cli/base/text.h"
#include "scsi/inquiry_command.h"
#include "scsi/sense_data.h"

namespace cli {
namespace {

constexpr int kCheckCondition = 2;
constexpr unsigned kIllegalRequest = 0x05;
constexpr unsigned kNotSupported = 0x25;  // LOGICAL UNIT NOT SUPPORTED: a volume that is gone
constexpr std::size_t kHandedSense = 16;  // the kernel's OMAX_SB_LEN

// A deferred error (71h, 73h) is that of another command.
bool isCurrent(const scsi::SenseData& sense) {
    return sense.responseCode == 0x70 || sense.responseCode == 0x72;
}

std::string hex(unsigned value) {
    char text[sizeof "ff"];
    std::snprintf(text, sizeof text, "%02x", value & 0xFFU);
    return text;
}

}  // namespace

std::optional<std::uint8_t> pageAskedFor(const host::CommandBuffer& request) {
    return scsi::isInquiry(request) && scsi::asksForPage(request)
               ? std::optional<std::uint8_t>(scsi::pageAskedFor(request))
               : std::nullopt;
}

std::string pageCode(std::uint8_t page) {
    return hex(page);
}

std::string pageName(std::uint8_t page) {
    return "page 0x" + pageCode(page);
}

std::string missingText(std::uint8_t page, const std::string& why) {
    return pageName(page) + ": " + why;
}

bool mayBeUnrecordedList(const std::string& missing) {
    return missing == missingText(scsi::kSupportedPages, errorText(-EIO));
}

std::string whyNotCome(int result, const host::CommandBuffer& answer) {
    const unsigned char* const response = answer.data() + scsi::kCommandBlock;
    if (result == 0) {
        return scsi::isZero(response) ? "the command did not reach the disk" : "";
    }
    if (result < 0) {
        return errorText(result);
    }
    const scsi::SenseData sense =
        result == kCheckCondition ? scsi::readSense({response, kHandedSense}) : scsi::SenseData();
    if (isCurrent(sense) && sense.key == kIllegalRequest && sense.code != kNotSupported) {
        return "";
    }
    const std::string status = "SCSI status " + std::to_string(result);
    return sense.responseCode == 0 ? status
                                   : status + ", sense " + hex(sense.key) + "/" + hex(sense.code) +
                                         "/" + hex(sense.qualifier);
}

}  // namespace cli
