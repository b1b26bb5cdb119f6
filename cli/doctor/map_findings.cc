#include <algorithm>
#include <map>
#include <set>

#include "cli/base/text.h"
#include "cli/doctor/device_findings.h"

namespace cli::doctor {
namespace {

using picture::Contradiction;
using picture::Device;

using DevicesByName = std::map<std::string, const Device*>;
using Targets = std::set<std::string>;

DevicesByName byKernelName(const picture::Picture& picture) {
    DevicesByName devices;
    for (const Device& device : picture.devices) {
        if (!device.kernelName.empty()) {
            devices[device.kernelName] = &device;
        }
    }
    return devices;
}

bool hasPaths(const Device& device) {
    return device.kind != picture::Kind::kDisk && !device.paths.empty();
}

// What is below and no SCSI disk, or does not open to who asks, is not known here: it counts as
// living.
bool isDead(const DevicesByName& devices, const std::string& path) {
    using picture::Condition;
    const auto found = devices.find(path);
    const Condition condition =
        found == devices.end() ? Condition::kOk : found->second->state.condition;
    return condition == Condition::kGone || condition == Condition::kOffline ||
           condition == Condition::kNoAnswer || condition == Condition::kBlocked;
}

// A map whose paths are not told is known by its own answer alone.
void addDeadMap(const Device& map, const DevicesByName& devices, std::vector<Finding>& findings) {
    if (hasPaths(map)) {
        const bool isWithout =
            std::all_of(map.paths.begin(), map.paths.end(),
                        [&](const std::string& path) { return isDead(devices, path); });
        if (isWithout) {
            findings.push_back({Kind::kMapWithoutPath,
                                {map.name},
                                "none of its paths answers: " + joined(map.paths, " ")});
        }
    } else if ((map.kind == picture::Kind::kMap || map.kind == picture::Kind::kPseudoDevice) &&
               map.isListed && map.state.condition == picture::Condition::kNoAnswer) {
        findings.push_back({Kind::kNoAnswer, {map.name}, map.state.text});
    }
}

// The targets that a map's paths go through, each with the adapter that it is seen by.
Targets targetsOf(const Device& map, const DevicesByName& devices) {
    Targets targets;
    for (const std::string& path : map.paths) {
        const auto found = devices.find(path);
        if (found != devices.end() && found->second->address) {
            picture::ScsiAddress at = *found->second->address;
            const std::string text = addressText(at);
            targets.insert(text.substr(0, text.rfind(':')));
        }
    }
    return targets;
}

Targets missing(const Targets& some, const Targets& all) {
    Targets result;
    std::set_difference(all.begin(), all.end(), some.begin(), some.end(),
                        std::inserter(result, result.end()));
    return result;
}

bool isPartOf(const Targets& some, const Targets& all) {
    return some.size() < all.size() &&
           std::includes(all.begin(), all.end(), some.begin(), some.end());
}

// Of the maps that have the same targets one stands for all: a host has thousands of maps behind
// few arrays.
void addFewerPaths(const picture::Picture& picture, const DevicesByName& devices,
                   std::vector<Finding>& findings) {
    std::map<Targets, std::vector<const Device*>> siblings;
    for (const Device& device : picture.devices) {
        const Targets targets = hasPaths(device) ? targetsOf(device, devices) : Targets();
        if (!targets.empty()) {
            siblings[targets].push_back(&device);
        }
    }
    for (const auto& [targets, maps] : siblings) {
        const auto* richest = &*siblings.begin();
        bool isFound = false;
        for (const auto& other : siblings) {
            if (isPartOf(targets, other.first) &&
                (!isFound || other.first.size() > richest->first.size())) {
                richest = &other;
                isFound = true;
            }
        }
        for (const Device* map : isFound ? maps : std::vector<const Device*>()) {
            const Targets lacking = missing(targets, richest->first);
            findings.push_back({Kind::kFewerPaths,
                                {map->name},
                                std::to_string(map->paths.size()) + " of the " +
                                    std::to_string(richest->second.front()->paths.size()) +
                                    " paths that " + richest->second.front()->name +
                                    " has: none through target " +
                                    joined({lacking.begin(), lacking.end()}, " ")});
        }
    }
}

Kind kindOf(Contradiction::Kind kind) {
    switch (kind) {
        case Contradiction::Kind::kMapOverVolumes:
            return Kind::kMapOverVolumes;
        case Contradiction::Kind::kTwoVolumesOneUdid:
            return Kind::kTwoVolumesOneUdid;
        case Contradiction::Kind::kOneVolumeTwoUdids:
            return Kind::kOneVolumeTwoUdids;
        case Contradiction::Kind::kAnotherVolume:
            return Kind::kAnotherDisk;
        default:
            return Kind::kSizesDiffer;
    }
}

bool isFound(const std::vector<Finding>& findings, Kind kind, const std::string& device) {
    return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        return finding.kind == kind && finding.devices.front() == device;
    });
}

}  // namespace

void addMapFindings(const Survey& seen, std::vector<Finding>& findings) {
    const DevicesByName devices = byKernelName(seen.picture);
    for (const Device& device : seen.picture.devices) {
        if (device.kind != picture::Kind::kDisk) {
            addDeadMap(device, devices, findings);
        }
    }
    addFewerPaths(seen.picture, devices, findings);
}

void addContradictions(const Survey& seen, std::vector<Finding>& findings) {
    for (const Contradiction& contradiction : seen.picture.contradictions) {
        Finding finding = {kindOf(contradiction.kind), {}, contradiction.text};
        for (const std::size_t place : contradiction.devices) {
            finding.devices.push_back(seen.picture.devices[place].name);
        }
        // The comparison of a single disk with what the kernel noted looks at more than its name.
        const bool isSaid = finding.kind == Kind::kAnotherDisk && !finding.devices.empty() &&
                            isFound(findings, finding.kind, finding.devices.front());
        if (!isSaid && !finding.devices.empty()) {
            findings.push_back(std::move(finding));
        }
    }
}

}  // namespace cli::doctor
