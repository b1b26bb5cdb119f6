#ifndef SCSITOOL_DISCOVERY_BUS_RESCAN_H
#define SCSITOOL_DISCOVERY_BUS_RESCAN_H

#include <map>
#include <string>
#include <vector>

#include "discovery/operation.h"

namespace discovery {

/// Driver name to host adapter numbers.
using AdapterNumbers = std::map<std::string, std::vector<int>>;

/// What a command that lists a directory prints, traced.
std::vector<std::string> listedBy(const Operation& operation, const std::string& command);

/// The Fibre Channel adapters of a 2.4 kernel. Never throws.
void findHostAdapters(const Operation& operation, AdapterNumbers& adapters);

/// Has every QLogic adapter scan its loop, with a pause of 3 seconds after each.
void rescanQlogicAdapters(const Operation& operation, const AdapterNumbers& adapters);

/// The rescan of 2.4 kernels. Never throws.
void rescanByProbing(const Operation& operation, const AdapterNumbers& adapters);

/// Runs rescan-scsi-bus.sh from /bin or /usr/bin. Gives 0, or 6 when there is none or it failed.
int runRescanScript(const Operation& operation, const std::string& arguments);

}  // namespace discovery

#endif
