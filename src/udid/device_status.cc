#include "scsitool/udid/device_status.h"

#include <algorithm>
#include <cerrno>

#include "udid/status_host.h"
#include "udid/status_notes.h"
#include "udid/status_reporter.h"

namespace udid {
namespace {

using Kind = FailedRequest::Kind;

// The errno that the last open or standard INQUIRY of a device ended in.
int errorOf(const DeviceStatus& status) {
    int error = 0;
    for (const FailedRequest& request : status.failedRequests) {
        if (request.kind == Kind::kOpen || request.kind == Kind::kInquiry) {
            error = request.error;
        }
    }
    return error;
}

// The modules of multipath name whatever stands in their directories.
bool isNoScsiDevice(const DeviceStatus& status) {
    const int error = errorOf(status);
    return (status.state == DeviceState::kNotOpened && error == EISDIR) ||
           (status.state == DeviceState::kNoAnswer && error == ENOTTY);
}

bool wantsRights(const DeviceStatus& status) {
    const int error = errorOf(status);
    return error == EACCES || error == EPERM;
}

Finding findingOf(const std::vector<DeviceStatus>& devices) {
    const auto furthest = std::max_element(devices.begin(), devices.end(),
                                           [](const DeviceStatus& left, const DeviceStatus& right) {
                                               return left.state < right.state;
                                           });
    if (furthest->state > DeviceState::kNoDisk) {
        return Finding::kDisks;
    }
    if (std::all_of(devices.begin(), devices.end(), wantsRights)) {
        return Finding::kNoRight;
    }
    return furthest->state > DeviceState::kNotOpened ? Finding::kNothingAnswered
                                                     : Finding::kNoneOpened;
}

}  // namespace

struct StatusWatch::Parts {
    StatusNotes notes;
    StatusHost host{host::current(), notes};
    StatusReporter reporter{udid::reporter(), notes};
    const host::Scope hostScope{host};
    const ReportScope reportScope{&reporter};

    DeviceStatus identified(DeviceStatus status) const {
        const Identity* const identity = reporter.of(status.deviceName);
        if (identity != nullptr && status.state != DeviceState::kNoUdid) {
            status.identity = *identity;
        }
        return status;
    }
};

StatusWatch::StatusWatch() : m_parts(std::make_unique<Parts>()) {}
StatusWatch::~StatusWatch() = default;

std::vector<DeviceStatus> StatusWatch::statuses() const {
    std::vector<DeviceStatus> statuses = m_parts->notes.statuses();
    for (DeviceStatus& status : statuses) {
        status = m_parts->identified(std::move(status));
    }
    return statuses;
}

DeviceStatus StatusWatch::statusOf(const std::string& deviceName) const {
    return m_parts->identified(m_parts->notes.statusOf(deviceName));
}

std::vector<UnreadList> StatusWatch::unreadLists() const {
    return m_parts->notes.unreadLists();
}

Finding StatusWatch::finding() const {
    std::vector<DeviceStatus> devices = m_parts->notes.statuses();
    const bool isAnythingAsked = m_parts->notes.hasList() || !devices.empty();
    devices.erase(std::remove_if(devices.begin(), devices.end(), isNoScsiDevice), devices.end());
    if (!devices.empty()) {
        return findingOf(devices);
    }
    if (!m_parts->notes.unreadLists().empty()) {
        return Finding::kNoList;
    }
    return isAnythingAsked ? Finding::kNoDisk : Finding::kNothingAsked;
}

}  // namespace udid
