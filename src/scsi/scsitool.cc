#include "scsitool/scsi/scsitool.h"

#include <algorithm>
#include <cstring>

#include "scsi/inquiry_command.h"
#include "scsi/opened_on.h"
#include "scsi/page_bytes.h"
#include "scsi/scsi_result.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::V_snprintf;
using tools::traceTo;

namespace {

constexpr std::uint32_t kOutputLength = 480;
constexpr unsigned char kAllocationLength = 252;

host::CommandBuffer inquiryRequest(unsigned page, bool vpd, int lun) {
    host::CommandBuffer buffer{};
    std::memcpy(buffer.data() + 4, &kOutputLength, sizeof kOutputLength);
    unsigned char* const cdb = buffer.data() + scsi::kCommandBlock;
    cdb[0] = scsi::kInquiry;
    cdb[1] = static_cast<unsigned char>(static_cast<unsigned>(lun) << 5 | (vpd ? scsi::kEvpd : 0U));
    cdb[2] = static_cast<unsigned char>(page);
    cdb[4] = kAllocationLength;
    return buffer;
}

void takeResponse(const host::CommandBuffer& buffer, bool vpd, unsigned& length,
                  PageBytes<>& data) {
    const unsigned char* const response = buffer.data() + scsi::kCommandBlock;
    const std::size_t most = buffer.size() - scsi::kCommandBlock;
    const std::size_t stated = std::min(scsi::responseLength(response, vpd), most);
    PageBytes<> bytes = scsi::copyBytes(response, stated, 0);
    data = bytes;
    length = static_cast<unsigned>(stated);
}

}  // namespace

CScsiTool::CScsiTool() = default;
CScsiTool::~CScsiTool() = default;

unsigned CScsiTool::GetModePageInfo(CScsiDeviceHandle& handle, CScsiDeviceData& device,
                                    const unsigned int& page, unsigned int& length,
                                    unsigned int evpd, PageBytes<>& data) {
    const unsigned code = page;  // which may be the caller's `length`
    try {
        const bool vpd = evpd == 1 || code != 0;
        traceTo(m_traceLog, 4, "libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo()");
        length = 0;
        data.reset();
        const int descriptor = handle.open(device, false);
        host::CommandBuffer buffer = inquiryRequest(code, vpd, device.m_lun);
        // A positive result is a SCSI status, and sense data stand where the response would.
        if (scsi::HostOfHandle::openedOn(handle).sendCommand(descriptor, buffer) != 0) {
            traceTo(m_traceLog, 1,
                    "libscsitool: ERROR: ioctl(SCSI_IOCTL_SEND_COMMAN) for device %s ",
                    device.m_deviceName.c_str());
            return scsi::kFailure;
        }
        takeResponse(buffer, vpd, length, data);
        traceTo(m_traceLog, 4, "libscsitool: DEBUG: Exiting CScsiTool::GetModePageInfo()");
        return scsi::kSuccess;
    } catch (...) {
        traceTo(m_traceLog, 2, "GetModePageInfo: Exception Ocurred");
        return scsi::kFailure;
    }
}

unsigned CScsiTool::GetTargetLunPortInfo(CScsiDeviceHandle& handle, CScsiDeviceData& device) {
    traceTo(m_traceLog, 4, "libscsitool: DEBUG: Entering CScsiTool::UpdateTargetLunPortInfo()");
    try {
        const int descriptor = handle.open(device, false);
        host::AddressWords words;
        if (scsi::HostOfHandle::openedOn(handle).addressWords(descriptor, words) < 0) {
            traceTo(m_traceLog, 1,
                    "libscsitool: ERROR: CScsiTool::UpdateTargetLunPortInfo() "
                    "SCSI_IOCTL_GET_IDLUN IOCTL failed for device %s.",
                    device.m_deviceName.c_str());
            throw static_cast<int>(scsi::kFailure);
        }
        const std::uint32_t word = words.device;
        device.m_port = static_cast<int>(word >> 24 & 0xFF);
        const unsigned bus = word >> 16 & 0xFF;
        traceTo(m_traceLog, 4, "libscsitool: DEBUG: setting Bus number = %d",
                static_cast<int>(bus));
        device.m_bus = bus;
        const int lun = static_cast<int>(word >> 8 & 0xFF);
        traceTo(m_traceLog, 4, "libscsitool: DEBUG: setting LUN = %d", lun);
        device.m_lun = lun;
        const int target = static_cast<int>(word & 0xFF);
        traceTo(m_traceLog, 4, "libscsitool: DEBUG: setting Target = %d", target);
        device.m_target = target;
        traceTo(m_traceLog, 4, "libscsitool: DEBUG: Exiting CScsiTool::UpdateTargetLunPortInfo()");
        return scsi::kSuccess;
    } catch (...) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: CScsiTool::UpdateTargetLunPortInfo() failed for device %s.",
                device.m_deviceName.c_str());
        throw static_cast<int>(scsi::kFailure);
    }
}

unsigned CScsiTool::GetScsiDeviceCapacity(CScsiDeviceHandle& /*handle*/,
                                          CScsiDeviceData& /*device*/) {
    traceTo(m_traceLog, 4, "libscsitool: DEBUG: Entering CScsiTool::GetScsiDeviceCapacity()");
    traceTo(m_traceLog, 4, "libscsitool: DEBUG: Exiting CScsiTool::GetScsiDeviceCapacity()");
    return scsi::kSuccess;
}

unsigned CScsiTool::RemoveDevice(CScsiDeviceData* device) {
    constexpr int kUnknownAdapter = -1;
    if (device == nullptr || device->m_port == kUnknownAdapter) {
        traceTo(m_traceLog, 2, "RemoveDevice: Unknown device or adapter");
        return scsi::kFailure;
    }
    // The one shell line of the library; it holds nothing but numbers.
    char line[255];
    V_snprintf(line, sizeof line,
               "/bin/echo \"scsi remove-single-device %d %d %d %d\" >  /proc/scsi/scsi",
               device->m_port, static_cast<int>(device->m_bus), device->m_target, device->m_lun);
    host::current().runShell(line);
    return scsi::kSuccess;
}
