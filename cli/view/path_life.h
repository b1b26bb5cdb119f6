#ifndef SCSITOOL_CLI_VIEW_PATH_LIFE_H
#define SCSITOOL_CLI_VIEW_PATH_LIFE_H

#include <string>

#include "cli/picture/picture.h"
#include "cli/view/map_status.h"
#include "recording/guard/kernel/block_devices.h"

namespace cli::view {

/// Whether a path to a volume lives.
enum class Life {
    kUntold,
    kLiving,  ///< the kernel has it running and device-mapper active, as far as these tell
    kDead,    ///< it did not answer, or one of them has given it up
};

/// What device-mapper holds of the paths of a host. It is asked once, and only where there is a
/// multipath map: there may be no such program where there are none.
class PathStateBook {
  public:
    /// The maps may be those of a picture that shows some of the devices alone. Nothing with an
    /// effect is asked of the host; the block devices must outlive the object.
    PathStateBook(const picture::Picture& picture, host::Host& host,
                  recording::guard::BlockDevices& blocks);

    /// Null for a disk that no map has for a path, and where device-mapper does not tell.
    const PathState* of(const picture::Device& disk) const;

    /// What could not be told; empty for nothing.
    const std::string& doubt() const { return m_doubt; }

  private:
    recording::guard::BlockDevices& m_blocks;
    PathStates m_states;
    std::string m_doubt;
};

/// `state` as device-mapper has it of the disk, or null.
Life lifeOf(const picture::Device& disk, const PathState* state);

}  // namespace cli::view

#endif
