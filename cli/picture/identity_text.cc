#include "cli/picture/identity_text.h"

#include <algorithm>

namespace cli::picture {
namespace {

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : jsonText(text);
}

}  // namespace

void addVolumeFields(Json& json, const IdentityFields& fields) {
    json["family"] = textOrNull(fields.family);
    json["array_serial"] = textOrNull(fields.arraySerial);
    json["volume_id"] = textOrNull(fields.volumeId);
    json["logical_unit_name"] = textOrNull(fields.logicalUnitName);
    json["serial"] = textOrNull(fields.serial);
}

void addFields(Json& json, const IdentityFields& fields) {
    addVolumeFields(json, fields);
    json["target_port"] = textOrNull(fields.targetPort);
    json["port_group"] = fields.portGroup ? Json(*fields.portGroup) : Json(nullptr);
}

std::vector<std::pair<const char*, std::string>> shownFields(const IdentityFields& fields) {
    std::vector<std::pair<const char*, std::string>> shown = {
        {"Family", fields.family},
        {"Array serial", fields.arraySerial},
        {"Volume", fields.volumeId},
        {"Unit name", fields.logicalUnitName},
        {"Unit serial", fields.serial},
        {"Target port", fields.targetPort},
        {"Port group", fields.portGroup ? std::to_string(*fields.portGroup) : std::string()}};
    shown.erase(std::remove_if(shown.begin(), shown.end(),
                               [](const auto& field) { return field.second.empty(); }),
                shown.end());
    return shown;
}

}  // namespace cli::picture
