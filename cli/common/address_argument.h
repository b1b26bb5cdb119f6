#ifndef SCSITOOL_CLI_COMMON_ADDRESS_ARGUMENT_H
#define SCSITOOL_CLI_COMMON_ADDRESS_ARGUMENT_H

#include <string>
#include <vector>

#include "scsitool/discovery/linux_scsi_device.h"

namespace cli {

/// Reads an address from the command line: four words, or one word H:C:T:L. The numbers are
/// decimal, whatever zeros they begin with, and none is cut. Throws UsageError.
SLinuxScsiDevice addressArgument(const std::vector<std::string>& words);

}  // namespace cli

#endif
