#ifndef SCSITOOL_CLI_OUTPUT_EXPLAIN_TEXT_H
#define SCSITOOL_CLI_OUTPUT_EXPLAIN_TEXT_H

#include <string>

#include "cli/output/report.h"
#include "cli/output/table.h"
#include "scsitool/udid/explanation.h"

namespace cli {

/// An explanation as JSON.
Json explanationJson(const udid::Explanation& explanation);

/// An explanation for people. Its last line is the UDID.
std::string explanationText(const udid::Explanation& explanation, const Layout& layout);

}  // namespace cli

#endif
