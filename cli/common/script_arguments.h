#ifndef SCSITOOL_CLI_COMMON_SCRIPT_ARGUMENTS_H
#define SCSITOOL_CLI_COMMON_SCRIPT_ARGUMENTS_H

#include <string>
#include <vector>

namespace cli {

/// The words that a person gave for the rescan script, as the library appends them: with a blank
/// in front. Throws UsageError for control characters, an open quote, and for more than the
/// library's command buffer takes, which would cut an option in two.
std::string scriptArguments(const std::vector<std::string>& words);

/// Refuses a value from outside that would not reach a host command as one plain word: an empty
/// one, one with blanks, quotes or control characters, one that begins with a dash and so would be
/// an option. Throws UsageError; `what` names the value.
void requirePlainWord(const std::string& what, const std::string& value);

}  // namespace cli

#endif
