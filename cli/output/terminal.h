#ifndef SCSITOOL_CLI_OUTPUT_TERMINAL_H
#define SCSITOOL_CLI_OUTPUT_TERMINAL_H

#include <cstddef>

namespace cli {

/// What the command knows of where it runs. Tests state it, main() asks the system.
struct Surroundings {
    bool outIsTerminal = false;
    bool errIsTerminal = false;
    std::size_t width = 80;  ///< columns of the terminal
    bool colour = false;     ///< colour is welcome on a terminal
    bool isDumb = false;     ///< the terminal cannot take a line back
    bool isRoot = true;
    int processId = 1;
};

/// Asks the system. The width is that of COLUMNS, else the terminal's, else 80; NO_COLOR (when it
/// is not empty) and TERM=dumb turn colour off.
Surroundings askSurroundings();

}  // namespace cli

#endif
