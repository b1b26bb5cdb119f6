#ifndef SCSITOOL_CLI_OUTPUT_FAMILY_RESTS_H
#define SCSITOOL_CLI_OUTPUT_FAMILY_RESTS_H

#include <string>

namespace cli {

/// What a family's UDIDs rest on and when they change, as docs/udid-formats.md has it; empty for a
/// family that is none of the library's.
std::string familyRestsOn(const std::string& family);

}  // namespace cli

#endif
