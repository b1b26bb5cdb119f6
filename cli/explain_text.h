#ifndef SCSITOOL_CLI_EXPLAIN_TEXT_H
#define SCSITOOL_CLI_EXPLAIN_TEXT_H

#include <string>

#include "cli/report.h"
#include "cli/table.h"
#include "udid/explanation.h"

namespace cli {

/// An explanation as JSON.
Json explanationJson(const udid::Explanation& explanation);

/// An explanation for people. Its last line is the UDID.
std::string explanationText(const udid::Explanation& explanation, const Layout& layout);

}  // namespace cli

#endif
