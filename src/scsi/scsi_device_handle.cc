#include "scsitool/scsi/scsi_device_handle.h"

#include "scsi/opened_on.h"
#include "scsi/scsi_result.h"
#include "scsitool/host/host.h"
#include "scsitool/scsi/scsi_configuration.h"
#include "tools/trace.h"

using tools::traceTo;

CScsiDeviceHandle::CScsiDeviceHandle() : m_descriptor(-1), m_openedOn(0) {}

CScsiDeviceHandle::CScsiDeviceHandle(CScsiDeviceData& device) : m_descriptor(-1), m_openedOn(0) {
    keepOpened(host::current(), device, false);
}

CScsiDeviceHandle::~CScsiDeviceHandle() {
    if (!holdsDescriptor()) {
        return;
    }
    try {
        closeDevice(m_descriptor);
    } catch (...) {
        // A host that has no memory left: an exception here would end the process.
        m_descriptor = -1;
    }
    m_devicePath.clear();
}

int CScsiDeviceHandle::open(CScsiDeviceData& device, bool noThrow) {
    if (!holdsDescriptor()) {
        keepOpened(host::current(), device, noThrow);
    }
    return m_descriptor;
}

int CScsiDeviceHandle::openDevice(CScsiDeviceData& device, bool noThrow) {
    return openNode(host::current(), device, noThrow);
}

void CScsiDeviceHandle::keepOpened(host::Host& host, CScsiDeviceData& device, bool noThrow) {
    m_devicePath = device.m_deviceName;
    m_descriptor = openNode(host, device, noThrow);
    m_openedOn = m_descriptor >= 0 ? host.instance() : 0;
}

int CScsiDeviceHandle::openNode(host::Host& host, CScsiDeviceData& device, bool noThrow) {
    try {
        const std::string& path = device.m_deviceName;
        CScsiTuningParams settings;
        CScsiConfiguration::importTuningSettings(settings);
        const int opened = host.openDevice(path, host::OpenMode::kReadWriteNonBlocking);
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
    if (fd < 0) {
        return;
    }
    host::Host* const host = fd == m_descriptor ? opener() : &host::current();
    m_descriptor = -1;
    m_openedOn = 0;
    if (host != nullptr) {
        host->closeDevice(fd);
    }
}

host::Host* CScsiDeviceHandle::opener() const {
    host::Host& current = host::current();
    if (m_openedOn == 0 || m_openedOn == current.instance()) {
        return &current;
    }
    return host::hostOf(m_openedOn);
}

host::Host& scsi::HostOfHandle::openedOn(const CScsiDeviceHandle& handle) {
    host::Host* const host = handle.opener();
    if (host == nullptr) {
        throw static_cast<int>(scsi::kFailure);
    }
    return *host;
}

int scsi::HostOfHandle::openOn(host::Host& host, CScsiDeviceHandle& handle, CScsiDeviceData& device,
                               bool noThrow) {
    if (!handle.holdsDescriptor()) {
        handle.keepOpened(host, device, noThrow);
    }
    return handle.m_descriptor;
}
