#include <algorithm>

#include "cli/picture/picture.h"

namespace cli::picture {

const std::string& identityOf(const Device& device) {
    return device.udid.empty() || device.isPathUdid ? device.lastKnownUdid : device.udid;
}

const UnitNames& namesOf(const Device& device) {
    return device.names.empty() && !isAnswering(device.state.condition) ? device.keptNames
                                                                        : device.names;
}

Agreement sameVolume(const Device& left, const Device& right) {
    const Agreement names = agreement(namesOf(left), namesOf(right));
    if (names != Agreement::kUntold) {
        return names;
    }
    const std::string& one = identityOf(left);
    const std::string& other = identityOf(right);
    if (one.empty() || other.empty()) {
        return Agreement::kUntold;
    }
    return one == other ? Agreement::kSame : Agreement::kDifferent;
}

namespace {

// Paths that do not agree on a size yet are what a volume that grows looks like.
void markDevices(Picture& picture) {
    for (const Contradiction& found : picture.contradictions) {
        for (std::size_t i = 0; i < found.devices.size(); ++i) {
            Device& device = picture.devices[found.devices[i]];
            device.marks.push_back(found.marks[i]);
            device.isAlarming =
                device.isAlarming || found.kind != Contradiction::Kind::kSizesDiffer;
        }
    }
}

}  // namespace

IdentityFields fieldsOf(const Picture& picture, const Volume& volume) {
    IdentityFields fields;
    for (const std::size_t place : volume.devices) {
        complete(fields, picture.devices[place].fields);
    }
    return fields;
}

Picture pictureOf(std::vector<Device> devices) {
    const auto byName = [](const Device& a, const Device& b) { return a.name < b.name; };
    if (!std::is_sorted(devices.begin(), devices.end(), byName)) {
        std::sort(devices.begin(), devices.end(), byName);
    }
    Picture picture;
    picture.devices = std::move(devices);
    picture.volumes = volumesOf(picture.devices);
    picture.contradictions = contradictionsIn(picture.devices, picture.volumes);
    markDevices(picture);
    return picture;
}

}  // namespace cli::picture
