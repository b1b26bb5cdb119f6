#include "cli/common/host_view.h"

#include <cerrno>
#include <cstring>

#include "recording/replay/recorded_absence.h"

namespace cli {

bool HostView::isUntold(const std::string& path) const {
    return isRecorded() && !host.pathExists(path) && !recording::saysAbsent(*recording, path);
}

unsigned HostView::secondsOf(const std::string& node, unsigned deadline) const {
    if (!isRecorded()) {
        return deadline;
    }
    const auto device = recording->devices.find(node);
    const bool isGivenUp = device != recording->devices.end() && device->second.givenUpAfter != 0;
    return isGivenUp ? device->second.givenUpAfter : deadline;
}

bool HostView::isUntoldCommand(const std::string& command) const {
    return isRecorded() && !recording::answersCommand(*recording, command);
}

std::string noAnswerFor(const std::string& what) {
    return "this recording has no answer for " + what;
}

std::string whyNotThere(const HostView& view, const std::string& path, int error) {
    return error == ENOENT && view.isUntold(path) ? noAnswerFor(path)
                                                  : path + ": " + std::strerror(error);
}

}  // namespace cli
