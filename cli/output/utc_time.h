#ifndef SCSITOOL_CLI_OUTPUT_UTC_TIME_H
#define SCSITOOL_CLI_OUTPUT_UTC_TIME_H

#include <string>

namespace cli {

/// The time now to the millisecond, as RFC 3339 has it: "2026-11-21T11:30:42.007Z".
std::string utcTime();

}  // namespace cli

#endif
