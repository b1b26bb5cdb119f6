#include "recording/replay/recorded_asking.h"

#include <cerrno>

#include "recording/asking/transcribing_host.h"

namespace recording {
namespace {

// Whoever would have asked the device has met a question here that it did not answer.
class SilenceWatch : public TranscribingHost {
  public:
    using TranscribingHost::TranscribingHost;
    bool isSilent() const { return m_isSilent; }

    int openDevice(const std::string& path, host::OpenMode mode) override {
        return noted(TranscribingHost::openDevice(path, mode));
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        return noted(TranscribingHost::sendCommand(descriptor, buffer));
    }
    int addressWords(int descriptor, host::AddressWords& words) override {
        return noted(TranscribingHost::addressWords(descriptor, words));
    }
    int sgIo(int descriptor, host::SgIoRequest& request) override {
        return noted(TranscribingHost::sgIo(descriptor, request));
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        return noted(TranscribingHost::deviceSize(descriptor, bytes));
    }

  private:
    int noted(int result) {
        m_isSilent = m_isSilent || result == -ETIMEDOUT;
        return result;
    }

    bool m_isSilent = false;
};

bool isSilentTo(const std::function<void(const std::string& name)>& interview, host::Host& host,
                const std::string& name) {
    SilenceWatch watch(host, name);
    const host::Scope scope(watch);
    try {
        interview(name);
    } catch (...) {
        // As in a process of its own: the operation itself throws.
        return watch.isSilent();
    }
    return watch.isSilent();
}

}  // namespace

RecordedAsking::RecordedAsking(const RecordedHostData& data) : m_silent(givenUpIn(data)) {}

void RecordedAsking::ask(host::Host& host, const std::function<std::vector<std::string>()>& devices,
                         const std::function<void(const std::string& name)>& interview) {
    if (m_silent.empty()) {
        return;
    }
    for (const std::string& name : devices()) {
        m_asked.insert(name);
        const auto silent = m_silent.find(name);
        if (silent != m_silent.end() && m_givenUp.count(name) == 0 &&
            isSilentTo(interview, host, name)) {
            m_givenUp.insert(*silent);
        }
    }
}

int GivenUpHost::openDevice(const std::string& path, host::OpenMode mode) {
    return m_asking.givenUp().count(path) != 0 ? -ETIMEDOUT
                                               : ForwardingHost::openDevice(path, mode);
}

GivenUp givenUpIn(const RecordedHostData& data) {
    GivenUp found;
    for (const auto& [path, device] : data.devices) {
        if (device.givenUpAfter != 0) {
            found[path] = device.givenUpAfter;
        }
    }
    return found;
}

void waitForAll(RecordedHostData& data) {
    for (auto& [path, device] : data.devices) {
        device.givenUpAfter = 0;
    }
}

void keepGivenUpOf(const RecordedHostData& original, RecordedHostData& copy) {
    for (const auto& [path, device] : original.devices) {
        const auto found = copy.devices.find(path);
        if (device.givenUpAfter != 0 && found != copy.devices.end()) {
            found->second = device;
        }
    }
}

void noteGivenUp(const GivenUp& givenUp, RecordedHostData& data) {
    for (const auto& [path, seconds] : givenUp) {
        const auto found = data.devices.find(path);
        if (found != data.devices.end()) {
            found->second.givenUpAfter = seconds;
        }
    }
}

}  // namespace recording
