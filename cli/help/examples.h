#ifndef SCSITOOL_CLI_HELP_EXAMPLES_H
#define SCSITOOL_CLI_HELP_EXAMPLES_H

#include <string>

namespace cli::help {

/// The first example of a command in docs/scsitool.md, without the shipped host that it works on
/// there; empty for a command that has none.
std::string exampleOf(const std::string& command);

}  // namespace cli::help

#endif
