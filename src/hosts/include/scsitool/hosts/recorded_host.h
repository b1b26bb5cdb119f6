#ifndef SCSITOOL_HOSTS_RECORDED_HOST_H
#define SCSITOOL_HOSTS_RECORDED_HOST_H

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

#include "scsitool/host/export.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/hosts/journal.h"

namespace hosts {

/// Why a recorded host was refused: one line that names the file, the place in it, what was
/// expected there and what was found.
class SCSITOOL_EXPORT RecordedHostError : public std::runtime_error {
  public:
    explicit RecordedHostError(const std::string& message);
    RecordedHostError(const RecordedHostError&) noexcept;
    RecordedHostError& operator=(const RecordedHostError&) noexcept;
    ~RecordedHostError() override;
};

/// Answers from a recorded host's file, as `scsitool capture` writes it, and never asks the
/// machine:
///
///     hosts::RecordedHost recorded("enterprise.json");
///     const host::Scope scope(recorded);
///     const DeviceMap devices = CUDIDFactory().enumerateDeviceMap(false, false, false, "", "");
///
/// An effect (a command, a text appended to a file, a pause) goes to the journal and succeeds as
/// the recording says, at once. A path that is not recorded is not there (ENOENT); a command that
/// is not ends with exit status 127; a page that is not fails with EIO. A command that was recorded
/// several times is answered in that order, the last answer for good; two objects of one file each
/// begin anew. Paths may be written unless the recording has an error for them.
///
/// A scope holds for its thread: where code under test starts threads of its own, a
/// `host::LiveHostRefusal` (scsitool/host/linux_host.h) keeps those away from the machine.
///
/// Safe for any number of threads. `host::ForwardingHost` passes everything on to what is inside.
class SCSITOOL_EXPORT RecordedHost : public host::ForwardingHost {
  public:
    /// Reads a file of at most 64 MiB. Effects go to a journal of its own. Throws RecordedHostError
    /// when the file cannot be read or is no recorded host.
    explicit RecordedHost(const std::string& path);
    /// The same with a journal that others write to as well; it must outlive the host.
    RecordedHost(const std::string& path, Journal& journal);
    /// The host whose text this is, for a test that says in place what the host is like; `name`
    /// stands for the file in messages. Throws RecordedHostError.
    static RecordedHost fromText(const std::string& text, const std::string& name);
    ~RecordedHost() override;

    /// The journal that this host writes to.
    const Journal& journal() const { return *m_journal; }
    /// How many devices are open: 0 when everything that was opened was closed.
    std::size_t openDescriptors() const;

  private:
    class Inside;

    explicit RecordedHost(std::unique_ptr<Inside> inside);

    const std::unique_ptr<Inside> m_inside;
    const Journal* const m_journal;
};

}  // namespace hosts

#endif
