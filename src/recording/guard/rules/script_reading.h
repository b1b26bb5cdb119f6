#ifndef SCSITOOL_RECORDING_GUARD_RULES_SCRIPT_READING_H
#define SCSITOOL_RECORDING_GUARD_RULES_SCRIPT_READING_H

#include <map>
#include <string>
#include <vector>

namespace recording::guard {

/// A regular expression that the script looks for in a line of sg_inq's output.
struct LinePattern {
    std::string expression;
    bool isExtended = false;  ///< POSIX extended instead of basic
};

/// One way in which the script gets a value: a line of the output that all patterns match.
using Reading = std::vector<LinePattern>;

/// How a version of the rescan script reads what sg_inq prints. The script compares the values
/// with the kernel's, and a disk of which it gets none counts as gone.
struct ScriptReading {
    std::string version;                               ///< empty when it does not tell
    std::map<std::string, std::vector<Reading>> ways;  ///< variable to the ways it is got in
};

/// Finds the readings in the text of a script: assignments of the variables IVEND, IPROD, IPREV,
/// IPTYPE and IPQUAL from $INQ by grep and sed.
ScriptReading parseScript(const std::string& text);

/// The expression that the script looks for in vain in what sg_inq prints of a connected disk;
/// empty when it gets all that it looks for.
std::string missedBy(const ScriptReading& reading, const std::vector<std::string>& output);

}  // namespace recording::guard

#endif
