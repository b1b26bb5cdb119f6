#include "cli/picture/rows.h"

#include <algorithm>
#include <map>

#include "cli/base/text.h"
#include "cli/picture/identity_text.h"

namespace cli::picture {
namespace {

using Texts = std::vector<std::string>;

// device-mapper's control node and the like: there is nothing to be told of them.
bool holdsNothing(const Device& device) {
    return device.state.condition == Condition::kNoScsi && !device.sizeKb;
}

std::string udidText(const std::string& udid, bool isLastKnown, bool isPathUdid) {
    return udid.empty() ? "-"
                        : udid + (isLastKnown  ? " (last known)"
                                  : isPathUdid ? " (this path at this host only)"
                                               : "");
}

std::string udidText(const Device& device) {
    const bool isLastKnown = !device.lastKnownUdid.empty();
    return udidText(isLastKnown ? device.lastKnownUdid : device.udid, isLastKnown,
                    device.isPathUdid);
}

std::string addressOf(const Device& device) {
    return device.address ? addressText(*device.address) : "-";
}

// The state and what is remarkable, each once; what is remarkable goes before "ok".
Texts conditionOf(const Device& device) {
    Texts texts = device.marks;
    if (texts.empty() || device.state.condition != Condition::kOk) {
        texts.insert(texts.begin(), device.state.text);
    }
    return texts;
}

// What holds for all devices stands alone, other things with the devices that they hold for; those
// that are well are not named.
std::string conditionOf(const Picture& picture, const Volume& volume) {
    std::vector<std::pair<std::string, Texts>> said;
    for (const std::size_t place : volume.devices) {
        for (const std::string& text : conditionOf(picture.devices[place])) {
            auto known = std::find_if(said.begin(), said.end(),
                                      [&](const auto& one) { return one.first == text; });
            if (known == said.end()) {
                known = said.insert(said.end(), {text, {}});
            }
            known->second.push_back(picture.devices[place].name);
        }
    }
    Texts parts;
    for (const auto& [text, names] : said) {
        if (names.size() == volume.devices.size()) {
            parts.push_back(text);
        } else if (text != State().text) {
            parts.push_back(text + ": " + joined(names, " "));
        }
    }
    return joined(parts, "; ");
}

std::size_t pathsOf(const Picture& picture, const Volume& volume) {
    return static_cast<std::size_t>(std::count_if(
        volume.devices.begin(), volume.devices.end(),
        [&](std::size_t place) { return picture.devices[place].kind == Kind::kDisk; }));
}

Texts volumeRow(const Picture& picture, const Volume& volume) {
    Texts names;
    Texts addresses;
    for (const std::size_t place : volume.devices) {
        const Device& device = picture.devices[place];
        names.push_back(device.name);
        if (device.address) {
            addresses.push_back(addressText(*device.address));
        }
    }
    return {joined(names, " "),
            addresses.empty() ? "-" : joined(addresses, " "),
            volume.sizeKb ? sizeText(*volume.sizeKb) : "-",
            std::to_string(pathsOf(picture, volume)),
            conditionOf(picture, volume),
            udidText(volume.udid, volume.isLastKnown, volume.isPathUdid)};
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

const char* identityJson(const std::string& udid, bool isPathUdid) {
    return udid.empty() ? "none" : isPathUdid ? "path" : "unit";
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

std::string devicesText(const Picture& picture, const Layout& layout) {
    Table table(
        {{"DEVICE"}, {"CLAIM", true}, {"ADDRESS"}, {"STATE", false, true}, {"UDID", false, true}});
    for (const Device& device : picture.devices) {
        if (!holdsNothing(device)) {
            table.addRow({device.name, std::to_string(device.claimLevel), addressOf(device),
                          joined(conditionOf(device), "; "), udidText(device)},
                         device.isAlarming ? Tone::kAlarm : Tone::kPlain);
        }
    }
    return table.str(layout);
}

std::string disksText(const Picture& picture, const Layout& layout) {
    Table table({{"DISK"}, {"ADDRESS"}, {"SIZE", true}, {"KIB", true}, {"STATE", false, true}});
    std::vector<Device> disks = picture.devices;
    // sdz goes before sdaa, as the kernel names them.
    std::stable_sort(disks.begin(), disks.end(), [](const Device& a, const Device& b) {
        return a.name.size() < b.name.size();
    });
    for (const Device& device : disks) {
        table.addRow({device.name, addressOf(device),
                      device.sizeKb ? sizeText(*device.sizeKb) : "-",
                      device.sizeKb ? std::to_string(*device.sizeKb) : "-", device.state.text});
    }
    return table.str(layout);
}

std::string volumesText(const Picture& picture, const Layout& layout) {
    Table table({{"DEVICES", false, true},
                 {"ADDRESSES", false, true},
                 {"SIZE", true},
                 {"PATHS", true},
                 {"STATE", false, true},
                 {"UDID", false, true}});
    for (const Volume& volume : picture.volumes) {
        const bool isAlarming =
            std::any_of(volume.devices.begin(), volume.devices.end(),
                        [&](std::size_t place) { return picture.devices[place].isAlarming; });
        table.addRow(volumeRow(picture, volume), isAlarming ? Tone::kAlarm : Tone::kPlain);
    }
    return table.str(layout);
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
