#ifndef SCSITOOL_TESTS_FUZZ_MACHINE_TEXT_H
#define SCSITOOL_TESTS_FUZZ_MACHINE_TEXT_H

#include <cstddef>
#include <string>

#include "recording/replay/recorded_host_data.h"

namespace fuzz {

/// A machine as a text that is one whatever a fuzzer does to it. Lines that begin with "@" open a
/// section, the lines behind them are what it holds:
///
///     @ask 3               which command is run
///     @file PATH           content
///     @unread ERRNO PATH   content, behind which every read fails
///     @closed ERRNO PATH   a file or a directory that does not open
///     @dir PATH            names
///     @link PATH TARGET
///     @run STATUS COMMAND  output; STATUS: exit status, above 255 the time limit ended it
///     @disk PATH           what the device answers, see below
///     @kernel RELEASE
///     @host NAME
///
/// A disk's lines: "std HEX", "83 HEX", "sg BLOCK HEX", "refused 83 ERRNO", "id N", "size N",
/// "number MAJOR MINOR", "open ERRNO", "used".
struct Machine {
    std::size_t ask = 0;
    recording::RecordedHostData data;
};

Machine readMachine(const std::string& text);

}  // namespace fuzz

#endif
