#ifndef SCSITOOL_CLI_BASE_GLOB_H
#define SCSITOOL_CLI_BASE_GLOB_H

#include <string>

namespace cli {

/// Tells whether a whole text is as a pattern has it: "*" stands for any characters, "?" for one,
/// and case does not count in ASCII. No pattern costs more than the product of the two lengths.
bool fitsGlob(const std::string& pattern, const std::string& text);

}  // namespace cli

#endif
