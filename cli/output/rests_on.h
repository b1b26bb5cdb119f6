#ifndef SCSITOOL_CLI_OUTPUT_RESTS_ON_H
#define SCSITOOL_CLI_OUTPUT_RESTS_ON_H

#include <string>
#include <vector>

#include "scsitool/udid/account.h"

namespace cli {

/// What a UDID rests on and when it changes: its family's sentence, and what is weak about this
/// one. Each a line.
std::vector<std::string> restsOn(const udid::Account& account);

}  // namespace cli

#endif
