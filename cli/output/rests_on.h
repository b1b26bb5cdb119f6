#ifndef SCSITOOL_CLI_OUTPUT_RESTS_ON_H
#define SCSITOOL_CLI_OUTPUT_RESTS_ON_H

#include <string>
#include <vector>

#include "scsitool/udid/account.h"

namespace cli {

/// What a family's UDIDs rest on and when they change, as docs/udid-formats.md has it; empty for a
/// family that is none of the library's.
std::string familyRestsOn(const std::string& family);

/// The same of one UDID: the family's sentence, and what is weak about this one. Each a line.
std::vector<std::string> restsOn(const udid::Account& account);

}  // namespace cli

#endif
