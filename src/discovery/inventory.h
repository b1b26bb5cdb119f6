#ifndef SCSITOOL_DISCOVERY_INVENTORY_H
#define SCSITOOL_DISCOVERY_INVENTORY_H

#include <map>
#include <vector>

#include "discovery/operation.h"

namespace discovery {

using AdapterMap = std::map<int, int>;

/// The addresses in the kernel's table in its order; `diskTypesOnly` keeps those of type
/// "Direct-Access" and "Unknown". Never throws.
std::vector<SLinuxScsiDevice> listDevices(const Operation& operation, bool diskTypesOnly);

/// Tells whether the list holds exactly this address.
bool contains(const std::vector<SLinuxScsiDevice>& devices, const SLinuxScsiDevice& address);

/// Adds the target ids of each adapter in order of appearance, each once. Never throws.
void addTargetIds(const Operation& operation, std::map<int, std::vector<int>>& targets);

/// Raises the maxima of every adapter that `maxLun` has a key for. Gives 0, or -1 when the table
/// cannot be opened.
int raiseMaximums(const Operation& operation, AdapterMap& maxLun, AdapterMap& maxId,
                  AdapterMap& maxChannel);

/// Asks the kernel for every unknown address within bounds beyond the maxima; an effect on the
/// host. Gives the number of devices afterwards. Never throws.
int probeForDevices(const Operation& operation, const AdapterMap& maxLun, const AdapterMap& maxId,
                    const AdapterMap& maxChannel);

}  // namespace discovery

#endif
