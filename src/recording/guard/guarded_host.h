#ifndef SCSITOOL_RECORDING_GUARD_GUARDED_HOST_H
#define SCSITOOL_RECORDING_GUARD_GUARDED_HOST_H

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "recording/guard/purpose.h"
#include "recording/guard/refusal.h"
#include "scsitool/host/host.h"

namespace recording {

/// What the silence of a host means to the guard.
enum class Silence {
    kIsRefusal,     ///< a live host: what cannot be told is not free
    kIsNoEvidence,  ///< a recorded host: what the file does not speak of is no use
};

/// Judges every effect when it is about to happen and refuses what would take a disk in use away:
/// an append (a removal request to /proc/scsi/scsi, the "delete" attribute of sysfs) fails to open
/// with EBUSY, a command (dmsetup, multipath, the rescan script, a logout of iSCSI sessions) ends
/// with exit status 16 and a line that says why, a shell line with the same wait status. A refused
/// effect does not reach the host below. Everything else is passed on.
///
/// It derives from `Host` itself: a new operation has to be given a meaning here.
/// Safe for any number of threads but for the setters.
class GuardedHost : public host::Host {
  public:
    using Purpose = guard::Purpose;
    using Aside = std::function<host::Host&()>;

    /// Effects go to `inner`. Questions go to the host that `aside` gives, the same machine or
    /// recording, where they leave no line in a journal and use up no recorded answer; it is asked
    /// for when there is something to judge. Both must outlive the guard.
    GuardedHost(host::Host& inner, Aside aside, Silence silence)
        : m_inner(inner), m_aside(std::move(aside)), m_silence(silence) {}

    /// Lets every effect pass from now on.
    void takeOut() { m_isOut = true; }
    /// What the removals that follow are asked for.
    void setPurpose(Purpose purpose) { m_purpose = purpose; }

    /// Takes down a refusal of the caller's own, so that all of them are told in one place.
    void refuse(const Refusal& refusal);
    /// Why effects were refused, in order.
    std::vector<Refusal> refusals() const;
    /// What is in use and was left in place by an effect that was let pass.
    std::vector<Refusal> kept() const;
    /// What stands against knowing all of these, each "PATH: reason".
    std::vector<std::string> untoldKept() const;

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int addressWords(int descriptor, host::AddressWords& words) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;
    host::ReadResult readFile(const std::string& path) override;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override;
    bool pathExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    host::DirectoryListing listDirectory(const std::string& path) override;
    int readLink(const std::string& path, std::string& target) override;
    int deviceNumber(const std::string& path, host::DeviceNumber& number) override;
    int writeAccess(const std::string& path) override;
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;
    int openSemaphore(int key, int count, int flags) override;
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override;
    int semaphoreUser(int identifier) override;
    std::string kernelRelease() override;
    int hostName(std::string& name) override;
    void sleepSeconds(unsigned seconds) override;

  private:
    class Case;

    host::Host& m_inner;
    const Aside m_aside;
    const Silence m_silence;
    bool m_isOut = false;
    Purpose m_purpose = Purpose::kNamed;
    mutable std::mutex m_mutex;  // guards what follows
    std::vector<Refusal> m_refusals;
    std::vector<Refusal> m_kept;
    std::vector<std::string> m_untoldKept;
};

}  // namespace recording

#endif
