#include <algorithm>

#include "discovery/bus_rescan.h"
#include "discovery/dead_addresses.h"
#include "discovery/inventory.h"
#include "discovery/scsi_table.h"
#include "scsitool/kit/bounded_string.h"
#include "scsitool/tools/string_tool.h"
#include "tools/trace.h"

using discovery::AddressVerdict;
using discovery::kScsiTable;
using discovery::kTraceSource;
using discovery::Operation;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using qzfi_pdk_4_4::V_snprintf;
using tools::traceTo;

namespace {

constexpr std::size_t kTextBuffer = 255;
constexpr int kNoAdapter = -1;

// The three steps of a removal. Each announces itself between the open and the write, so that a
// kernel that hangs in the write leaves the line that names it, and gives whether its file opened.

bool removeFromTable(const Operation& operation, const SLinuxScsiDevice& at) {
    char command[kTextBuffer];
    V_snprintf(command, sizeof command, "scsi remove-single-device %d %d %d %d\n", at.host,
               at.channel, at.id, at.lun);
    const auto announce = [&] { traceTo(operation.log, 3, "INFO: removing: %s\n", command); };
    if (operation.host.appendFile(kScsiTable, command, announce).openError == 0) {
        return true;
    }
    traceTo(operation.log, 3, "INFO: remove device failed to open /proc/scsi/scsi for: %s\n",
            command);
    return false;
}

bool removeFromSysfs(const Operation& operation, const SLinuxScsiDevice& at) {
    char path[kTextBuffer];
    V_snprintf(path, sizeof path, "/sys/class/scsi_device/%d:%d:%d:%d/device/delete", at.host,
               at.channel, at.id, at.lun);
    const auto announce = [&] { traceTo(operation.log, 3, "INFO: removing: %s", path); };
    if (operation.host.appendFile(path, "1", announce).openError == 0) {
        return true;
    }
    traceTo(operation.log, 2, "WARNING: remove device failed to open %s for device removal", path);
    return false;
}

void scanAgain(const Operation& operation, const SLinuxScsiDevice& at) {
    char path[kTextBuffer];
    char request[kTextBuffer];
    V_snprintf(path, sizeof path, "/sys/class/scsi_host/host%d/scan", at.host);
    V_snprintf(request, sizeof request, "%d %d %d\n", at.channel, at.id, at.lun);
    const auto announce = [&] {
        traceTo(operation.log, 3, "INFO: scaning after remove: %s", request);
    };
    if (operation.host.appendFile(path, request, announce).openError != 0) {
        traceTo(operation.log, 2, "WARNING: device failed to open %s for device scan %s", path,
                request);
    }
}

void removeAddress(const Operation& operation, const SLinuxScsiDevice& at) {
    const CFiTraceLogFunction function(operation.log, "RemoveDevice", kTraceSource);
    traceTo(operation.log, 3, "INFO: RemoveDevice [%d,%d,%d,%d]", at.host, at.channel, at.id,
            at.lun);
    // There is no such address, and the kernel reads "-1" as 0: it would remove another disk.
    if (std::min({at.host, at.channel, at.id, at.lun}) < 0) {
        return;
    }
    // Without the table the removal by sysfs is not tried either.
    if (removeFromTable(operation, at) && removeFromSysfs(operation, at)) {
        scanAgain(operation, at);
    }
}

void trimIdentity(CScsiDeviceData& record) {
    record.m_vendorId = CStringTool::rtrim(record.m_vendorId, ' ');
    record.m_productId = CStringTool::rtrim(record.m_productId, ' ');
}

// Takes the records without an address out of the list. Every one that is taken out starts the
// walk again, so that the trace shows the list as it then is.
void dropRecordsWithoutAddress(const Operation& operation, std::vector<CScsiDeviceData*>& records) {
    auto record = records.begin();
    while (record != records.end()) {
        CScsiDeviceData& walked = **record;
        trimIdentity(walked);
        traceTo(operation.log, 3,
                "INFO: iter devices a[%d] b[%d] t[%d] l[%d] vendor[%s], product[%s]", walked.m_port,
                static_cast<int>(walked.m_bus), walked.m_target, walked.m_lun,
                walked.m_vendorId.c_str(), walked.m_productId.c_str());
        if (walked.m_port == kNoAdapter) {
            records.erase(record);
            record = records.begin();
        } else {
            ++record;
        }
    }
}

void traceMatch(const Operation& operation, const AddressVerdict& verdict) {
    const SLinuxScsiDevice& address = verdict.address;
    const CScsiDeviceData& record = *verdict.holder;
    traceTo(operation.log, 3,
            "INFO: found match comparing devices a[%d,%d] b[%d,%d] t[%d,%d] l[%d,%d]", address.host,
            record.m_port, address.channel, static_cast<int>(record.m_bus), address.id,
            record.m_target, address.lun, record.m_lun);
}

void carryOut(const Operation& operation, const AddressVerdict& verdict) {
    if (verdict.holder != nullptr) {
        traceMatch(operation, verdict);
        return;
    }
    const SLinuxScsiDevice& address = verdict.address;
    traceTo(operation.log, 3, "INFO: removing device a[%d] b[%d] t[%d] l[%d]", address.host,
            address.channel, address.id, address.lun);
    if (verdict.isRemoved) {
        removeAddress(operation, address);
    } else {
        traceTo(operation.log, 3, "INFO: Device is not removed as LUN=0 and removeLun0 = false");
    }
}

}  // namespace

void CLinuxDeviceDiscovery::RemoveDevice(int host, int channel, int id, int lun) {
    removeAddress(Operation(m_traceLog, m_scsiTool), {host, channel, id, lun});
}

void CLinuxDeviceDiscovery::removeDeadDevices(std::vector<CScsiDeviceData*>& devices,
                                              bool removeLun0) {
    const CFiTraceLogFunction function(m_traceLog, "removeDeadDevices", kTraceSource);
    const Operation operation(m_traceLog, m_scsiTool);
    traceTo(m_traceLog, 3, "removeDeadDevices : removeLun0 = %d", static_cast<int>(removeLun0));
    const std::vector<SLinuxScsiDevice> table = discovery::listDevices(operation, true);
    dropRecordsWithoutAddress(operation, devices);
    for (const AddressVerdict& verdict : discovery::judgeAddresses(table, devices, removeLun0)) {
        carryOut(operation, verdict);
    }
    rescanScsiBus(false, "");
}

int CLinuxDeviceDiscovery::removeStaleDevices(const std::string& scriptArguments) {
    const CFiTraceLogFunction function(m_traceLog, "removeStaleDevices", kTraceSource);
    return discovery::runRescanScript(Operation(m_traceLog, m_scsiTool),
                                      " --remove --flush -d" + scriptArguments);
}
