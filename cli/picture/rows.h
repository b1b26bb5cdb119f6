#ifndef SCSITOOL_CLI_PICTURE_ROWS_H
#define SCSITOOL_CLI_PICTURE_ROWS_H

#include "cli/output/report.h"
#include "cli/picture/picture.h"

namespace cli::picture {

/// What a UDID rests on, for the member "identity".
const char* identityJson(const std::string& udid, bool isPathUdid);

/// Adds to an entry of the device map, found by its name, what the picture knows of it.
void addToDeviceMap(Json& devices, const Picture& picture);
/// The devices that the kernel lists and the library leaves out.
Json unidentifiedJson(const Picture& picture);
Json volumesJson(const Picture& picture);
Json contradictionsJson(const Picture& picture);

}  // namespace cli::picture

#endif
