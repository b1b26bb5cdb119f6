// How a plug-in uses the library: it registers its trace log once, enumerates, and asks for the
// UDID of a device by name.
#include <cstdio>
#include <memory>
#include <string>

#include "scsitool/kit/trace_log.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

class StandardError : public qzfi_pdk_4_4::CFiTraceSink {
  public:
    void write(int level, const std::string& message) override {
        std::fprintf(stderr, "[%d] %s\n", level, message.c_str());
    }
};

}  // namespace

int main() {
    using qzfi_pdk_4_4::CFiTraceLog;
    constexpr int kWarnings = 2;
    qzfi_pdk_4_4::CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(std::make_shared<StandardError>(), kWarnings);

    CUDIDFactory factory;
    factory.registerTraceLog(log);
    for (const auto& [name, device] : factory.enumerateDeviceMap(false, false, false, "", "")) {
        std::printf("%s\t%s\n", name.c_str(), device.uid.c_str());
    }
    return 0;
}
