#include "disks.h"

#include <algorithm>
#include <cerrno>

#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/host/host.h"
#include "scsitool/udid/device_udid_factory.h"

namespace plugin {
namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;

// A device that opened and said nothing of itself is called by its node and the host: such a UDID
// has neither maker nor product and is good on this host alone.
bool isHostNamed(const std::string& udid) {
    return udid.rfind("UDID######", 0) == 0;
}

// The library asks a disk only after it has opened it for reading and writing.
bool mayBeAsked(const std::string& node) {
    host::Host& machine = host::current();
    const int descriptor = machine.openDevice(node, host::OpenMode::kReadWriteNonBlocking);
    if (descriptor >= 0) {
        machine.closeDevice(descriptor);
    }
    return descriptor != -EACCES && descriptor != -EPERM;
}

Result resultOf(const Disks& disks) {
    if (!disks.udids.empty()) {
        return disks.without.empty() ? Result::kComplete : Result::kPartial;
    }
    if (disks.without.empty()) {
        return Result::kNoDisk;
    }
    const bool anyMay = std::any_of(disks.without.begin(), disks.without.end(), mayBeAsked);
    return anyMay ? Result::kNothingAnswered : Result::kNoRight;
}

}  // namespace

Disks findDisks(const std::shared_ptr<qzfi_pdk_4_4::CFiTraceSink>& sink, int level) {
    Disks disks;
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(sink, level);
    try {
        CUDIDFactory factory;
        factory.registerTraceLog(log);
        for (const auto& [node, device] : factory.enumerateDeviceMap(false, false, false, "", "")) {
            if (!isHostNamed(device.uid)) {
                disks.udids.emplace(node, device.uid);
            }
        }
        for (const std::string& node : CLinuxDeviceDiscovery().enumerateNativeDevicePaths()) {
            if (disks.udids.count(node) == 0) {
                disks.without.push_back(node);
            }
        }
        disks.result = resultOf(disks);
    } catch (int) {
        disks.result = Result::kFailed;
    }
    return disks;
}

const char* explain(Result result) {
    switch (result) {
        case Result::kComplete:
            return "every disk is known";
        case Result::kPartial:
            return "some disks are not known; 'scsitool devices' says why";
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
