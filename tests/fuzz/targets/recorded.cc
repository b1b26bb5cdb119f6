// Recorded hosts: a file that somebody sent, read and worked on.
#include "hosts_command.h"
#include "invariants.h"
#include "questions.h"
#include "recording/capture/recorded_host_writer.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"

namespace {

// Whether a text is a recorded host. What was read of it is written down whole.
bool isRecordedHost(const std::string& text) {
    std::string written;
    try {
        written = recording::recordedHostText(recording::parseRecordedHost(text, "input"));
    } catch (const recording::RecordedHostError&) {
        return false;
    }
    const std::string again =
        recording::recordedHostText(recording::parseRecordedHost(written, "written"));
    fuzz::demand(again == written, "a host that is written and read is the same host", written);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int kWrong = 2;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const bool isHost = isRecordedHost(text);
    recording::Journal journal;
    recording::RecordedHost machine({}, journal);
    const fuzz::MemoryFile file(text);
    std::vector<std::string> arguments = fuzz::hostCommand(size);
    arguments.insert(arguments.begin(), {"--host", file.path()});
    const int status = fuzz::runHeld(arguments, machine);
    fuzz::demand(isHost || status == kWrong, "what is no recorded host is refused", text);
    fuzz::demand(journal.lines().empty(), "a replay asks nothing of the machine");
    return 0;
}
