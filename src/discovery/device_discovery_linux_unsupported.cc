// The operations of Linux discovery that act on the host and have no form of their own yet: they
// do what the base does. A file that implements one takes its lines out of here.
#include "discovery/device_discovery_linux.h"
#include "scsi/scsi_result.h"

int CLinuxDeviceDiscovery::rescanScsiBus(bool /*flag*/, const std::string& /*scriptArguments*/) {
    return scsi::kNotSupported;
}

void CLinuxDeviceDiscovery::removeDeadDevices(std::vector<CScsiDeviceData*>& devices,
                                              bool removeLun0) {
    CDeviceDiscoveryBase::removeDeadDevices(devices, removeLun0);
}

void CLinuxDeviceDiscovery::removeDevice(const std::string& devicePath) {
    CDeviceDiscoveryBase::removeDevice(devicePath);
}

int CLinuxDeviceDiscovery::removeStaleDevices(const std::string& /*scriptArguments*/) {
    return scsi::kNotSupported;
}

int CLinuxDeviceDiscovery::FlushMultipathStaleDevices() {
    return scsi::kNotSupported;
}
