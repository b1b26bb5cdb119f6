#ifndef SCSITOOL_CLI_COMPARISON_HOST_VOLUMES_H
#define SCSITOOL_CLI_COMPARISON_HOST_VOLUMES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/picture/picture.h"

namespace cli::comparison {

/// A disk that leads to a volume.
struct Path {
    std::string name;     ///< "/dev/sda"
    std::string address;  ///< "2:0:0:1"; empty where it is not told
    bool isWell = true;   ///< it lives, on a standby port too
};

/// What one host says of a volume.
struct HostVolume {
    std::string udid;               ///< empty when none is known
    bool isPathUdid = false;        ///< the UDID is made of a path at this host: no identity
    std::string unitName;           ///< what the logical unit calls itself (page 0x83), or empty
    std::vector<std::string> maps;  ///< multipath maps and pseudo-devices on it
    std::vector<Path> paths;
    std::optional<std::uint64_t> sizeKb;
    std::string revision;  ///< of the array's firmware, as INQUIRY tells it
};

/// What one host sees at one time: all that comparisons need of it.
struct HostVolumes {
    std::string host;  ///< its name; empty where it is not told
    std::string time;  ///< when that was, as RFC 3339 has it; empty where it is not told
    std::vector<HostVolume> volumes;
};

/// What a person calls a volume: its map, else its first path.
const std::string& nameOf(const HostVolume& volume);
/// The same of all its names: its maps, or without any its paths.
std::vector<std::string> namesOf(const HostVolume& volume);

/// The UDID where it identifies the volume wherever it is seen; else empty.
const std::string& identityOf(const HostVolume& volume);

/// The name of the logical unit where no other has the same: products hand out T10 vendor names
/// twice. Else empty.
const std::string& ownNameOf(const HostVolume& volume);

std::size_t wellPathsOf(const HostVolume& volume);

/// The volumes of a picture, their texts as UTF-8 as documents have them. Which paths live is told
/// as the views tell it: device-mapper has its say; what of that could not be told is added to
/// `doubts`.
std::vector<HostVolume> volumesOf(const picture::Picture& picture, const HostView& host,
                                  std::vector<std::string>& doubts);

}  // namespace cli::comparison

#endif
