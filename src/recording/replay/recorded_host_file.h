#ifndef SCSITOOL_RECORDING_REPLAY_RECORDED_HOST_FILE_H
#define SCSITOOL_RECORDING_REPLAY_RECORDED_HOST_FILE_H

#include <cstddef>
#include <stdexcept>
#include <string>

#include "recording/replay/recorded_host_data.h"

namespace recording {

/// What the member "format" says.
constexpr const char* kRecordedHostFormat = "scsitool-host/1";
/// The most bytes that a recorded host's file may have.
constexpr std::size_t kLargestRecordedHost = std::size_t{64} << 20;

/// Why a recorded host was refused: one line that names the file, the place in it (line and column
/// or a JSON pointer), what was expected there and what was found.
class RecordedHostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A recorded host from its text; `name` stands for the file in messages. Nothing is guessed: a
/// member that the format does not know is refused, as is a member given twice. Throws
/// RecordedHostError.
RecordedHostData parseRecordedHost(const std::string& text, const std::string& name);

/// A recorded host from a file of this machine ("-": from standard input), of at most 64 MiB.
/// Throws RecordedHostError.
RecordedHostData loadRecordedHost(const std::string& path);

}  // namespace recording

#endif
