#include "scsitool/hosts/recording_host.h"

#include <utility>

#include "recording/capture/recorded_host_writer.h"
#include "recording/capture/recording_host.h"

namespace hosts {

class [[gnu::visibility("hidden")]] RecordingHost::Inside : public recording::RecordingHost {
    using recording::RecordingHost::RecordingHost;
};

// The cast keeps the compiler from taking one forwarding host for a copy of another.
RecordingHost::RecordingHost(std::unique_ptr<Inside> inside)
    : ForwardingHost(static_cast<host::Host&>(*inside)), m_inside(std::move(inside)) {}

RecordingHost::RecordingHost(host::Host& inner) : RecordingHost(std::make_unique<Inside>(inner)) {}

RecordingHost::~RecordingHost() = default;

std::string RecordingHost::text(const std::vector<std::string>& comment) const {
    return recording::recordedHostText(m_inside->data(), comment);
}

std::vector<std::string> RecordingHost::remarks() const {
    return m_inside->remarks();
}

}  // namespace hosts
