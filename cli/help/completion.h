#ifndef SCSITOOL_CLI_HELP_COMPLETION_H
#define SCSITOOL_CLI_HELP_COMPLETION_H

#include <string>
#include <vector>

#include "cli/output/report.h"

namespace cli::help {

/// What may stand where a command line is being typed.
enum class Wanted {
    kNothing,
    kWords,    ///< one of `Completion::words`
    kFile,     ///< a file of this machine
    kDevice,   ///< any name of a device
    kAddress,  ///< HOST:CHANNEL:TARGET:LUN
    kColumn,   ///< a column of the tables
};

struct Word {
    std::string text;
    std::string summary;
};

struct Completion {
    Wanted wanted = Wanted::kNothing;
    std::string prefix;       ///< of the word being typed: what stands already and is to stay
    std::string typed;        ///< the rest of that word
    std::string hostFile;     ///< what --host names on the line; empty without
    std::string command;      ///< the command on the line; empty without
    std::vector<Word> words;  ///< that begin with `typed`
};

/// Reads the words of an unfinished command line, the last of which is being typed. `catalogue` is
/// that of `catalogueOf`.
Completion completionOf(const Json& catalogue, const std::vector<std::string>& words);

}  // namespace cli::help

#endif
