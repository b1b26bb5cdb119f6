#ifndef SCSITOOL_CLI_VIEW_SCENE_H
#define SCSITOOL_CLI_VIEW_SCENE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/picture/picture.h"
#include "cli/view/details.h"
#include "cli/view/path_life.h"
#include "cli/view/ports.h"
#include "cli/view/users.h"

namespace cli::view {

/// What is shown of a device besides what the picture has.
struct DeviceFacts {
    std::string vendor;  ///< of the library's record, else what the kernel keeps
    std::string product;
    std::string revision;
    std::string genericNode;    ///< "/dev/sg2"
    std::string mapperState;    ///< "active" or "failed"; empty where device-mapper does not tell
    unsigned mapGroup = 0;      ///< of a path: its group in the map, from 1; 0 where it is not told
    std::string mapGroupState;  ///< "active", "enabled" or "disabled"; empty as above
    Life life = Life::kUntold;  ///< of a disk
    Ports ports;                ///< of a disk
    std::optional<Users> users;
};

constexpr std::size_t kNoVolume = static_cast<std::size_t>(-1);

/// A picture with all that the views show of it.
struct Scene {
    picture::Picture picture;
    std::vector<DeviceFacts> facts;       ///< of the devices, in their order
    std::vector<std::size_t> volumeOf;    ///< of the devices: the volume's place, or kNoVolume
    std::shared_ptr<DetailBook> details;  ///< what is read only when it is shown
    std::vector<std::string> doubts;      ///< what could not be told, a line each
};

/// Completes a picture from what the kernel tells; no device is opened or asked. The host must
/// outlive the scene.
Scene sceneOf(picture::Picture picture, const HostView& view);

/// What could not be told of the picture and of what was read for it, a line each; `hint` as for
/// the picture's. What is read only when it is shown has to have been shown before.
std::vector<std::string> doubtsOf(const Scene& scene, const std::string& hint);

/// The device that stands for several of one volume: a map or pseudo-device before a disk, the
/// first in natural order.
std::size_t leaderOf(const Scene& scene, const std::vector<std::size_t>& devices);

/// Who uses a volume, but for its own map. None where not all was told and nothing was found.
std::optional<Users> usersOf(const Scene& scene, const std::vector<std::size_t>& devices);

/// How many disks of these live; none where that is not told of one.
std::optional<std::size_t> livingOf(const Scene& scene, const std::vector<std::size_t>& devices);

/// Those of the devices that are disks, in natural order.
std::vector<std::size_t> disksOf(const Scene& scene, const std::vector<std::size_t>& devices);

}  // namespace cli::view

#endif
