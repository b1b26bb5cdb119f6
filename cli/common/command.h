#ifndef SCSITOOL_CLI_COMMON_COMMAND_H
#define SCSITOOL_CLI_COMMON_COMMAND_H

#include <CLI/CLI.hpp>
#include <memory>
#include <vector>

#include "cli/common/context.h"
#include "cli/output/report.h"

namespace cli {

/// One command of scsitool.
class Command {
  public:
    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command();

    /// Adds the subcommand with its options to the command line; the object keeps their values.
    virtual CLI::App* declare(CLI::App& parent) = 0;
    /// Called when the command line has been read, before there is a host: a command that knows
    /// what the options should be says so.
    virtual void prepare(Options& /*options*/) {}
    /// Does it. Throws OperationError and UsageError.
    virtual Report run(Context& context) = 0;
};

using CommandList = std::vector<std::unique_ptr<Command>>;

/// All commands in the order in which the help names them.
CommandList makeCommands();

std::unique_ptr<Command> makeDevices();
std::unique_ptr<Command> makeVolumes();
std::unique_ptr<Command> makeFind();
std::unique_ptr<Command> makeDiff();
std::unique_ptr<Command> makeMatrix();
std::unique_ptr<Command> makeUdid();
std::unique_ptr<Command> makeValidate();
std::unique_ptr<Command> makeInquiry();
std::unique_ptr<Command> makeExplain();
std::unique_ptr<Command> makeDoctor();
std::unique_ptr<Command> makeDisks();
std::unique_ptr<Command> makeBus();
std::unique_ptr<Command> makeRescan();
std::unique_ptr<Command> makeRemove();
std::unique_ptr<Command> makeRemoveAddress();
std::unique_ptr<Command> makeRemoveDead();
std::unique_ptr<Command> makeRemoveStale();
std::unique_ptr<Command> makePrune();
std::unique_ptr<Command> makeFlushMultipath();
std::unique_ptr<Command> makeIscsi();
std::unique_ptr<Command> makeWwpn();
std::unique_ptr<Command> makeCapture();
std::unique_ptr<Command> makeReport();
std::unique_ptr<Command> makeUdevExport();
std::unique_ptr<Command> makeHelp();
std::unique_ptr<Command> makeComplete();

}  // namespace cli

#endif
