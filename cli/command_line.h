#ifndef SCSITOOL_CLI_COMMAND_LINE_H
#define SCSITOOL_CLI_COMMAND_LINE_H

#include <memory>
#include <string>
#include <vector>

#include "cli/base/options.h"
#include "cli/common/command.h"

namespace cli {

/// What the command line asks for: a command, or a text such as the help.
struct Request {
    std::unique_ptr<CLI::App> app;  ///< what was parsed; commands ask it for their subcommands
    Options options;
    bool sendsBySgIo = false;    ///< on this machine INQUIRY goes by SG_IO, which no log tells of
    Command* command = nullptr;  ///< null when `text` is all that is asked for
    std::string text;
};

/// Reads the command line. Throws UsageError.
Request readCommandLine(const CommandList& commands, const std::vector<std::string>& arguments);

/// The version, as --version and every JSON document tell it.
std::string versionText();

}  // namespace cli

#endif
