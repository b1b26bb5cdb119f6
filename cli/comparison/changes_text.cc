#include "cli/comparison/changes_text.h"

#include <map>

#include "cli/base/text.h"

namespace cli::comparison {
namespace {

using Kind = VolumeChange::Kind;

std::string pathsText(const HostVolume& volume) {
    const std::size_t well = wellPathsOf(volume);
    const std::string all = std::to_string(volume.paths.size());
    return well == volume.paths.size() ? all : std::to_string(well) + "/" + all;
}

// What is compared, as a person reads it.
std::string valueText(Kind kind, const HostVolume& volume) {
    switch (kind) {
        case Kind::kShrunk:
        case Kind::kGrown:
            return sizeText(*volume.sizeKb);
        case Kind::kFewerPaths:
        case Kind::kMorePaths:
            return pathsText(volume);
        case Kind::kRenamed:
            return joined(namesOf(volume), " ");
        case Kind::kOtherRevision:
            return volume.revision;
        default:
            return volume.udid.empty() ? volume.unitName : volume.udid;
    }
}

std::string whatText(const VolumeChange& change) {
    if (change.kind == Kind::kNew || change.kind == Kind::kGone) {
        const HostVolume& volume = change.after != nullptr ? *change.after : *change.before;
        return (volume.sizeKb ? sizeText(*volume.sizeKb) + ", " : std::string()) +
               pathsText(volume) + " path" + (volume.paths.size() == 1 ? "" : "s");
    }
    return (change.address.empty() ? "" : change.address + ": ") +
           valueText(change.kind, *change.before) + " -> " + valueText(change.kind, *change.after);
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : jsonText(text);
}

Json volumeJson(const HostVolume* volume) {
    if (volume == nullptr) {
        return nullptr;
    }
    Json json = {{"udid", jsonText(volume->udid)},
                 {"logical_unit_name", textOrNull(volume->unitName)},
                 {"name", textOrNull(nameOf(*volume))},
                 {"size_kb", volume->sizeKb ? Json(*volume->sizeKb) : Json(nullptr)},
                 {"paths", volume->paths.size()},
                 {"paths_well", wellPathsOf(*volume)},
                 {"revision", textOrNull(volume->revision)},
                 {"devices", Json::array()}};
    for (const std::string& name : volume->maps) {
        json["devices"].push_back(jsonText(name));
    }
    for (const Path& path : volume->paths) {
        json["devices"].push_back(jsonText(path.name));
    }
    return json;
}

}  // namespace

std::string changesText(const std::vector<VolumeChange>& changes, const Layout& layout) {
    if (changes.empty()) {
        return "no change\n";
    }
    Table table({{"CHANGE"}, {"VOLUME"}, {"WHAT", false, true}, {"UDID", false, true, true}});
    for (const VolumeChange& change : changes) {
        const HostVolume& volume = change.after != nullptr ? *change.after : *change.before;
        const std::string& name = nameOf(volume);
        const std::string& udid = volume.udid;
        table.addRow({nameOf(change.kind), name.empty() ? "-" : name, whatText(change),
                      udid.empty() ? "-" : udid},
                     change.kind == Kind::kRemapped ? Tone::kAlarm : Tone::kPlain);
    }
    return table.str(layout);
}

Json changesJson(const std::vector<VolumeChange>& changes) {
    Json list = Json::array();
    for (const VolumeChange& change : changes) {
        list.push_back({{"kind", nameOf(change.kind)},
                        {"address", textOrNull(change.address)},
                        {"before", volumeJson(change.before)},
                        {"after", volumeJson(change.after)}});
    }
    return list;
}

std::string countsText(const std::vector<VolumeChange>& changes) {
    std::map<Kind, std::size_t> counts;
    for (const VolumeChange& change : changes) {
        ++counts[change.kind];
    }
    std::vector<std::string> parts;
    for (const auto& [kind, count] : counts) {
        parts.push_back(std::to_string(count) + " " + nameOf(kind));
    }
    return joined(parts, ", ");
}

}  // namespace cli::comparison
