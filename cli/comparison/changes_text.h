#ifndef SCSITOOL_CLI_COMPARISON_CHANGES_TEXT_H
#define SCSITOOL_CLI_COMPARISON_CHANGES_TEXT_H

#include <string>
#include <vector>

#include "cli/comparison/volume_changes.h"
#include "cli/output/report.h"
#include "cli/output/table.h"

namespace cli::comparison {

/// One row a change; "no change" without any.
std::string changesText(const std::vector<VolumeChange>& changes, const Layout& layout);

/// One object a change.
Json changesJson(const std::vector<VolumeChange>& changes);

/// How many of which: "2 gone, 1 grown".
std::string countsText(const std::vector<VolumeChange>& changes);

}  // namespace cli::comparison

#endif
