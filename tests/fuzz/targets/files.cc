// What the kernel and tools tell of a machine: /proc, sysfs, device nodes, output of commands.
#include "hosts_command.h"
#include "invariants.h"
#include "machine_text.h"
#include "questions.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Machine machine =
        fuzz::readMachine(std::string(reinterpret_cast<const char*>(data), size));
    recording::Journal journal;
    recording::RecordedHost host(std::move(machine.data), journal);
    fuzz::runHeld(fuzz::hostCommand(machine.ask), host);
    fuzz::demand(host.openDescriptors() == 0, "no descriptor is left open");
    return 0;
}
