#ifndef SCSITOOL_CLI_BASE_OPTIONS_H
#define SCSITOOL_CLI_BASE_OPTIONS_H

#include <string>

namespace cli {

/// The options that every command takes.
struct Options {
    std::string hostFile;     ///< a recorded host; empty: this machine
    std::string journalFile;  ///< "-" is standard error; empty: no journal
    std::string traceFile;    ///< "-" or empty: standard error
    int traceLevel = 0;       ///< 0: no trace
    bool traceTime = false;
    unsigned jobs = 16;      ///< disks that are asked side by side
    unsigned deadline = 10;  ///< seconds for each of them; 0: none
    bool dryRun = false;
    bool json = false;
};

}  // namespace cli

#endif
