#ifndef SCSITOOL_CLI_OUTPUT_PRINTED_LINE_H
#define SCSITOOL_CLI_OUTPUT_PRINTED_LINE_H

#include <optional>
#include <string>

namespace cli {

/// What a line that a program wrote for a terminal leaves to be read on one: escape sequences that
/// set colours and move the cursor are taken out, and what a carriage return or a backspace has
/// overwritten is gone. None when nothing but these stood in it.
std::optional<std::string> printedLine(const std::string& line);

}  // namespace cli

#endif
