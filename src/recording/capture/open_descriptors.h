#ifndef SCSITOOL_RECORDING_CAPTURE_OPEN_DESCRIPTORS_H
#define SCSITOOL_RECORDING_CAPTURE_OPEN_DESCRIPTORS_H

#include "recording/replay/recorded_host_data.h"

namespace recording {

/// Leaves of the files that processes have open (/proc/PID/fd) only the block devices and SCSI
/// nodes, and of processes those that have such a device open or mounts of their own: what else
/// somebody works on is nobody's business, and there is much of it.
void keepOpenDevices(RecordedHostData& data);

}  // namespace recording

#endif
