#include "discovery/interrogation.h"

namespace discovery {

using tools::traceTo;

void askAll(const std::vector<CScsiDeviceData*>& devices, CScsiToolBase& tool,
            const qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log,
            const InterrogationWords& words) {
    for (CScsiDeviceData* const device : devices) {
        const char* const name = device->m_deviceName.c_str();
        if (words.announcement != nullptr) {
            traceTo(log, 6, "%s%s.", words.announcement, name);
        }
        if (tool.UpdateDevice(device) != 0) {
            traceTo(log, 3, "%s%s.", words.failure, name);
        }
    }
}

}  // namespace discovery
