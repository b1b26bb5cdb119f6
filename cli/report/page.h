#ifndef SCSITOOL_CLI_REPORT_PAGE_H
#define SCSITOOL_CLI_REPORT_PAGE_H

#include <string>

#include "cli/output/report.h"

namespace cli::page {

/// The page that shows a host: HTML with everything in it, so that it loads nothing from anywhere.
/// `data` has `host`, `time`, `version`, `volumes`, `findings` and `explanations` (the text of each
/// by the name of the volume); none of its text can end the element that holds it.
std::string pageOf(const Json& data);

}  // namespace cli::page

#endif
