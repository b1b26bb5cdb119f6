#ifndef SCSITOOL_CLI_BASE_TEXT_H
#define SCSITOOL_CLI_BASE_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// Text from a device, a file or a command as a person may see it: what could steer a terminal
/// (control characters, characters that change the writing direction) or is no UTF-8 is written as
/// an escape (\n, \x1b, \u202e), everything else as it is. A horizontal tab stays when
/// `keepTabs` is set.
std::string visible(const std::string& text, bool keepTabs = false);

/// The number of columns that visible text takes: its code points.
std::size_t columnsOf(const std::string& visibleText);

/// Cuts visible text into pieces of at most `columns` columns, at blanks where there are any.
std::vector<std::string> wrapped(const std::string& visibleText, std::size_t columns);

/// The texts with a separator between them.
std::string joined(const std::vector<std::string>& texts, const std::string& separator);

/// What is wrong as strerror(3) has it, to stand within a sentence: "read-only file system".
/// `error` is an errno of either sign.
std::string errorText(int error);

/// A size in units of 1,024 bytes as people read it, for instance "1.5 GiB".
std::string sizeText(std::uint64_t kibibytes);

}  // namespace cli

#endif
