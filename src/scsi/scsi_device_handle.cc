#include "scsitool/scsi/scsi_device_handle.h"

#include "scsi/scsi_result.h"
#include "scsitool/host/host.h"
#include "scsitool/scsi/scsi_configuration.h"
#include "tools/trace.h"

using tools::traceTo;

CScsiDeviceHandle::CScsiDeviceHandle() : m_descriptor(-1) {}

CScsiDeviceHandle::CScsiDeviceHandle(CScsiDeviceData& device)
    : m_devicePath(device.m_deviceName), m_descriptor(-1) {
    m_descriptor = openDevice(device, false);
}

CScsiDeviceHandle::~CScsiDeviceHandle() {
    if (holdsDescriptor()) {
        closeDevice(m_descriptor);
        m_devicePath.clear();
    }
}

int CScsiDeviceHandle::open(CScsiDeviceData& device, bool noThrow) {
    if (holdsDescriptor()) {
        return m_descriptor;
    }
    m_devicePath = device.m_deviceName;
    m_descriptor = openDevice(device, noThrow);
    return m_descriptor;
}

int CScsiDeviceHandle::openDevice(CScsiDeviceData& device, bool noThrow) {
    try {
        const std::string& path = device.m_deviceName;
        CScsiTuningParams settings;
        CScsiConfiguration::importTuningSettings(settings);
        const int opened = host::current().openDevice(path, host::OpenMode::kReadWriteNonBlocking);
        if (opened >= 0) {
            return opened;
        }
        constexpr int kFailed = -1;
        traceTo(m_traceLog, 2,
                "ERROR: CScsiDeviceHandle::openDevice() Invalid device handle [0x%x] for [%s], "
                "errno [%d] throwing",
                static_cast<unsigned>(kFailed), path.c_str(), -opened);
        if (!noThrow) {
            throw static_cast<int>(scsi::kFailure);
        }
        return kFailed;
    } catch (...) {
        traceTo(m_traceLog, 1,
                "ERROR: CScsiDeviceHandle::openDevice() caught unhandled exception.");
        throw static_cast<int>(scsi::kFailure);
    }
}

void CScsiDeviceHandle::closeDevice(int fd) {
    if (fd >= 0) {
        host::current().closeDevice(fd);
        m_descriptor = -1;
    }
}
