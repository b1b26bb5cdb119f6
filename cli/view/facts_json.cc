#include "cli/view/facts_json.h"

#include <algorithm>
#include <map>
#include <set>

#include "cli/picture/rows.h"

namespace cli::view {
namespace {

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : jsonText(text);
}

Json usersJson(const std::optional<Users>& users) {
    if (!users) {
        return nullptr;
    }
    Json list = Json::array();
    for (const User& user : *users) {
        list.push_back({{"kind", nameOf(user.kind)}, {"name", jsonText(user.name)}});
    }
    return list;
}

Json livesJson(Life life) {
    return life == Life::kUntold ? Json(nullptr) : Json(life == Life::kLiving);
}

template <class Number>
Json numberOrNull(const std::optional<Number>& number) {
    return number ? Json(*number) : Json(nullptr);
}

Json partitionsJson(const std::optional<std::vector<Partition>>& partitions) {
    if (!partitions) {
        return nullptr;
    }
    Json list = Json::array();
    for (const Partition& partition : *partitions) {
        list.push_back({{"name", jsonText(partition.name)},
                        {"size_kb", numberOrNull(partition.sizeKb)},
                        {"used_by", usersJson(partition.users)}});
    }
    return list;
}

Json pathGroupJson(const Scene& scene, std::size_t place) {
    const DeviceFacts& facts = scene.facts[place];
    if (facts.mapGroup == 0) {
        return nullptr;
    }
    return {{"number", facts.mapGroup},
            {"state", facts.mapGroupState},
            {"policy", textOrNull(scene.details->policyOf(scene.picture.devices[place]))}};
}

void describeDetails(Json& json, const Scene& scene, std::size_t place) {
    const picture::Device& device = scene.picture.devices[place];
    const DeviceFacts& facts = scene.facts[place];
    const Details& details = scene.details->of(device);
    json["device_number"] = textOrNull(details.number);
    json["wwid"] = textOrNull(details.wwid);
    json["read_only"] = numberOrNull(details.isReadOnly);
    json["partitions"] = partitionsJson(details.partitions);
    if (device.kind == picture::Kind::kDisk) {
        json["device_type"] = textOrNull(details.type);
        json["remote_port"] = textOrNull(facts.ports.target);
        json["portal_group"] = numberOrNull(facts.ports.portalGroup);
        json["path_group"] = pathGroupJson(scene, place);
    }
    if (device.kind == picture::Kind::kMap) {
        json["features"] = textOrNull(details.features);
        json["hardware_handler"] = textOrNull(details.handler);
    }
}

void describe(Json& json, const Scene& scene, std::size_t place) {
    const picture::Device& device = scene.picture.devices[place];
    const DeviceFacts& facts = scene.facts[place];
    if (!json.contains("size_kb")) {
        json["size_kb"] = numberOrNull(device.sizeKb);
    }
    json["vendor"] = textOrNull(facts.vendor);
    json["product"] = textOrNull(facts.product);
    json["revision"] = textOrNull(facts.revision);
    json["kernel_name"] = textOrNull(device.kernelName);
    json["used_by"] = usersJson(facts.users);
    if (device.kind == picture::Kind::kDisk) {
        json["lives"] = livesJson(facts.life);
        json["kernel_state"] = textOrNull(device.kernelState.state);
        json["access_state"] = textOrNull(device.kernelState.accessState);
        json["mapper_state"] = textOrNull(facts.mapperState);
        json["initiator_port"] = textOrNull(facts.ports.initiator);
        if (json["target_port"].is_null()) {
            json["target_port"] = textOrNull(facts.ports.target);
        }
        json["driver"] = textOrNull(facts.ports.driver);
        json["generic_node"] = textOrNull(facts.genericNode);
    }
    describeDetails(json, scene, place);
}

Json cellJson(const Row& row, const char* column) {
    return textOrNull(findColumn(column)->cellOf(row).text);
}

Json lunsJson(const Row& row) {
    std::set<std::uint64_t> luns;
    for (const std::size_t place : row.devices) {
        const auto& address = row.scene->picture.devices[place].address;
        if (address) {
            luns.insert(address->lun);
        }
    }
    return luns;
}

void describe(Json& json, const Row& row) {
    const auto living = livingOf(*row.scene, row.devices);
    json["name"] = cellJson(row, "device");
    json["living_paths"] = numberOrNull(living);
    json["vendor"] = cellJson(row, "vendor");
    json["product"] = cellJson(row, "product");
    json["revision"] = cellJson(row, "revision");
    json["luns"] = lunsJson(row);
    json["used_by"] = usersJson(usersOf(*row.scene, row.devices));
    for (std::size_t i = 0; i < row.devices.size(); ++i) {
        describe(json["devices"][i], *row.scene, row.devices[i]);
    }
}

}  // namespace

Json volumesJson(const Rows& rows) {
    Json list = Json::array();
    if (rows.empty()) {
        return list;
    }
    Json all = picture::volumesJson(rows.front().scene->picture);
    for (const Row& row : rows) {
        describe(all[row.volume], row);
        list.push_back(std::move(all[row.volume]));
    }
    return list;
}

void addFacts(Json& devices, const Scene& scene) {
    std::map<Json, std::size_t> places;
    for (std::size_t i = 0; i < scene.picture.devices.size(); ++i) {
        places[jsonText(scene.picture.devices[i].name)] = i;
    }
    for (Json& json : devices) {
        const auto found = places.find(json["name"]);
        if (found != places.end()) {
            describe(json, scene, found->second);
        }
    }
}

void keepThese(Json& devices, const Scene& scene, const Rows& rows) {
    std::set<Json> names;
    for (const Row& row : rows) {
        names.insert(jsonText(scene.picture.devices[row.devices.front()].name));
    }
    Json kept = Json::array();
    for (Json& json : devices) {
        if (names.count(json["name"]) != 0) {
            kept.push_back(std::move(json));
        }
    }
    devices = std::move(kept);
}

}  // namespace cli::view
