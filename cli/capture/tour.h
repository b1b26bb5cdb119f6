#ifndef SCSITOOL_CLI_CAPTURE_TOUR_H
#define SCSITOOL_CLI_CAPTURE_TOUR_H

#include <functional>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace cli {

/// One round of questions. It reads and has no effect, and it asks the thread's current host, which
/// is the one that is handed in: operations of the library find it there.
struct TourStep {
    const char* name;
    void (*ask)(host::Host& host);
};

/// Everything that the library and the commands ask of a host, once, so that a recording of the
/// answers is complete. A command that asks for more adds a step.
const std::vector<TourStep>& tourSteps();

/// Every node that the tour sends SCSI commands to.
std::vector<std::string> tourNodes(host::Host& host);

/// Asks a node, on the current host, what the steps ask it; first what the kernel answers by
/// itself.
std::function<void(const std::string& node)> tourInterview();

/// Takes all steps on a host that a caller listens to.
void takeTour(host::Host& host);

// The steps by what they ask.
void askLibrary(host::Host& host);  ///< enumeration, inventory, adapters, initiator, port names
void askNodes(host::Host& host);    ///< every SCSI and map node, by its own name
void askTools(host::Host& host);    ///< what the operations with effects would look for
void askTables(host::Host& host);   ///< the kernel's tables under /proc
void askBlockDevices(host::Host& host);  ///< sysfs: disks, partitions, maps, and what holds them
void askScsiDevices(host::Host& host);   ///< sysfs: SCSI addresses, adapters, ports, sessions
void askTargets(host::Host& host);       ///< what exports or pools block devices
void askProcesses(host::Host& host);     ///< which devices processes have open
void askGuard(host::Host& host);         ///< what a removal of each disk and map is judged by
void askDoctor(host::Host& host);        ///< what works, and what is wrong
void askPrune(host::Host& host);         ///< whether each disk and map is gone or stale
void askLinks(host::Host& host);         ///< the names that udev gives

}  // namespace cli

#endif
