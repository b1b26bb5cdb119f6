#ifndef SCSITOOL_CLI_BASE_FILES_APART_H
#define SCSITOOL_CLI_BASE_FILES_APART_H

#include "cli/base/options.h"

namespace cli {

/// Refuses options that name one file twice, by whatever names or links: a trace that replaces the
/// recorded host, or journal and trace lines on top of each other. Throws UsageError; nothing was
/// opened by then.
void demandFilesApart(const Options& options);

}  // namespace cli

#endif
