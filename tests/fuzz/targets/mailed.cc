// Pages that somebody mailed, in whatever form.
#include "hosts_command.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::MemoryFile file(std::string(reinterpret_cast<const char*>(data), size));
    recording::Journal journal;
    recording::RecordedHost machine({}, journal);
    std::vector<std::string> arguments = {"explain", file.path()};
    if (size % 2 == 0) {
        arguments.emplace_back("--json");
    }
    fuzz::runHeld(arguments, machine);
    return 0;
}
