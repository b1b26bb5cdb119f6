#include "dmp/pseudo_device.h"

namespace dmp {

void addPseudoDevice(DeviceMap& devices, const std::string& path) {
    constexpr int kMultipathClaimLevel = 16;
    SDeviceInfo info;
    info.dmpClaimLevel = kMultipathClaimLevel;
    info.deviceName = path;
    devices[path] = info;
}

bool endsInDigit(const std::string& text) {
    return !text.empty() && text.back() >= '0' && text.back() <= '9';
}

}  // namespace dmp
