#ifndef SCSITOOL_RECORDING_CAPTURE_RECORDED_HOST_WRITER_H
#define SCSITOOL_RECORDING_CAPTURE_RECORDED_HOST_WRITER_H

#include <string>
#include <vector>

#include "recording/replay/recorded_host_data.h"

namespace recording {

/// A recorded host as the text of its file, one entry a line, so that two of them can be compared
/// by lines. `parseRecordedHost` gives the same data back. `comment` stands in front, one element a
/// line; without any there is none. A path or command that is not UTF-8 cannot be written: throws
/// RecordedHostError.
std::string recordedHostText(const RecordedHostData& data,
                             const std::vector<std::string>& comment = {});

}  // namespace recording

#endif
