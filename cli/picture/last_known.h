#ifndef SCSITOOL_CLI_PICTURE_LAST_KNOWN_H
#define SCSITOOL_CLI_PICTURE_LAST_KNOWN_H

#include <string>

#include "cli/picture/picture.h"
#include "recording/guard/kernel/scsi_devices.h"

namespace cli::picture {

/// What a disk that tells no identity now was known as.
struct LastKnown {
    std::string udid;
    IdentityFields fields;  ///< what that UDID and its pages say
};

/// The UDID that the library would make of what the kernel keeps of a disk since it found it: the
/// standard INQUIRY data and the pages. The library's own collection and generators read these, so
/// that nothing here is a second account of them; the disk is not asked. Empty when that does not
/// suffice: the INQUIRY data are kept in part, a page that was asked for is neither kept nor known
/// not to be there, the generator asks the device itself, or the UDID is the path's.
LastKnown lastKnown(recording::guard::ScsiDevices& kept, const ScsiAddress& address,
                    const std::string& node, const std::string& hostName);

/// Tells whether a UDID is made of a device's path at this host, as the library does it for a disk
/// that has no name of its own.
bool isPathUdid(const std::string& udid, const std::string& node, const std::string& hostName);

}  // namespace cli::picture

#endif
