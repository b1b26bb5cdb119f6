#ifndef SCSITOOL_CLI_COMMON_HOST_VIEW_H
#define SCSITOOL_CLI_COMMON_HOST_VIEW_H

#include <string>

#include "recording/replay/recorded_host_data.h"
#include "scsitool/host/host.h"

namespace cli {

/// A host to put questions to, and what it was recorded in. Nothing with an effect is asked of it.
struct HostView {
    host::Host& host;
    const recording::RecordedHostData* recording = nullptr;  ///< null on a live machine

    bool isRecorded() const { return recording != nullptr; }
    /// Tells whether a path that was not found may be there all the same: the recording does not
    /// speak of it. Never on a live machine.
    bool isUntold(const std::string& path) const;
    /// How many seconds a device was waited for: until it was given up when the host was recorded,
    /// or `deadline`.
    unsigned secondsOf(const std::string& node, unsigned deadline) const;
    /// Tells whether a command was not run for the recording's want of an answer.
    bool isUntoldCommand(const std::string& command) const;
};

/// "this recording has no answer for WHAT": what a message says in place of "there is none".
std::string noAnswerFor(const std::string& what);

/// Why a path cannot be had: what errno says, or on a recorded host that it has no answer.
std::string whyNotThere(const HostView& view, const std::string& path, int error);

}  // namespace cli

#endif
