#include "disks.h"

#include <algorithm>
#include <cerrno>

#include "scsitool/udid/device_status.h"
#include "scsitool/udid/device_udid_factory.h"

namespace plugin {
namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;

// /dev/mapper holds more than SCSI devices, and the library has a look at all of it.
bool isScsiDevice(const udid::DeviceStatus& status) {
    return std::none_of(status.failedRequests.begin(), status.failedRequests.end(),
                        [](const udid::FailedRequest& request) {
                            return request.error == ENOTTY || request.error == EISDIR;
                        });
}

// A UDID that was made of the host's name counts for nothing: another host calls the disk
// otherwise.
void sortIn(const udid::DeviceStatus& status, const DeviceMap& devices, Disks& disks) {
    if (status.state == udid::DeviceState::kIdentified) {
        disks.udids.emplace(status.deviceName, devices.at(status.deviceName).uid);
    } else if (isScsiDevice(status)) {
        disks.without.emplace(status.deviceName, udid::textOf(status));
    }
}

Result resultOf(udid::Finding finding, const Disks& disks) {
    switch (finding) {
        case udid::Finding::kDisks:
            return disks.without.empty() ? Result::kComplete : Result::kPartial;
        case udid::Finding::kNoDisk:
            return Result::kNoDisk;
        case udid::Finding::kNoRight:
            return Result::kNoRight;
        case udid::Finding::kNothingAnswered:
        case udid::Finding::kNoneOpened:
            return Result::kNothingAnswered;
        case udid::Finding::kNothingAsked:
        case udid::Finding::kNoList:
            break;
    }
    return Result::kFailed;
}

}  // namespace

Disks findDisks(const std::shared_ptr<qzfi_pdk_4_4::CFiTraceSink>& sink, int level) {
    Disks disks;
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(sink, level);
    try {
        CUDIDFactory factory;
        factory.registerTraceLog(log);
        const udid::StatusWatch watch;
        const DeviceMap devices = factory.enumerateDeviceMap(false, false, false, "", "");
        for (const udid::DeviceStatus& status : watch.statuses()) {
            sortIn(status, devices, disks);
        }
        disks.result = resultOf(watch.finding(), disks);
    } catch (int) {
        // The library's result code of an enumeration that failed; the trace tells more.
        disks.result = Result::kFailed;
    }
    return disks;
}

const char* explain(Result result) {
    switch (result) {
        case Result::kComplete:
            return "every disk is known";
        case Result::kPartial:
            return "some disks are not known";
        case Result::kNoDisk:
            return "this host has no SCSI disk";
        case Result::kNoRight:
            return "the disks may not be opened: run the backup as root";
        case Result::kNothingAnswered:
            return "no disk answers; 'scsitool doctor' says what is wrong";
        case Result::kFailed:
            break;
    }
    return "the disks could not be enumerated; the trace says where it ended";
}

}  // namespace plugin
