#include "cli/hosts/page_answer.h"

#include <cerrno>
#include <cstdio>

#include "cli/base/controller_command.h"
#include "cli/base/text.h"
#include "scsi/inquiry_command.h"
#include "scsi/sense_data.h"
#include "scsitool/udid/reporter.h"

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

constexpr char kNotReached[] = "the command did not reach the disk";

std::string hex(unsigned value) {
    char text[sizeof "ff"];
    std::snprintf(text, sizeof text, "%02x", value & 0xFFU);
    return text;
}

// Of a command that the device ended with another status than GOOD.
std::string whyEnded(int scsiStatus, const scsi::PageView& senseBytes) {
    const scsi::SenseData sense =
        scsiStatus == kCheckCondition ? scsi::readSense(senseBytes) : scsi::SenseData();
    if (isCurrent(sense) && sense.key == kIllegalRequest && sense.code != kNotSupported) {
        return "";
    }
    const std::string status = "SCSI status " + std::to_string(scsiStatus);
    return sense.responseCode == 0 ? status
                                   : status + ", sense " + hex(sense.key) + "/" + hex(sense.code) +
                                         "/" + hex(sense.qualifier);
}

}  // namespace

std::optional<std::uint8_t> pageAskedFor(const host::CommandBuffer& request) {
    return scsi::isInquiry(request) && scsi::asksForPage(request)
               ? std::optional<std::uint8_t>(scsi::pageAskedFor(request))
               : std::nullopt;
}

bool isVendorSpecific(const host::SgIoRequest& request) {
    constexpr std::uint8_t kFirst = 0xC0;
    return !request.cdb.empty() && request.cdb[0] >= kFirst;
}

std::string pageCode(unsigned page) {
    return page == udid::kControllerReply ? kControllerCommand : hex(page);
}

std::string missingText(unsigned page, const std::string& why) {
    const std::string name =
        page == udid::kControllerReply ? "the controller's reply" : "page 0x" + hex(page);
    return name + ": " + why;
}

bool mayBeUnrecordedList(const std::string& missing) {
    return missing == missingText(scsi::kSupportedPages, errorText(-EIO));
}

std::string whyNotCome(int result, const host::CommandBuffer& answer) {
    const unsigned char* const response = answer.data() + scsi::kCommandBlock;
    if (result == 0) {
        return scsi::isZero(response) ? kNotReached : "";
    }
    return result < 0 ? errorText(result) : whyEnded(result, {response, kHandedSense});
}

std::string whyNotCome(int result, const host::SgIoRequest& answer) {
    if (result != 0) {
        return result == -ENOTTY ? "" : errorText(result);
    }
    if (answer.hostStatus != 0) {
        return kNotReached;
    }
    return answer.status == 0 ? ""
                              : whyEnded(answer.status, {answer.sense.data(), answer.sense.size()});
}

}  // namespace cli
