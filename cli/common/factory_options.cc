#include "cli/common/factory_options.h"

#include <cstring>

#include "cli/base/failure.h"
#include "recording/text/strict_json.h"
#include "scsitool/host/own_files.h"

namespace cli {
namespace {

// The file is one of this machine, whatever host is worked on.
DeviceMap loadPreset(const std::string& path) {
    const host::ReadResult read = host::readInputFile(path);
    if (read.error() != 0) {
        throw UsageError(path + ": cannot read the preset file: " + std::strerror(read.error()));
    }
    nlohmann::json preset;
    try {
        preset = recording::parseStrictJson(read.content);
    } catch (const recording::JsonError& wrong) {
        throw UsageError(path + ":" + wrong.place() + ": " + wrong.what());
    }
    if (!preset.is_object()) {
        throw UsageError(path + ": expected a JSON object of device name to UDID");
    }
    DeviceMap devices;
    for (const auto& [name, udid] : preset.items()) {
        if (!udid.is_string()) {
            throw UsageError(path + ":" + recording::pointerStep(name) +
                             ": expected a string, the device's UDID");
        }
        SDeviceInfo& info = devices[name];
        info.deviceName = name;
        info.uid = udid.get<std::string>();
    }
    return devices;
}

}  // namespace

void FactoryOptions::declare(CLI::App& command) {
    command.add_flag("--taq", m_taq, "Give the UDIDs of the TAQ snapshot method");
    command
        .add_option("--preset", m_presetFile,
                    "Take UDIDs from FILE, a JSON object of device name to UDID")
        ->type_name("FILE");
}

void FactoryOptions::apply(CUDIDFactory& factory) const {
    factory.m_taqMode = m_taq;
    if (!m_presetFile.empty()) {
        factory.m_presetDeviceMap = loadPreset(m_presetFile);
    }
}

Json devicesJson(const DeviceMap& devices) {
    Json list = Json::array();
    for (const auto& [name, info] : devices) {
        Json paths = Json::array();
        for (const std::string& path : info.nativePaths) {
            paths.push_back(jsonText(path));
        }
        list.push_back({{"name", jsonText(name)},
                        {"udid", jsonText(info.uid)},
                        {"claim_level", info.dmpClaimLevel},
                        {"native_paths", paths}});
    }
    return list;
}

}  // namespace cli
