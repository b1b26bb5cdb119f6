#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "cli/output/terminal.h"
#include "cli/run.h"
#include "scsitool/host/linux_host.h"

int main(int count, char** values) {
    // A reader that goes away is an error of the write, not a reason to stop in mid-removal.
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<std::string> arguments(values + (count > 0 ? 1 : 0), values + count);
    return cli::run(arguments, std::cout, std::cerr, cli::askSurroundings(), host::linuxHost());
}
