#ifndef SCSITOOL_CLI_COMMON_INCOMPLETE_H
#define SCSITOOL_CLI_COMMON_INCOMPLETE_H

#include <string>

#include "cli/common/command.h"
#include "cli/common/context.h"

namespace cli {

/// Adds which devices answered and then kept a page back that they have to a report: a doubt, since
/// a UDID may be made of less than it should be, and the member "missing_pages".
void addIncomplete(Report& report, const Context& context);

/// Why a device's pages are not whole, "page 0x80: SCSI status 8"; empty where they are.
std::string whyIncomplete(const Context& context, const std::string& name);

}  // namespace cli

#endif
