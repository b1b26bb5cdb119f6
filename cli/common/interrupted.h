#ifndef SCSITOOL_CLI_COMMON_INTERRUPTED_H
#define SCSITOOL_CLI_COMMON_INTERRUPTED_H

#include "cli/common/context.h"
#include "cli/output/report.h"

namespace cli {

/// What a command says that a signal has ended: which signal, what had been done by then, and what
/// it has ended. What the command would have found is left out, since it was not looked for to the
/// end.
Report interruptedReport(int signal, const Context& context);

}  // namespace cli

#endif
