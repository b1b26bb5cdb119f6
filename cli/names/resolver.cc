#include "cli/names/resolver.h"

#include <algorithm>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/common/asking.h"
#include "cli/names/word.h"
#include "cli/picture/enumeration.h"
#include "cli/view/natural_order.h"

namespace cli::names {
namespace {

using picture::Device;
using picture::Kind;
using picture::Picture;

constexpr std::size_t kMostShown = 8;
// How much of a UDID a part of it must be. What takes a disk away is not to be led to the only one
// that there is by a slip of the finger.
constexpr std::size_t kShortestPart = 4;
constexpr std::size_t kShortestToTake = 8;

std::vector<std::string> inOrder(const Nodes& nodes) {
    std::vector<std::string> list(nodes.begin(), nodes.end());
    std::sort(list.begin(), list.end(), view::goesBefore);
    return list;
}

[[noreturn]] void refuseAmbiguous(const std::string& word, const Nodes& nodes) {
    std::vector<std::string> shown = inOrder(nodes);
    const std::size_t more = shown.size() - std::min(shown.size(), kMostShown);
    shown.resize(shown.size() - more);
    throw UsageError("'" + word + "' could be " + joined(shown, ", ") +
                     (more == 0 ? "" : " and " + std::to_string(more) + " more") +
                     "; name one of them");
}

[[noreturn]] void refuseUnknown(const std::string& word) {
    throw OperationError("'" + word +
                         "' names no device: no node, address, link, WWN, mount point and no part "
                         "of a UDID; 'scsitool volumes' lists what there is");
}

// The devices as the library finds them, asked without a line in the journal.
Picture askedPicture(const Context& context) {
    askAhead(context, "", interviews::udid());
    const host::Scope scope(context.hosts.aside());
    picture::Enumeration enumeration(context);
    enumeration.run(false, "", "");
    return enumeration.picture();
}

bool isNamedBy(const Device& device, const std::string& identifier) {
    const auto& names = picture::namesOf(device);
    return !identifier.empty() &&
           std::any_of(names.begin(), names.end(), [&](const picture::UnitName& name) {
               return identifierIn(name.text) == identifier;
           });
}

// The places of the volumes with that UDID; where there is none, of those with that part of one.
std::vector<std::size_t> volumesWith(const Picture& picture, const std::string& word,
                                     std::size_t shortest) {
    const std::string wanted = lowered(word);
    const std::string identifier = identifierIn(word);
    std::vector<std::size_t> whole;
    std::vector<std::size_t> parts;
    for (std::size_t i = 0; i < picture.volumes.size(); ++i) {
        const picture::Volume& volume = picture.volumes[i];
        const std::string udid = lowered(volume.udid);
        const bool isNamed = std::any_of(
            volume.devices.begin(), volume.devices.end(),
            [&](std::size_t place) { return isNamedBy(picture.devices[place], identifier); });
        if (udid == wanted || isNamed) {
            whole.push_back(i);
        } else if (wanted.size() >= shortest && udid.find(wanted) != std::string::npos) {
            parts.push_back(i);
        }
    }
    return whole.empty() ? parts : whole;
}

std::string leaderOf(const Picture& picture, const picture::Volume& volume) {
    const auto& devices = picture.devices;
    const std::size_t first = *std::min_element(
        volume.devices.begin(), volume.devices.end(), [&](std::size_t a, std::size_t b) {
            const bool isDisk = devices[a].kind == Kind::kDisk;
            return isDisk != (devices[b].kind == Kind::kDisk)
                       ? !isDisk
                       : view::goesBefore(devices[a].name, devices[b].name);
        });
    return devices[first].name;
}

// One map and nothing but its paths, or disks that share an identifier, are one volume.
std::string leaderOf(const Catalogue& catalogue, const Nodes& nodes) {
    const Entry* map = nullptr;
    std::set<std::string> common;
    bool isFirst = true;
    for (const std::string& node : nodes) {
        const Entry* const entry = catalogue.entryOf(node);
        if (entry == nullptr || (entry->kind != Kind::kDisk && map != nullptr)) {
            return {};
        }
        map = entry->kind != Kind::kDisk ? entry : map;
        std::set<std::string> shared;
        std::set_intersection(common.begin(), common.end(), entry->identifiers.begin(),
                              entry->identifiers.end(), std::inserter(shared, shared.begin()));
        common = isFirst ? entry->identifiers : shared;
        isFirst = false;
    }
    return common.empty() ? std::string() : map != nullptr ? map->node : inOrder(nodes).front();
}

Nodes leadersOf(const Picture& picture, const std::vector<std::size_t>& volumes) {
    Nodes nodes;
    for (const std::size_t volume : volumes) {
        nodes.insert(leaderOf(picture, picture.volumes[volume]));
    }
    return nodes;
}

// All devices of a kind in these volumes.
Nodes nodesIn(const Picture& picture, const std::vector<std::size_t>& volumes, bool wantsDisks) {
    Nodes nodes;
    for (const std::size_t volume : volumes) {
        for (const std::size_t place : picture.volumes[volume].devices) {
            const Device& device = picture.devices[place];
            if ((device.kind == Kind::kDisk) == wantsDisks) {
                nodes.insert(device.name);
            }
        }
    }
    return nodes;
}

std::string onlyOne(const std::string& word, const Nodes& nodes) {
    if (nodes.size() > 1) {
        refuseAmbiguous(word, nodes);
    }
    if (nodes.empty()) {
        refuseUnknown(word);
    }
    return *nodes.begin();
}

}  // namespace

std::string deviceNamed(const Context& context, const std::string& word) {
    if (word.empty() || isLibraryName(word)) {
        return word;
    }
    Catalogue catalogue(context.view());
    const Nodes nodes = catalogue.find(word);
    if (nodes.size() == 1) {
        return *nodes.begin();
    }
    const std::string leader = nodes.empty() ? std::string() : leaderOf(catalogue, nodes);
    if (!leader.empty()) {
        return leader;
    }
    if (!nodes.empty()) {
        refuseAmbiguous(word, nodes);
    }
    if (word[0] == '/') {
        return word;
    }
    const Picture picture = askedPicture(context);
    return onlyOne(word, leadersOf(picture, volumesWith(picture, word, kShortestPart)));
}

NamedDisk diskNamed(const Context& context, const std::string& word) {
    Catalogue catalogue(context.view());
    Nodes nodes = catalogue.find(word);
    if (nodes.empty() && word[0] != '/') {
        const Picture picture = askedPicture(context);
        nodes = nodesIn(picture, volumesWith(picture, word, kShortestToTake), true);
    }
    Nodes disks;
    for (const std::string& node : nodes) {
        const Entry* const entry = catalogue.entryOf(node);
        if (entry == nullptr || entry->kind == Kind::kDisk) {
            disks.insert(node);
        }
    }
    if (disks.empty() && !nodes.empty()) {
        throw UsageError("'" + word + "' is " + joined(inOrder(nodes), ", ") +
                         ", which is no disk; name a path of it");
    }
    const std::string node = onlyOne(word, disks);
    const Entry* const entry = catalogue.entryOf(node);
    if (entry == nullptr || !entry->address) {
        throw OperationError(node + ": its address is not told; give it as H:C:T:L");
    }
    return {node, *entry->address};
}

std::string mapNamed(const Context& context, const std::string& word) {
    if (isLibraryName(word)) {
        return word;
    }
    Catalogue catalogue(context.view());
    Nodes nodes = catalogue.findMap(word);
    if (nodes.empty() && word[0] == '/') {
        return word;
    }
    if (nodes.empty()) {
        const Picture picture = askedPicture(context);
        nodes = nodesIn(picture, volumesWith(picture, word, kShortestToTake), false);
    }
    return onlyOne(word, nodes);
}

}  // namespace cli::names
