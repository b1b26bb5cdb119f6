// A disk that answers anything, from its first INQUIRY to its UDID and to what the command prints.
#include <string>

#include "hosts_command.h"
#include "invariants.h"
#include "lying_host.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

// The factory leaves its generators to whoever took them: one is enough for all inputs.
CUDIDFactory& factory() {
    static CUDIDFactory instance;
    return instance;
}

std::string udidOn(host::Host& host) {
    const host::Scope scope(host);
    const DeviceMap devices = factory().enumerateDeviceMap(false, false, false, "", "");
    fuzz::demand(devices.size() == 1, "the disk that opens stands in the map");
    return devices.begin()->second.uid;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Pages pages = fuzz::readPages(data, size);
    recording::Journal journal;
    recording::RecordedHost machine(fuzz::hostOf(pages), journal);
    fuzz::LyingHost once(machine, pages);
    fuzz::LyingHost again(machine, pages);
    const std::string udid = udidOn(once);
    fuzz::demand(udid == udidOn(again), "the same answers give the same UDID", udid);
    factory().clearDeviceCache();

    static const std::vector<std::vector<std::string>> commands = {
        {"inquiry", "/dev/sda", "--json"},
        {"explain", "/dev/sda"},
        {"explain", "/dev/sda", "--json"},
        {"inquiry", "/dev/sda"},
        {"volumes", "--json"},
        {"devices", "--trace", "9"},
        {"inquiry", "/dev/sda", "--hex"},
    };
    std::vector<std::string> arguments = {"--jobs", "1", "--deadline", "0"};
    const auto& chosen = commands[size % commands.size()];
    arguments.insert(arguments.end(), chosen.begin(), chosen.end());
    fuzz::LyingHost host(machine, pages);
    fuzz::runHeld(arguments, host);
    fuzz::demand(once.openDescriptors() == 0 && host.openDescriptors() == 0,
                 "no descriptor is left open");
    return 0;
}
