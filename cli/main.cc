#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cli/output/terminal.h"
#include "cli/run.h"
#include "scsitool/host/interruption.h"
#include "scsitool/host/linux_host.h"
#include "scsitool/host/own_files.h"

int main(int count, char** values) {
    // Before anything else: a file opened first would become a closed standard stream.
    if (host::openStandardDescriptors() < 0) {
        return EXIT_FAILURE;
    }
    // A reader that goes away is an error of the write, not a reason to stop in mid-removal.
    std::signal(SIGPIPE, SIG_IGN);
    host::handleInterruptions();
    // The library prints that a directory cannot be read to the end, which belongs in no document.
    // The streams of C++ keep the descriptor that they began with.
    stdout = stderr;
    const std::vector<std::string> arguments(values + (count > 0 ? 1 : 0), values + count);
    return cli::run(arguments, std::cout, std::cerr, cli::askSurroundings(), host::linuxHost());
}
