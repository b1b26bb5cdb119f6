#ifndef SCSITOOL_CLI_COMMON_UDEV_H
#define SCSITOOL_CLI_COMMON_UDEV_H

#include "cli/common/context.h"

namespace cli {

/// Waits until udev has dealt with the devices that came and went, at most half a minute: only then
/// are the nodes and maps there that an enumeration goes by. Returns at once where there is no
/// udev, on a recorded host and in a dry run.
void settleUdev(const Context& context);

}  // namespace cli

#endif
