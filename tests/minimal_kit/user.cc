// A plug-in whose kit is not the one that ships: it computes a UDID and looks at the trace.
#include <algorithm>
#include <cstdio>

#include "scsitool/udid/device_udid_factory.h"

int main() {
    using qzfi_pdk_4_4::CFiSmartPtr;
    using qzfi_pdk_4_4::CFiTraceLog;
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    CUDIDFactory factory;
    factory.registerTraceLog(log);

    CScsiDeviceData record("/dev/sda", "", "db01", 0, 0, 0, -1, "ACME    ", "Disk", "", 0);
    const std::string udid = factory.getUniqueDeviceID(&record);
    if (udid.rfind("UDID##ACME##DISK##/DEV/SDA@", 0) != 0) {
        std::printf("the UDID is %s\n", udid.c_str());
        return 1;
    }
    const std::string expected = "3 INFO: registering trace log on discovery module";
    if (std::count(log->lines.begin(), log->lines.end(), expected) == 0) {
        std::printf("of %zu trace lines none is \"%s\"\n", log->lines.size(), expected.c_str());
        return 1;
    }
    return 0;
}
