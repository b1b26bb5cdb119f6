#ifndef SCSITOOL_CLI_PICTURE_DRAWING_H
#define SCSITOOL_CLI_PICTURE_DRAWING_H

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/hosts/answer_watch.h"
#include "cli/picture/kernel_view.h"
#include "scsitool/scsi/device_scsi_data.h"

namespace cli::picture {

/// The library's records, by name.
using Records = std::unordered_map<std::string, const CScsiDeviceData*>;

/// What an enumeration found and how it went.
struct Sighting {
    const DeviceMap& devices;  ///< what the library lists
    const Records& records;
    const AnswerWatch& answers;
    /// What the UDIDs say, by the names; null when none was asked for.
    const udid::IdentityCollector* identities = nullptr;
};

/// Where and how it is drawn.
struct Easel {
    HostView view;  ///< asked for what the kernel says, and for the sizes that it does not tell
    unsigned deadline = 0;   ///< seconds that a device was waited for
    std::string only;        ///< the one device of interest; empty for all
    bool withMaps = true;    ///< maps and pseudo-devices are of interest
    bool withFields = true;  ///< what UDIDs and pages say is of interest, field by field
};

/// Joins what the library found with what the kernel lists: a device for each entry of the map, and
/// for each disk, multipath map and pseudo-device that is not in it.
std::vector<Device> drawDevices(const Sighting& sighting, const Easel& easel);

/// The names that the logical unit of a record gives itself in its page 0x83.
UnitNames namesOf(const CScsiDeviceData& record);

}  // namespace cli::picture

#endif
