#ifndef SCSITOOL_CLI_COMPARISON_HANDOVER_H
#define SCSITOOL_CLI_COMPARISON_HANDOVER_H

#include <optional>
#include <string>
#include <vector>

#include "cli/comparison/host_volumes.h"

namespace cli::comparison {

/// What was read of one source.
struct Reading {
    std::vector<HostVolumes> hosts;
    std::vector<std::string> doubts;
};

/// A reading as one process hands it to another on the same machine.
std::string packed(const Reading& reading);
/// None for what is no reading.
std::optional<Reading> unpacked(const std::string& text);

}  // namespace cli::comparison

#endif
