#ifndef SCSITOOL_CLI_COMPARISON_SAVED_H
#define SCSITOOL_CLI_COMPARISON_SAVED_H

#include <string>
#include <vector>

#include "cli/comparison/host_volumes.h"

namespace cli::comparison {

/// What 'volumes' or 'devices' printed with --json or --ndjson, of one host or, line by line, of
/// several: each host at each time by itself, in their order. `name` stands for the text in
/// messages. Members that are not known are passed over, those that older versions did not print
/// may be missing. Throws UsageError.
std::vector<HostVolumes> readSaved(const std::string& text, const std::string& name);

/// Tells whether a text is a recorded host, of whatever version: an object with the member
/// "format". Throws UsageError for what is not JSON.
bool isRecordedHost(const std::string& text, const std::string& name);

}  // namespace cli::comparison

#endif
