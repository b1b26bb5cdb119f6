#ifndef SCSITOOL_TESTS_SILENT_MACHINE_H
#define SCSITOOL_TESTS_SILENT_MACHINE_H

#include <unistd.h>

#include <map>
#include <string>

#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"

namespace test {

/// A machine with disks that swallow a command: whoever asks waits for ever.
class SilentMachine : public host::ForwardingHost {
  public:
    /// The question that a disk does not answer any more; the code of another page is one, too.
    enum Question { kOpen = -2, kStandardInquiry = -1 };

    explicit SilentMachine(recording::RecordedHostData data)
        : ForwardingHost(m_recorded), m_recorded(std::move(data), m_journal) {}

    std::map<std::string, int> silentAt;

    int openDevice(const std::string& path, host::OpenMode mode) override {
        hangAt(path, kOpen);
        const int descriptor = ForwardingHost::openDevice(path, mode);
        m_paths[descriptor] = path;
        return descriptor;
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        hangAt(m_paths[descriptor], (buffer[9] & 1) != 0 ? int{buffer[10]} : int{kStandardInquiry});
        return ForwardingHost::sendCommand(descriptor, buffer);
    }
    std::vector<std::string> journal() const { return m_journal.lines(); }

  private:
    void hangAt(const std::string& path, int question) const {
        const auto silent = silentAt.find(path);
        while (silent != silentAt.end() && silent->second == question) {
            ::pause();
        }
    }

    recording::Journal m_journal;
    recording::RecordedHost m_recorded;
    std::map<int, std::string> m_paths;
};

}  // namespace test

#endif
