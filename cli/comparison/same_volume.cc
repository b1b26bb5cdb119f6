#include "cli/comparison/same_volume.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "cli/picture/identity_text.h"

namespace cli::comparison {
namespace {

using picture::Agreement;

// Without what is of one path or of one host.
const std::string& volumeUdid(const IdentifiedDevice& device) {
    static const std::string kNone;
    return device.fields.family.empty() ? kNone : device.udid;
}

bool isByName(const IdentifiedDevice& left, const IdentifiedDevice& right) {
    return picture::agreement(left.names, right.names) != Agreement::kUntold;
}

/// A thing that is told of a device and what people call it.
using Told = std::vector<std::pair<std::string, std::string>>;

Told toldOf(const IdentifiedDevice& device) {
    Told told = {{"UDID", device.udid.empty() ? "-" : device.udid}};
    for (auto& [what, text] : picture::shownFields(device.fields)) {
        told.emplace_back(what, std::move(text));
    }
    return told;
}

/// Of both devices, in the order of the fields; "-" where one does not tell.
struct Compared {
    std::string what;
    std::string mailed;
    std::string device;
};

std::vector<Compared> comparedOf(const IdentifiedDevice& mailed, const IdentifiedDevice& device) {
    std::vector<Compared> all;
    for (auto& [what, text] : toldOf(mailed)) {
        all.push_back({what, std::move(text), "-"});
    }
    for (auto& [what, text] : toldOf(device)) {
        const auto known = std::find_if(all.begin(), all.end(), [&, &name = what](const auto& one) {
            return one.what == name;
        });
        if (known == all.end()) {
            all.push_back({what, "-", std::move(text)});
        } else {
            known->device = std::move(text);
        }
    }
    return all;
}

}  // namespace

Agreement sameVolume(const IdentifiedDevice& left, const IdentifiedDevice& right) {
    if (isByName(left, right)) {
        return picture::agreement(left.names, right.names);
    }
    const std::string& one = volumeUdid(left);
    const std::string& other = volumeUdid(right);
    if (one.empty() || other.empty()) {
        return Agreement::kUntold;
    }
    return one == other ? Agreement::kSame : Agreement::kDifferent;
}

std::string sameVolumeSentence(const IdentifiedDevice& mailed, const IdentifiedDevice& device) {
    const std::string both = mailed.name + " as mailed and " + device.name;
    const bool isName = isByName(mailed, device);
    switch (sameVolume(mailed, device)) {
        case Agreement::kSame:
            return both + " are the same volume: " +
                   (isName ? "page 0x83 names one logical unit"
                           : "page 0x83 has no name in common, their UDIDs are equal");
        case Agreement::kDifferent:
            return both + " are not the same volume: " +
                   (isName ? "page 0x83 names two logical units"
                           : "page 0x83 has no name in common, their UDIDs differ");
        case Agreement::kUntold:
            break;
    }
    return both +
           ": it cannot be told whether they are the same volume, one has neither a name in "
           "page 0x83 nor a UDID of its volume";
}

std::string sameVolumeTable(const IdentifiedDevice& mailed, const IdentifiedDevice& device,
                            const Layout& layout) {
    Table table({{"WHAT"}, {"SAME"}, {"WHERE"}, {"VALUE", false, true}});
    for (const Compared& one : comparedOf(mailed, device)) {
        if (one.mailed == one.device) {
            table.addRow({one.what, "yes", "both", one.mailed});
        } else {
            table.addRow({one.what, "no", mailed.name + ", mailed", one.mailed});
            table.addRow({"", "", device.name, one.device});
        }
    }
    return table.str(layout);
}

Json sameVolumeJson(const IdentifiedDevice& mailed, const IdentifiedDevice& device) {
    const auto sideJson = [](const IdentifiedDevice& side) {
        Json json = {{"name", jsonText(side.name)}, {"udid", jsonText(side.udid)}};
        picture::addFields(json, side.fields);
        return json;
    };
    const Agreement agreement = sameVolume(mailed, device);
    return {{"same",
             agreement == Agreement::kUntold ? Json(nullptr) : Json(agreement == Agreement::kSame)},
            {"why", jsonText(sameVolumeSentence(mailed, device))},
            {"mailed", sideJson(mailed)},
            {"device", sideJson(device)}};
}

}  // namespace cli::comparison
