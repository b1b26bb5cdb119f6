#include "cli/output/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace cli {
namespace {

constexpr unsigned long kWidest = 10000;

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::size_t terminalWidth() {
    const unsigned long stated = std::strtoul(environment("COLUMNS").c_str(), nullptr, 10);
    if (stated > 0 && stated <= kWidest) {
        return stated;
    }
    winsize size = {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return Surroundings().width;
}

}  // namespace

Surroundings askSurroundings() {
    Surroundings found;
    found.outIsTerminal = ::isatty(STDOUT_FILENO) == 1;
    found.errIsTerminal = ::isatty(STDERR_FILENO) == 1;
    found.width = terminalWidth();
    found.isDumb = environment("TERM") == "dumb";
    found.colour = environment("NO_COLOR").empty() && !found.isDumb;
    found.isRoot = ::geteuid() == 0;
    found.processId = ::getpid();
    return found;
}

}  // namespace cli
