#ifndef SCSITOOL_CLI_PRUNE_PRUNE_TEXT_H
#define SCSITOOL_CLI_PRUNE_PRUNE_TEXT_H

#include <string>

#include "cli/output/report.h"
#include "cli/prune/pruning.h"

namespace cli::prune {

/// The member "prune" of the JSON document.
Json pruneJson(const Pruning& pruning, bool isDryRun);

/// The table for people: what is gone or stale, why, who uses it and what became of it.
std::string pruneTable(const Pruning& pruning, bool isDryRun, const Layout& layout);

/// Makes the report say what was tried in vain and what could not be told.
void addTrouble(Report& report, const Pruning& pruning, bool isRoot);

}  // namespace cli::prune

#endif
