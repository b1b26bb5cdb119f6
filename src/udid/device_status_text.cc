#include <cstdio>
#include <cstring>
#include <string>

#include "scsi/inquiry_command.h"
#include "scsitool/udid/device_status.h"

namespace udid {
namespace {

using Kind = FailedRequest::Kind;

std::string hex(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "%02x", value);
    return text;
}

std::string nameOf(const FailedRequest& request) {
    switch (request.kind) {
        case Kind::kOpen:
            return "open";
        case Kind::kInquiry:
            return "INQUIRY";
        case Kind::kPage:
            return "INQUIRY for page 0x" + hex(request.page);
        case Kind::kAddress:
            return "SCSI_IOCTL_GET_IDLUN";
        case Kind::kGeneratorsOwn:
            return "SG_IO";
    }
    return {};
}

std::string endOf(const FailedRequest& request) {
    if (request.error != 0) {
        return std::strerror(request.error);
    }
    if (request.hostStatus != 0) {
        return "the kernel's host status " + std::to_string(request.hostStatus);
    }
    std::string text = "SCSI status " + std::to_string(request.scsiStatus);
    const Sense& sense = request.sense;
    if (sense.responseCode != 0) {
        text += ", sense " + hex(sense.key) + "/" + hex(sense.code) + "/" + hex(sense.qualifier);
    }
    return text;
}

// How the last request of a kind ended; a text of its own where none failed.
std::string endOf(const DeviceStatus& status, Kind kind, const char* otherwise) {
    std::string text = otherwise;
    for (const FailedRequest& request : status.failedRequests) {
        if (request.kind == kind) {
            text = endOf(request);
        }
    }
    return text;
}

std::string whyNoDisk(const DeviceStatus& status) {
    return status.inquiryLength < scsi::kShortestInquiry
               ? "its INQUIRY data are " + std::to_string(status.inquiryLength) + " bytes of " +
                     std::to_string(scsi::kShortestInquiry)
               : "byte 0 of its INQUIRY data is 0x" + hex(status.peripheral);
}

// Every part begins with "; ".
std::string generatorsOf(const DeviceStatus& status) {
    std::string text;
    for (const GeneratorAnswer& answer : status.generators) {
        if (answer.failure.empty() && answer.remarks.empty()) {
            continue;
        }
        text += "; " + answer.family + ":";
        const char* before = " ";
        for (const std::string& remark : answer.remarks) {
            text += before + remark;
            before = ", ";
        }
        if (!answer.failure.empty()) {
            text += before + answer.failure;
        }
    }
    for (const std::string& remark : status.remarks) {
        text += "; " + remark;
    }
    for (const FailedRequest& request : status.failedRequests) {
        text += "; " + nameOf(request) + ": " + endOf(request);
    }
    return text;
}

}  // namespace

const char* nameOf(DeviceState state) {
    static constexpr const char* kNames[] = {"not-opened", "opened",     "no-answer",
                                             "no-disk",    "no-address", "answered",
                                             "no-udid",    "host-named", "identified"};
    return kNames[static_cast<std::size_t>(state)];
}

const char* nameOf(Finding finding) {
    static constexpr const char* kNames[] = {"nothing-asked", "disks",       "nothing-answered",
                                             "no-right",      "none-opened", "no-list",
                                             "no-disk"};
    return kNames[static_cast<std::size_t>(finding)];
}

std::string textOf(const DeviceStatus& status) {
    switch (status.state) {
        case DeviceState::kNotOpened:
            return "does not open: " + endOf(status, Kind::kOpen, "nobody tried");
        case DeviceState::kOpened:
            return "opens, and nothing was asked of it";
        case DeviceState::kNoAnswer:
            return "does not answer INQUIRY: " +
                   endOf(status, Kind::kInquiry, "the data are zeros");
        case DeviceState::kNoDisk:
            return "is no disk: " + whyNoDisk(status);
        case DeviceState::kNoAddress:
            return "does not tell its address: " + endOf(status, Kind::kAddress, "");
        case DeviceState::kAnswered:
            return "answers" + generatorsOf(status);
        case DeviceState::kNoUdid:
            return "has no UDID" + generatorsOf(status);
        case DeviceState::kHostNamed:
            return "has a UDID of names, good on this host alone" + generatorsOf(status);
        case DeviceState::kIdentified:
            return "has a UDID" + generatorsOf(status);
    }
    return {};
}

std::string textOf(Finding finding) {
    switch (finding) {
        case Finding::kNothingAsked:
            return "nothing was asked of the host";
        case Finding::kDisks:
            return "disks answered";
        case Finding::kNothingAnswered:
            return "devices opened, and none answered as a disk";
        case Finding::kNoRight:
            return "this process has not the right to ask the devices";
        case Finding::kNoneOpened:
            return "no device opened";
        case Finding::kNoList:
            return "a list of the devices could not be read";
        case Finding::kNoDisk:
            return "the host lists no such disk";
    }
    return {};
}

}  // namespace udid
