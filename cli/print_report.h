#ifndef SCSITOOL_CLI_PRINT_REPORT_H
#define SCSITOOL_CLI_PRINT_REPORT_H

#include <string>
#include <vector>

#include "cli/output/report.h"

namespace cli {

/// The one JSON document of a command. `journal` are the lines of a dry run, taken in when
/// `dryRun` is set.
std::string documentText(const Report& report, const std::vector<std::string>& arguments,
                         int exitStatus, bool dryRun, const std::vector<std::string>& journal);

/// What a person reads: what a dry run would have done, then what was found.
std::string readableText(const Report& report, const std::vector<std::string>& journal);

}  // namespace cli

#endif
