#include "scsitool/udid/device_udid_factory.h"

#include <cstring>
#include <utility>

#include "scsi/record_list.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/identity.h"
#include "scsitool/udid/reporter.h"
#include "scsitool/udid/taq_udid_generator.h"
#include "scsitool/udid/udid_text.h"
#include "tools/letters.h"
#include "tools/trace.h"
#include "udid/families.h"

using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace {

constexpr char kSource[] = "device_udid_factory";
constexpr std::size_t kShortUdid = 7;

void enter(DeviceMap& devices, int claimLevel, const std::string& deviceName, std::string uid) {
    SDeviceInfo& info = devices[deviceName];
    info.dmpClaimLevel = claimLevel;
    info.deviceName = deviceName;
    info.uid = std::move(uid);
    info.nativePaths.clear();
}

void warnOfShortUdid(const CUDIDFactory& factory, const std::string& deviceName,
                     const std::string& uid) {
    if (uid.size() <= kShortUdid) {
        traceTo(factory.m_traceLog, 2, "WARNING: invalid UDID for device %s, assigned empty UDID",
                deviceName.c_str());
    }
}

void tell(udid::Reporter* listener, udid::Step step) {
    if (listener != nullptr) {
        listener->stepped(step, std::string());
    }
}

void tellFailure(const CUdidGeneratorException& failure) {
    if (udid::Reporter* const listener = udid::reporter()) {
        listener->stepped(udid::Step::kFailed, failure.getMessageId());
    }
}

// What stands in the map for a device whose generator failed and nobody stepped in, as in TAQ mode.
void enterFailed(const CUDIDFactory& factory, const CUdidGeneratorException& failure,
                 const std::string& deviceName, DeviceMap& devices) {
    traceTo(factory.m_traceLog, 2,
            "WARNING: Caught CUdidGeneratorException [%s]: %s assigned empty UDID",
            failure.getMessageId().c_str(), deviceName.c_str());
    tellFailure(failure);
    enter(devices, 0, deviceName, std::string());
}

// Puts the UDID together. The prefix stands in the result before the body is asked for, and stays
// when that fails.
void build(CUdidGenerator& generator, CScsiDeviceData& device, udid::Reporter* listener,
           std::string& result) {
    tell(listener, udid::Step::kPrefix);
    result = generator.getUniqueDeviceIDPrefix(&device);
    tell(listener, udid::Step::kBody);
    result += generator.getUniqueDeviceID(&device);
}

}  // namespace

CUDIDFactory::CUDIDFactory() : m_taqMode(false) {
    m_generators = udid::createGenerators();
    m_taqGenerator = std::make_unique<CTAQUdidGenerator>("TAQ", "TAQ");
}

CUDIDFactory::~CUDIDFactory() {
    // The other generators stay: whoever took one from the list may still hold it.
    m_taqGenerator.reset();
    clearDeviceCache();
}

void CUDIDFactory::registerTraceLog(qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log) {
    m_traceLog = log;
    m_discovery.registerTraceLog(log);
    m_dmpManager.registerTraceLog(log);
    for (CUdidGenerator* const generator : m_generators) {
        generator->registerTraceLog(log);
    }
    if (m_taqGenerator != nullptr) {
        m_taqGenerator->registerTraceLog(log);
    }
}

DeviceMap CUDIDFactory::enumerateDeviceMap(bool dropInvalid, bool busRescanFlag, bool ignoredFlag,
                                           const std::string& enumerateArgument,
                                           const std::string& busRescanArgument) {
    // A caller may well name the device by the record that is freed here.
    // NOLINTBEGIN(performance-unnecessary-copy-initialization)
    const std::string deviceName = enumerateArgument;
    const std::string scriptArguments = busRescanArgument;
    // NOLINTEND(performance-unnecessary-copy-initialization)
    clearDeviceCache();
    m_devices = scsi::owned(
        m_discovery.rescan(dropInvalid, busRescanFlag, ignoredFlag, deviceName, scriptArguments));
    m_deviceMap.clear();
    for (const auto& device : m_devices) {
        if (dropInvalid && device->m_invalid != 0) {
            if (m_deviceMap.count(device->m_deviceName) != 0) {
                traceTo(m_traceLog, 3, "INFO: removing invalid device data for [%s]",
                        device->m_deviceName.c_str());
                m_deviceMap.erase(device->m_deviceName);
            }
            continue;
        }
        enterDevice(*device);
    }
    traceTo(m_traceLog, 3, "Printing m_deviceMap");
    printDeviceMap(m_deviceMap);
    return m_deviceMap;
}

void CUDIDFactory::enterDevice(CScsiDeviceData& device) {
    const std::string& name = device.m_deviceName;
    try {
        std::string uid = getUniqueDeviceID(&device);
        traceTo(m_traceLog, 3, "Generated UDID is %s", uid.c_str());
        warnOfShortUdid(*this, name, uid);
        enter(m_deviceMap, device.m_dmpClaimLevel, name, std::move(uid));
    } catch (const CUdidGeneratorException& failure) {
        enterFailed(*this, failure, name, m_deviceMap);
    }
}

