#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>

#include "cli/base/text.h"
#include "cli/picture/picture.h"

namespace cli::picture {
namespace {

using Found = std::vector<Contradiction>;
using FoundKind = Contradiction::Kind;
using Places = std::vector<std::size_t>;

/// Devices that say one thing.
struct Side {
    std::string says;
    Places devices;
};

void add(std::vector<Side>& sides, const std::string& says, std::size_t place) {
    const auto known = std::find_if(sides.begin(), sides.end(),
                                    [&](const Side& side) { return side.says == says; });
    if (known == sides.end()) {
        sides.push_back({says, {place}});
    } else {
        known->devices.push_back(place);
    }
}

// "/dev/sda /dev/sdb: X, /dev/sdc: Y"
std::string sidesText(const std::vector<Device>& devices, const std::vector<Side>& sides) {
    std::vector<std::string> parts;
    for (const Side& side : sides) {
        std::vector<std::string> names;
        for (const std::size_t place : side.devices) {
            names.push_back(devices[place].name);
        }
        parts.push_back(joined(names, " ") + ": " + side.says);
    }
    return joined(parts, ", ");
}

// `mark` makes of what a device says itself what stands in its row.
template <class Mark>
Contradiction contradiction(FoundKind kind, const std::string& text, const std::vector<Side>& sides,
                            const Mark& mark) {
    Contradiction found;
    found.kind = kind;
    found.text = text;
    for (const Side& side : sides) {
        for (const std::size_t place : side.devices) {
            found.devices.push_back(place);
            found.marks.push_back(mark(side.says));
        }
    }
    return found;
}

std::string shownIdentity(const Device& device) {
    return identityOf(device) + (device.udid == identityOf(device) ? "" : " (last known)");
}

bool isKnown(const Device& device) {
    return !identityOf(device).empty() || !namesOf(device).empty();
}

bool areDifferent(const std::vector<Device>& devices, const Places& places) {
    for (std::size_t i = 0; i < places.size(); ++i) {
        for (std::size_t j = i + 1; j < places.size(); ++j) {
            if (sameVolume(devices[places[i]], devices[places[j]]) == Agreement::kDifferent) {
                return true;
            }
        }
    }
    return false;
}

// By UDID where these differ, else by the names that the logical units give themselves.
std::vector<Side> sidesOfMap(const std::vector<Device>& devices, const Places& paths) {
    std::set<std::string> identities;
    for (const std::size_t path : paths) {
        identities.insert(identityOf(devices[path]));
    }
    std::vector<Side> sides;
    for (const std::size_t path : paths) {
        const std::string name = shownName(namesOf(devices[path]));
        const bool byUdid = identities.size() > 1 && !identityOf(devices[path]).empty();
        add(sides, byUdid || name.empty() ? shownIdentity(devices[path]) : name, path);
    }
    return sides;
}

void addMapsOverVolumes(const std::vector<Device>& devices, Found& found) {
    const bool hasPaths = std::any_of(devices.begin(), devices.end(),
                                      [](const Device& device) { return !device.paths.empty(); });
    std::unordered_map<std::string, std::size_t> places;
    for (std::size_t place = 0; hasPaths && place < devices.size(); ++place) {
        places[devices[place].kernelName] = place;
    }
    for (std::size_t map = 0; map < devices.size(); ++map) {
        Places paths;
        for (const std::string& name : devices[map].paths) {
            const auto path = places.find(name);
            if (path != places.end() && isKnown(devices[path->second])) {
                paths.push_back(path->second);
            }
        }
        if (!areDifferent(devices, paths)) {
            continue;
        }
        const std::vector<Side> sides = sidesOfMap(devices, paths);
        const std::string& name = devices[map].name;
        Contradiction one = contradiction(
            FoundKind::kMapOverVolumes,
            "the paths of " + name + " are different volumes: " + sidesText(devices, sides), sides,
            [&](const std::string&) { return "path of " + name + " to another volume"; });
        one.devices.insert(one.devices.begin(), map);
        one.marks.insert(one.marks.begin(), "its paths are different volumes");
        found.push_back(std::move(one));
    }
}

// What tells a volume from others of its UDID.
std::string whatTells(const std::vector<Device>& devices, const Volume& volume) {
    for (const std::size_t place : volume.devices) {
        const std::string name = shownName(namesOf(devices[place]));
        if (!name.empty()) {
            return name;
        }
    }
    return volume.sizeKb ? sizeText(*volume.sizeKb) : "neither name nor size";
}

Contradiction sharedUdid(const std::vector<Device>& devices, const std::string& udid,
                         const std::vector<Side>& sides) {
    const std::string count = std::to_string(sides.size());
    return contradiction(
        FoundKind::kTwoVolumesOneUdid,
        count + " volumes have the UDID " + udid + ": " + sidesText(devices, sides), sides,
        [&](const std::string& own) { return "one UDID, " + count + " volumes: " + own; });
}

Contradiction sharedName(const std::vector<Device>& devices, const std::string& name,
                         const std::vector<Side>& sides) {
    const std::string count = std::to_string(sides.size());
    return contradiction(
        FoundKind::kOneVolumeTwoUdids,
        "the volume " + name + " has " + count + " UDIDs: " + sidesText(devices, sides), sides,
        [&](const std::string&) { return "one volume, " + count + " UDIDs: " + name; });
}

void addSharedUdids(const std::vector<Device>& devices, const std::vector<Volume>& volumes,
                    Found& found) {
    std::map<std::string, std::vector<const Volume*>> byUdid;
    for (const Volume& volume : volumes) {
        if (!volume.udid.empty() && !volume.isPathUdid) {
            byUdid[volume.udid].push_back(&volume);
        }
    }
    for (const auto& [udid, sharing] : byUdid) {
        if (sharing.size() < 2) {
            continue;
        }
        std::vector<Side> sides;
        for (const Volume* const volume : sharing) {
            sides.push_back({whatTells(devices, *volume), volume->devices});
        }
        found.push_back(sharedUdid(devices, udid, sides));
    }
}

// The names of the strongest kind, to be compared whole; none of a kind that products hand out
// twice.
std::string keyOf(const Device& device) {
    const UnitNames& names = device.names;
    const auto strongest = std::min_element(
        names.begin(), names.end(),
        [](const UnitName& a, const UnitName& b) { return a.strength < b.strength; });
    if (strongest == names.end() || strongest->strength == Strength::kT10Vendor) {
        return {};
    }
    const Strength strength = strongest->strength;
    std::set<std::string> texts;
    for (const UnitName& name : names) {
        if (name.strength == strength) {
            texts.insert(name.text);
        }
    }
    return joined({texts.begin(), texts.end()}, " ");
}

void addSharedNames(const std::vector<Device>& devices, const std::vector<Volume>& volumes,
                    Found& found) {
    std::map<std::string, std::vector<Side>> byName;
    for (const Volume& volume : volumes) {
        for (const std::size_t place : volume.devices) {
            const std::string name = keyOf(devices[place]);
            if (!name.empty() && !volume.udid.empty() && !volume.isLastKnown) {
                add(byName[name], volume.udid, place);
            }
        }
    }
    for (const auto& [name, sides] : byName) {
        if (sides.size() > 1) {
            found.push_back(sharedName(devices, name, sides));
        }
    }
}

void addOtherVolumes(const std::vector<Device>& devices, Found& found) {
    for (std::size_t place = 0; place < devices.size(); ++place) {
        const Device& device = devices[place];
        if (agreement(device.names, device.keptNames) != Agreement::kDifferent) {
            continue;
        }
        const std::string former = shownName(device.keptNames);
        found.push_back(
            contradiction(FoundKind::kAnotherVolume,
                          device.name + " is another volume than the kernel found there: it is " +
                              shownName(device.names) + " and was " + former,
                          {{former, {place}}}, [](const std::string& own) {
                              return "another volume than the kernel found: it was " + own;
                          }));
    }
}

void addSizes(const std::vector<Device>& devices, const Volume& volume, Found& found) {
    std::vector<Side> sides;
    for (const std::size_t place : volume.devices) {
        const Device& device = devices[place];
        const std::uint64_t size = device.sizeKb.value_or(0);
        if (size != 0 && device.kind != Kind::kOther && isAnswering(device.state.condition)) {
            add(sides, std::to_string(size) + " KiB", place);
        }
    }
    if (sides.size() > 1) {
        found.push_back(contradiction(
            FoundKind::kSizesDiffer,
            "the paths of " + whatTells(devices, volume) +
                " differ in size: " + sidesText(devices, sides),
            sides, [](const std::string& own) { return own + ", other paths differ"; }));
    }
}

}  // namespace

const char* nameOf(FoundKind kind) {
    switch (kind) {
        case FoundKind::kMapOverVolumes:
            return "map-over-volumes";
        case FoundKind::kTwoVolumesOneUdid:
            return "two-volumes-one-udid";
        case FoundKind::kOneVolumeTwoUdids:
            return "one-volume-two-udids";
        case FoundKind::kAnotherVolume:
            return "another-volume";
        case FoundKind::kSizesDiffer:
            break;
    }
    return "sizes-differ";
}

std::vector<Contradiction> contradictionsIn(const std::vector<Device>& devices,
                                            const std::vector<Volume>& volumes) {
    Found found;
    addMapsOverVolumes(devices, found);
    addSharedUdids(devices, volumes, found);
    addSharedNames(devices, volumes, found);
    addOtherVolumes(devices, found);
    for (const Volume& volume : volumes) {
        addSizes(devices, volume, found);
    }
    return found;
}

}  // namespace cli::picture
