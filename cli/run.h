#ifndef SCSITOOL_CLI_RUN_H
#define SCSITOOL_CLI_RUN_H

#include <ostream>
#include <string>
#include <vector>

#include "cli/output/terminal.h"
#include "scsitool/host/host.h"

namespace cli {

/// Runs scsitool and gives its exit status. `arguments` are those behind the program's name;
/// `live` is this machine. Everything that goes to `out` is written at the end, in one piece: a
/// command that cannot go on leaves nothing half said there. One line on `err` says why.
int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
        const Surroundings& surroundings, host::Host& live);

}  // namespace cli

#endif
