#include "hosts_command.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "cli/run.h"
#include "invariants.h"

namespace fuzz {
namespace {

bool has(const std::vector<std::string>& arguments, const char* word) {
    return std::find(arguments.begin(), arguments.end(), word) != arguments.end();
}

// What is printed for a program to read; help is printed for a person in any case.
bool isDocument(const std::vector<std::string>& arguments, const std::string& out) {
    return has(arguments, "--json") && !out.empty() && out[0] == '{';
}

}  // namespace

int runHeld(const std::vector<std::string>& arguments, host::Host& live) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = cli::run(arguments, out, err, cli::Surroundings(), live);
    demand(status >= 0 && status <= 3, "the exit status is 0 to 3", std::to_string(status));
    demandTerminalText(err.str());
    demand(status == 0 || !err.str().empty(), "what went wrong is said", out.str());
    if (isDocument(arguments, out.str())) {
        demandDocument(out.str());
    } else {
        demandTerminalText(out.str());
    }
    return status;
}

MemoryFile::MemoryFile(const std::string& text)
    : m_descriptor(::memfd_create("scsitool", MFD_CLOEXEC)) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t now = ::write(m_descriptor, text.data() + written, text.size() - written);
        demand(now > 0, "there is memory for a file");
        written += static_cast<std::size_t>(now);
    }
}

MemoryFile::~MemoryFile() {
    ::close(m_descriptor);
}

std::string MemoryFile::path() const {
    return "/proc/self/fd/" + std::to_string(m_descriptor);
}

}  // namespace fuzz
