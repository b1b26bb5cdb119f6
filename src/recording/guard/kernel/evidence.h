#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_EVIDENCE_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_EVIDENCE_H

#include <optional>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace recording::guard {

/// What it means that something is not there.
enum class Need {
    kMayBeMissing,  ///< nothing: the kernel has it only where there is something to tell
    kMustExist,  ///< that a live host cannot be judged; a recorded one merely does not speak of it
};

/// Asks a host and keeps what could not be told. Every answer but "there is no such thing" that is
/// no answer is a failure; whoever judges refuses when there is one.
class Evidence {
  public:
    using Names = std::vector<std::string>;

    /// The host must outlive the object; nothing with an effect is asked of it.
    Evidence(host::Host& host, bool isRecorded) : m_host(host), m_isRecorded(isRecorded) {}

    host::Host& host() const { return m_host; }
    bool isRecorded() const { return m_isRecorded; }

    /// A file's content; none when there is no such file or it could not be read.
    std::optional<std::string> file(const std::string& path, Need need = Need::kMayBeMissing);
    /// The names in a directory without "." and ".."; none as above.
    std::optional<Names> list(const std::string& path, Need need = Need::kMayBeMissing);
    /// Where a link points to; none as above.
    std::optional<std::string> link(const std::string& path);
    /// Which device a path is a node of; none as above.
    std::optional<host::DeviceNumber> number(const std::string& path);

    /// Takes down that something could not be told.
    void fail(const std::string& what);
    /// The same for a call that failed with a (negated) errno; what is not there is judged by
    /// `need`.
    void fail(const std::string& path, int error, Need need);
    const std::vector<std::string>& failures() const { return m_failures; }

  private:
    host::Host& m_host;
    const bool m_isRecorded;
    std::vector<std::string> m_failures;
};

/// Tells whether an errno, negated or not, says that there is no such path.
bool isMissing(int error);
/// Tells whether an errno, negated or not, says that there is no device behind a node.
bool isNoDevice(int error);

}  // namespace recording::guard

#endif
