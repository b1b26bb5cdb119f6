#ifndef SCSITOOL_CLI_COMMON_PACKAGES_H
#define SCSITOOL_CLI_COMMON_PACKAGES_H

#include <string>

namespace cli {

/// What brings a program, by the names of the distributions' packages: "install ...", to stand
/// behind "there is no PROGRAM; ". Empty for a program that no operation asks for.
std::string howToInstall(const std::string& program);

}  // namespace cli

#endif
