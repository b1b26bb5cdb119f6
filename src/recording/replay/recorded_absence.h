#ifndef SCSITOOL_RECORDING_REPLAY_RECORDED_ABSENCE_H
#define SCSITOOL_RECORDING_REPLAY_RECORDED_ABSENCE_H

#include <string>

#include "recording/replay/recorded_host_data.h"

namespace recording {

/// Tells whether a recording says that a path is not there: it was looked for in vain (a file with
/// ENOENT), or a directory above it is recorded without it. A recording that merely does not speak
/// of a path says nothing of the host.
bool saysAbsent(const RecordedHostData& data, const std::string& path);

/// Takes out of a recording that was made of another one what that one is silent on: a path that
/// its file does not speak of is not thereby absent from the host.
void keepSilenceOf(const RecordedHostData& original, RecordedHostData& copy);

/// Tells whether a recording has an answer to a command.
bool answersCommand(const RecordedHostData& data, const std::string& command);

}  // namespace recording

#endif