std::string CUDIDFactory::getUniqueDeviceID(CScsiDeviceData* device) {
    if (udid::IdentityReporter* const listener = udid::identityReporter()) {
        listener->began(*device);
    }
    const auto preset = m_presetDeviceMap.find(device->m_deviceName);
    if (preset != m_presetDeviceMap.end()) {
        udid::remark("the caller assigned this UDID in advance");
        return CStringTool::tostrupper(preset->second.uid);
    }
    std::string result;
    if (m_taqMode) {
        udid::remark("TAQ mode: no generator is asked for its claim");
        build(*m_taqGenerator, *device, udid::reporter(), result);
        return result;
    }
    for (CUdidGenerator* const generator : m_generators) {
        if (tryGenerator(*generator, *device, result)) {
            break;
        }
    }
    // When every claiming generator failed, the prefix of the last one is left in the result.
    tools::makeUpper(result);
    return result;
}

bool CUDIDFactory::tryGenerator(CUdidGenerator& generator, CScsiDeviceData& device,
                                std::string& result) {
    udid::Reporter* const listener = udid::reporter();
    if (listener != nullptr) {
        listener->stepped(udid::Step::kAsked, generator.getGeneratorName());
    }
    try {
        const bool claims = generator.claimDevice(&device);
        tell(listener, claims ? udid::Step::kClaimed : udid::Step::kDeclined);
        if (claims) {
            build(generator, device, listener, result);
        }
        return claims;
    } catch (const CUdidGeneratorException& failure) {
        traceTo(m_traceLog, 2, "WARNING: getUniqueDeviceID caught exception: [%s],skipping device.",
                failure.getMessageId().c_str());
        tellFailure(failure);
        return false;
    }
}

std::string CUDIDFactory::getCachedUniqueDeviceID(const char* deviceName, bool rescanIfMissing) {
    const std::string name = deviceName != nullptr ? deviceName : "";
    const auto preset = m_presetDeviceMap.find(name);
    if (preset != m_presetDeviceMap.end()) {
        return m_taqMode ? preset->second.uid : CStringTool::tostrupper(preset->second.uid);
    }
    traceTo(m_traceLog, 6, "CUDIDFactory::getCachedUniqueDeviceID() Device [%s]", name.c_str());
    m_deviceMap = enumerateDeviceMap(false, false, false, name, "");
    // This enumeration was narrowed to the name, so for an unknown one the map is empty; a caller
    // who asked for it has the whole host rescanned.
    if (m_deviceMap.count(name) == 0 && rescanIfMissing) {
        m_deviceMap = enumerateDeviceMap(true, false, false, "", "");
    }
    if (m_deviceMap.empty()) {
        return std::string();
    }
    const auto found = m_deviceMap.find(name);
    if (found == m_deviceMap.end()) {
        traceNotFound(name);
        return std::string();
    }
    return m_taqMode ? found->second.uid : CStringTool::tostrupper(found->second.uid);
}

void CUDIDFactory::traceNotFound(const std::string& deviceName) {
    traceTo(m_traceLog, 2,
            "CUDIDFactory::getCachedUniqueDeviceID() Device %s not found, map contents are:",
            deviceName.c_str());
    for (const auto& [key, info] : m_deviceMap) {
        traceTo(m_traceLog, 2, "\t\t[%s] : [%s]\n", key.c_str(), info.uid.c_str());
    }
}

DeviceMap CUDIDFactory::validateDeviceMap(std::string deviceName) {
    DeviceMap devices;
    for (const auto& device : scsi::owned(m_discovery.validateDevice(deviceName))) {
        const std::string& name = device->m_deviceName;
        try {
            std::string uid = getUniqueDeviceID(device.get());
            if (!m_taqMode) {
                warnOfShortUdid(*this, name, uid);
            } else if (uid.size() < std::strlen(udid::taq_udid_prefix)) {
                traceTo(m_traceLog, 2,
                        "WARNING: FIM name:[TAQ_FIM]. Invalid UDID for device %s, assigned empty "
                        "UDID",
                        name.c_str());
            }
            enter(devices, device->m_dmpClaimLevel, name, std::move(uid));
        } catch (const CUdidGeneratorException& failure) {
            enterFailed(*this, failure, name, devices);
        }
    }
    return devices;
}

int CUDIDFactory::removeStaleDevices(const std::string& scriptArguments) {
    const CFiTraceLogFunction function(m_traceLog, "removeStaleDevices", kSource);
    return m_discovery.removeStaleDevices(scriptArguments);
}

void CUDIDFactory::removeDevice(const std::string& deviceName) {
    m_discovery.removeDevice(deviceName);
}

void CUDIDFactory::clearDeviceCache() {
    const CFiTraceLogFunction function(m_traceLog, "clearDeviceCache", kSource);
    m_devices.clear();
}

void CUDIDFactory::printDeviceMap(const DeviceMap& devices) {
    for (const auto& [key, info] : devices) {
        traceTo(m_traceLog, 3, "Uid [%s] \tDeviceName [%s] \tdmpClaimLevel [%d]", info.uid.c_str(),
                info.deviceName.c_str(), info.dmpClaimLevel);
        for (const std::string& path : info.nativePaths) {
            traceTo(m_traceLog, 3, "DeviceName [%s] \tNativePath [%s]", info.deviceName.c_str(),
                    path.c_str());
        }
    }
}
