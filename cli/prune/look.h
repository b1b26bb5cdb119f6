#ifndef SCSITOOL_CLI_PRUNE_LOOK_H
#define SCSITOOL_CLI_PRUNE_LOOK_H

#include <string>
#include <vector>

#include "cli/prune/verdict.h"

namespace cli::prune {

/// The machine or recording that is looked at; nothing with an effect is asked of it.
struct View {
    host::Host& host;
    bool isRecorded = false;
};

/// A list of the kernel's, and what stood against reading it whole.
template <class Element>
struct Found {
    std::vector<Element> list;
    std::vector<std::string> failures;
};

/// The addresses of the kernel's SCSI disks, in the order of their numbers.
Found<recording::guard::ScsiAddress> findDisks(const View& view);

/// The nodes that `lookAtDisk` asks, those of all disks, and the pseudo-devices that may hold them.
std::vector<std::string> nodesToAsk(const View& view);
/// Those of one disk and of the other paths of the multipath maps above it, which the rules for its
/// removal ask; those of a map.
std::vector<std::string> nodesAround(const View& view,
                                     const recording::guard::ScsiAddress& address);
std::vector<std::string> nodesOfMap(const View& view, const std::string& mapName);
/// Asks the disk behind a node, on the current host, what `lookAtDisk` asks it, and with it the
/// rules for a removal.
void askDiskBehind(const std::string& node);
/// The same, and what the rescan script's removals are foreseen by.
void askDiskForScript(const std::string& node);

/// Looks at the disk at an address: the kernel's state of it first, then what it answers, so that
/// one that comes back meanwhile is seen to live.
DiskSighting lookAtDisk(const View& view, const recording::guard::ScsiAddress& address);

/// What the kernel has noted of the disk at an address, and what the disk answers by now; `answer`
/// is what it said to INQUIRY.
Identity kernelIdentity(const View& view, const recording::guard::ScsiAddress& address);
Identity liveIdentity(const View& view, const std::string& node,
                      const recording::guard::Answer& answer);

/// The names of the multipath maps, in their order.
Found<std::string> findMaps(const View& view);

/// Looks at a multipath map and at the disks below it.
MapSighting lookAtMap(const View& view, const std::string& mapName);

/// Who uses what an effect would take, by the guard's own rules; empty when nobody does.
std::vector<std::string> usersOfDisk(const View& view,
                                     const recording::guard::ScsiAddress& address);
std::vector<std::string> usersOfMap(const View& view, const std::string& mapName);

}  // namespace cli::prune

#endif
