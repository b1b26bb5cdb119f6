#ifndef SCSITOOL_HOST_COMMAND_WORDS_H
#define SCSITOOL_HOST_COMMAND_WORDS_H

#include <string>
#include <vector>

#include "scsitool/host/export.h"

namespace host {

/// Splits a command at blanks (0x20); single and double quotes group and are dropped. A quote that
/// is not closed reaches to the end. No other character means anything: a line feed, a semicolon
/// or a backtick is part of its word.
SCSITOOL_EXPORT std::vector<std::string> splitCommand(const std::string& command);

}  // namespace host

#endif
