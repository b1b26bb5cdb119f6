// Documents that the command printed and somebody kept, compared with one another.
#include "hosts_command.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t half = text.find("\n----\n");
    const fuzz::MemoryFile before(text.substr(0, half));
    const fuzz::MemoryFile after(half == std::string::npos ? text : text.substr(half + 6));
    recording::Journal journal;
    recording::RecordedHost machine({}, journal);
    const bool isJson = size % 2 == 0;
    std::vector<std::string> arguments =
        size % 4 < 2 ? std::vector<std::string>{"diff", before.path(), after.path()}
                     : std::vector<std::string>{"matrix", before.path()};
    if (isJson) {
        arguments.emplace_back("--json");
    }
    fuzz::runHeld(arguments, machine);
    return 0;
}
