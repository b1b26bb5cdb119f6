#ifndef SCSITOOL_RECORDING_REPLAY_DEVICE_READER_H
#define SCSITOOL_RECORDING_REPLAY_DEVICE_READER_H

#include "recording/replay/json_node.h"
#include "recording/replay/recorded_host_data.h"

namespace recording {

/// One member of a recorded host's `devices`. Throws JsonError.
RecordedDevice readDevice(const JsonNode& node);

}  // namespace recording

#endif
