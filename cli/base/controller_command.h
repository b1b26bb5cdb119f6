#ifndef SCSITOOL_CLI_BASE_CONTROLLER_COMMAND_H
#define SCSITOOL_CLI_BASE_CONTROLLER_COMMAND_H

namespace cli {

/// The vendor-specific command block that a NetApp controller tells its identifier to, as recorded
/// hosts name the reply.
inline constexpr char kControllerCommand[] = "c000000a980a22100000";

}  // namespace cli

#endif
