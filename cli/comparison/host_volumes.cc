#include "cli/comparison/host_volumes.h"

#include <algorithm>

#include "cli/view/path_life.h"
#include "recording/text/utf8.h"

namespace cli::comparison {
namespace {

using recording::toUtf8;

const std::string kNone;

void take(const picture::Device& device, const view::PathStateBook& paths, HostVolume& volume) {
    if (device.kind == picture::Kind::kDisk) {
        volume.paths.push_back(
            {toUtf8(device.name),
             device.address ? recording::guard::addressText(*device.address) : kNone,
             view::lifeOf(device, paths.of(device)) == view::Life::kLiving});
    } else {
        volume.maps.push_back(toUtf8(device.name));
    }
    if (volume.unitName.empty()) {
        volume.unitName = toUtf8(picture::shownName(picture::namesOf(device)));
    }
    if (volume.revision.empty()) {
        volume.revision = toUtf8(device.revision);
    }
}

}  // namespace

const std::string& nameOf(const HostVolume& volume) {
    return !volume.maps.empty()    ? volume.maps.front()
           : !volume.paths.empty() ? volume.paths.front().name
                                   : kNone;
}

std::vector<std::string> namesOf(const HostVolume& volume) {
    std::vector<std::string> names = volume.maps;
    if (names.empty()) {
        for (const Path& path : volume.paths) {
            names.push_back(path.name);
        }
    }
    return names;
}

const std::string& identityOf(const HostVolume& volume) {
    return volume.isPathUdid ? kNone : volume.udid;
}

const std::string& ownNameOf(const HostVolume& volume) {
    return volume.unitName.compare(0, 4, "t10.") == 0 ? kNone : volume.unitName;
}

std::size_t wellPathsOf(const HostVolume& volume) {
    return static_cast<std::size_t>(std::count_if(volume.paths.begin(), volume.paths.end(),
                                                  [](const Path& path) { return path.isWell; }));
}

std::vector<HostVolume> volumesOf(const picture::Picture& picture, const HostView& host,
                                  std::vector<std::string>& doubts) {
    recording::guard::Evidence evidence(host.host, host.isRecorded());
    recording::guard::BlockDevices blocks(evidence);
    const view::PathStateBook paths(picture, host.host, blocks);
    if (!paths.doubt().empty()) {
        doubts.push_back(paths.doubt());
    }
    std::vector<HostVolume> volumes;
    for (const picture::Volume& seen : picture.volumes) {
        HostVolume volume;
        volume.udid = toUtf8(seen.udid);
        volume.isPathUdid = seen.isPathUdid;
        volume.sizeKb = seen.sizeKb;
        for (const std::size_t place : seen.devices) {
            take(picture.devices[place], paths, volume);
        }
        volumes.push_back(std::move(volume));
    }
    return volumes;
}

}  // namespace cli::comparison
