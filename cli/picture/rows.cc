#include "cli/picture/rows.h"

#include <algorithm>
#include <map>

#include "cli/picture/identity_text.h"

namespace cli::picture {
namespace {

std::size_t pathsOf(const Picture& picture, const Volume& volume) {
    return static_cast<std::size_t>(std::count_if(
        volume.devices.begin(), volume.devices.end(),
        [&](std::size_t place) { return picture.devices[place].kind == Kind::kDisk; }));
}

Json addressJson(const Device& device) {
    if (!device.address) {
        return nullptr;
    }
    const ScsiAddress& at = *device.address;
    return Json::array({at.host, at.channel, at.target, at.lun});
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : jsonText(text);
}

// What an entry of any list has in addition to its name.
void describe(Json& json, const Device& device) {
    json["address"] = addressJson(device);
    json["hctl"] = device.address ? Json(addressText(*device.address)) : Json(nullptr);
    json["state"] = jsonText(device.state.text);
    json["last_known_udid"] = textOrNull(device.lastKnownUdid);
    json["marks"] = Json::array();
    for (const std::string& mark : device.marks) {
        json["marks"].push_back(jsonText(mark));
    }
}

Json sizeJson(const std::optional<std::uint64_t>& sizeKb) {
    return sizeKb ? Json(*sizeKb) : Json(nullptr);
}

Json volumeJson(const Picture& picture, const Volume& volume) {
    Json json = {
        {"udid", volume.isLastKnown ? Json("") : jsonText(volume.udid)},
        {"size_kb", sizeJson(volume.sizeKb)},
        {"paths", pathsOf(picture, volume)},
        {"devices", Json::array()},
        {"identity", identityJson(volume.isLastKnown ? "" : volume.udid, volume.isPathUdid)},
        {"last_known_udid", volume.isLastKnown ? jsonText(volume.udid) : Json(nullptr)}};
    addVolumeFields(json, fieldsOf(picture, volume));
    for (const std::size_t place : volume.devices) {
        Json device = {{"name", jsonText(picture.devices[place].name)},
                       {"claim_level", picture.devices[place].claimLevel}};
        describe(device, picture.devices[place]);
        addFields(device, picture.devices[place].fields);
        json["devices"].push_back(std::move(device));
    }
    return json;
}

}  // namespace

const char* identityJson(const std::string& udid, bool isPathUdid) {
    return udid.empty() ? "none" : isPathUdid ? "path" : "unit";
}

void addToDeviceMap(Json& devices, const Picture& picture) {
    std::map<Json, const Device*> byName;
    for (const Device& device : picture.devices) {
        byName[jsonText(device.name)] = &device;
    }
    for (Json& json : devices) {
        const auto found = byName.find(json["name"]);
        if (found == byName.end()) {
            continue;
        }
        const Device& device = *found->second;
        if (json.contains("udid")) {
            json["identity"] = identityJson(device.udid, device.isPathUdid);
            addFields(json, device.fields);
        }
        describe(json, device);
    }
}

Json unidentifiedJson(const Picture& picture) {
    Json list = Json::array();
    for (const Device& device : picture.devices) {
        if (!device.isListed) {
            Json json = {{"name", jsonText(device.name)}};
            describe(json, device);
            json["size_kb"] = sizeJson(device.sizeKb);
            addFields(json, device.fields);
            list.push_back(std::move(json));
        }
    }
    return list;
}

Json volumesJson(const Picture& picture) {
    Json list = Json::array();
    for (const Volume& volume : picture.volumes) {
        list.push_back(volumeJson(picture, volume));
    }
    return list;
}

Json contradictionsJson(const Picture& picture) {
    Json list = Json::array();
    for (const Contradiction& found : picture.contradictions) {
        Json devices = Json::array();
        for (const std::size_t place : found.devices) {
            devices.push_back(jsonText(picture.devices[place].name));
        }
        list.push_back({{"kind", nameOf(found.kind)},
                        {"devices", std::move(devices)},
                        {"text", jsonText(found.text)}});
    }
    return list;
}

}  // namespace cli::picture
