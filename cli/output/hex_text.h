#ifndef SCSITOOL_CLI_OUTPUT_HEX_TEXT_H
#define SCSITOOL_CLI_OUTPUT_HEX_TEXT_H

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// Reads the bytes of one page from the text that somebody mailed: pairs of hexadecimal digits,
/// joined or with blanks, commas or line ends between them, "#" before a comment. A dump as sg_vpd,
/// sg_inq and `scsitool inquiry` print it is taken as well: a line in front that ends in ":", an
/// offset before the bytes of each line, characters behind them. `name` stands for the file in
/// messages. Throws UsageError with file, line and column for anything else, and for no bytes.
std::vector<std::uint8_t> readHexText(const std::string& text, const std::string& name);

}  // namespace cli

#endif
