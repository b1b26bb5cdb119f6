#include "udid/status_notes.h"

#include <algorithm>
#include <cerrno>

#include "scsi/inquiry_command.h"
#include "scsi/sense_data.h"

namespace udid {
namespace {

using Kind = FailedRequest::Kind;

// As many bytes of sense data as SCSI_IOCTL_SEND_COMMAND hands over (OMAX_SB_LEN).
constexpr std::size_t kHandedSense = 16;

Sense senseIn(const scsi::PageView& bytes) {
    const scsi::SenseData read = scsi::readSense(bytes);
    return {read.responseCode, read.key, read.code, read.qualifier};
}

// `result` is a negated errno or, of a command, a positive SCSI status.
FailedRequest failed(Kind kind, int result) {
    FailedRequest request;
    request.kind = kind;
    request.error = result < 0 ? -result : 0;
    request.scsiStatus = result > 0 ? static_cast<unsigned>(result) : 0;
    return request;
}

bool hasUdid(const std::vector<GeneratorAnswer>& generators) {
    // No generator is asked where the caller assigned the UDID.
    return generators.empty() ||
           std::any_of(generators.begin(), generators.end(), [](const GeneratorAnswer& answer) {
               return answer.claimed && answer.failure.empty();
           });
}

bool merelyDeclined(const GeneratorAnswer& answer) {
    return !answer.claimed && answer.failure.empty() && answer.remarks.empty();
}

}  // namespace

StatusNotes::Device& StatusNotes::of(const std::string& path) {
    const auto place = m_places.emplace(path, m_devices.size());
    if (place.second) {
        m_devices.emplace_back().status.deviceName = path;
    }
    return m_devices[place.first->second];
}

StatusNotes::Device* StatusNotes::known(const std::string& path) {
    const auto place = m_places.find(path);
    return place != m_places.end() ? &m_devices[place->second] : nullptr;
}

void StatusNotes::opened(const std::string& path, host::OpenMode mode, int result) {
    // Discovery and the SCSI tool open for reading and writing: with that the device is asked anew.
    // A generator's own open is another matter.
    if (mode == host::OpenMode::kReadWriteNonBlocking) {
        Device& device = of(path);
        device = Device();
        device.status.deviceName = path;
        device.status.state = result < 0 ? DeviceState::kNotOpened : DeviceState::kOpened;
    }
    Device* const device = known(path);
    if (result < 0 && device != nullptr) {
        device->status.failedRequests.push_back(failed(Kind::kOpen, result));
    }
}

void StatusNotes::takeInquiry(DeviceStatus& status, int result, const host::CommandBuffer& answer) {
    const unsigned char* const response = answer.data() + scsi::kCommandBlock;
    status.inquiryLength = result == 0 ? scsi::responseLength(response, false) : 0;
    status.peripheral = result == 0 ? response[0] : 0;
    if (result != 0 || scsi::isZero(response)) {
        status.state = DeviceState::kNoAnswer;
    } else if (status.inquiryLength < scsi::kShortestInquiry || !scsi::isDisk(response[0])) {
        status.state = DeviceState::kNoDisk;
    } else {
        status.state = DeviceState::kAnswered;
    }
}

void StatusNotes::inquired(const std::string& path, const host::CommandBuffer& request, int result,
                           const host::CommandBuffer& answer) {
    Device* const device = known(path);
    if (device == nullptr || !scsi::isInquiry(request)) {
        return;
    }
    const bool asksForPage = scsi::asksForPage(request);
    if (!asksForPage) {
        takeInquiry(device->status, result, answer);
    }
    const bool isLost =
        asksForPage && result == 0 && scsi::isZero(answer.data() + scsi::kCommandBlock);
    if (result == 0 && !isLost) {
        return;
    }
    FailedRequest refused =
        failed(asksForPage ? Kind::kPage : Kind::kInquiry, isLost ? -EIO : result);
    refused.page = asksForPage ? scsi::pageAskedFor(request) : 0;
    if (result > 0) {
        refused.sense = senseIn({answer.data() + scsi::kCommandBlock, kHandedSense});
    }
    device->status.failedRequests.push_back(refused);
}

void StatusNotes::toldAddress(const std::string& path, int result) {
    Device* const device = known(path);
    if (result >= 0 || device == nullptr) {
        return;
    }
    if (device->status.state == DeviceState::kAnswered) {
        device->status.state = DeviceState::kNoAddress;
    }
    device->status.failedRequests.push_back(failed(Kind::kAddress, result));
}

void StatusNotes::askedByGenerator(const std::string& path, int result,
                                   const host::SgIoRequest& request) {
    Device* const device = known(path);
    FailedRequest refused = failed(Kind::kGeneratorsOwn, result);
    if (result == 0) {
        refused.scsiStatus = request.status;
        refused.hostStatus = request.hostStatus;
        refused.sense = senseIn({request.sense.data(), request.sense.size()});
    }
    const bool isFailure = result != 0 || request.status != 0 || request.hostStatus != 0;
    if (isFailure && device != nullptr) {
        device->status.failedRequests.push_back(refused);
    }
}

void StatusNotes::listRead(const std::string& path, int error) {
    m_hasList = true;
    const bool isKnown = std::any_of(
        m_unreadLists.begin(), m_unreadLists.end(),
        [&](const UnreadList& list) { return list.path == path && list.error == error; });
    if (error != 0 && !isKnown) {
        m_unreadLists.push_back({path, error});
    }
}

void StatusNotes::forgetUdid(Device& device) {
    device.status.generators.clear();
    device.status.remarks.clear();
    device.isMadeOfNames = false;
}

void StatusNotes::began(const std::string& deviceName) {
    const bool isOpened = known(deviceName) != nullptr;
    Device& device = of(deviceName);
    m_current = m_places.find(deviceName)->second;
    forgetUdid(device);
    device.status.isInMap = true;
    if (!isOpened) {
        // A record of the caller's own, with its pages in it.
        device.status.state = DeviceState::kAnswered;
    }
}

void StatusNotes::stepped(Step step, const std::string& text, const std::string& generator) {
    Device* const device = current();
    if (device == nullptr) {
        return;
    }
    std::vector<GeneratorAnswer>& answers = device->status.generators;
    if (step == Step::kAsked) {
        answers.emplace_back().generator = text;
    } else if (answers.empty()) {
        // TAQ mode asks nobody for a claim.
        answers.emplace_back().generator = generator;
        answers.back().claimed = true;
    }
    GeneratorAnswer& answer = answers.back();
    answer.claimed = answer.claimed || step == Step::kClaimed;
    if (step == Step::kFailed) {
        answer.failure = text;
    }
    if (step == Step::kBody || step == Step::kFailed) {
        device->isMadeOfNames = false;
    }
}

void StatusNotes::added(Format format) {
    if (Device* const device = current()) {
        device->isMadeOfNames = device->isMadeOfNames || format == Format::kHostName;
    }
}

void StatusNotes::remarked(const std::string& text) {
    if (Device* const device = current()) {
        std::vector<GeneratorAnswer>& answers = device->status.generators;
        (answers.empty() ? device->status.remarks : answers.back().remarks).push_back(text);
    }
}

DeviceStatus StatusNotes::finished(const Device& device) {
    DeviceStatus status = device.status;
    std::vector<GeneratorAnswer>& answers = status.generators;
    if (status.state == DeviceState::kAnswered && status.isInMap) {
        status.state = !hasUdid(answers)      ? DeviceState::kNoUdid
                       : device.isMadeOfNames ? DeviceState::kHostNamed
                                              : DeviceState::kIdentified;
    }
    answers.erase(std::remove_if(answers.begin(), answers.end(), merelyDeclined), answers.end());
    for (GeneratorAnswer& answer : answers) {
        answer.family = familyName(answer.generator);
    }
    return status;
}

DeviceStatus StatusNotes::statusOf(const std::string& deviceName) const {
    const auto place = m_places.find(deviceName);
    if (place != m_places.end()) {
        return finished(m_devices[place->second]);
    }
    DeviceStatus unseen;
    unseen.deviceName = deviceName;
    return unseen;
}

std::vector<DeviceStatus> StatusNotes::statuses() const {
    std::vector<DeviceStatus> statuses;
    for (const Device& device : m_devices) {
        statuses.push_back(finished(device));
    }
    return statuses;
}

}  // namespace udid
