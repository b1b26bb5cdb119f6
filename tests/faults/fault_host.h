#ifndef SCSITOOL_TESTS_FAULTS_FAULT_HOST_H
#define SCSITOOL_TESTS_FAULTS_FAULT_HOST_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "fault.h"
#include "scsitool/host/host.h"

namespace faults {

/// Passes everything on and fails one call, in one of the ways in which that call can fail. It
/// derives from `Host` itself: a new operation has to be given its failures here.
class FaultHost final : public host::Host {
  public:
    explicit FaultHost(host::Host& inner) : m_inner(inner) {}

    /// The call of this number (from 1; 0 for none) fails in this way (from 0).
    void failAt(std::size_t call, std::size_t way);
    /// In how many ways each call could have failed, in the order of the calls.
    const std::vector<std::size_t>& ways() const { return m_ways; }
    /// What has failed.
    const Fault& failed() const { return m_failed; }
    /// The fault was in giving the lock back.
    bool hasFailedRelease() const { return m_hasFailedRelease; }
    /// Descriptors that were handed out and not closed.
    std::size_t openDescriptors() const { return m_open.size(); }

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
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    /// Counts a call that can fail in `ways` ways and, in one more, throws std::bad_alloc. Gives
    /// the way in which it fails now, else `kNone`.
    std::size_t fault(const char* call, const std::string& of, std::size_t ways);
    /// The same of a call that fails with one of these numbers: that number, else 0.
    int errorOf(const char* call, const std::string& of, const std::vector<int>& errors);
    /// The same of a request to an open device.
    int requestError(const char* call, int descriptor, const std::vector<int>& errors);

    host::Host& m_inner;
    std::size_t m_at = 0;
    std::size_t m_way = 0;
    std::vector<std::size_t> m_ways;
    Fault m_failed;
    bool m_hasFailedRelease = false;
    std::map<int, std::string> m_open;  // to the path
};

}  // namespace faults

#endif
