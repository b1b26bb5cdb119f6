#ifndef SCSITOOL_HOSTS_RECORDING_HOST_H
#define SCSITOOL_HOSTS_RECORDING_HOST_H

#include <memory>
#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/host/forwarding_host.h"

namespace hosts {

/// Passes everything on to another host and writes down what was asked and answered, failures
/// included: what a plug-in asked of the host that it failed on becomes a test on any other.
/// Serial numbers and names stand in it as they are; `scsitool capture --redact` replaces them.
///
/// A device, a file, a directory has one answer in a recording, the first that is no failure; a
/// command has all its answers, in order.
///
/// Safe for any number of threads.
class SCSITOOL_EXPORT RecordingHost : public host::ForwardingHost {
  public:
    /// The inner host must outlive this one.
    explicit RecordingHost(host::Host& inner);
    ~RecordingHost() override;

    /// Everything so far as the text of a recorded host's file. `comment` stands in front, one
    /// element a line.
    std::string text(const std::vector<std::string>& comment = {}) const;
    /// What could not be recorded as it was (a file that is too large, a path that is no UTF-8),
    /// one line each, in the order of the alphabet.
    std::vector<std::string> remarks() const;

  private:
    class Inside;

    explicit RecordingHost(std::unique_ptr<Inside> inside);

    const std::unique_ptr<Inside> m_inside;
};

}  // namespace hosts

#endif
