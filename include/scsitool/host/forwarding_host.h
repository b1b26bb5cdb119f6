#ifndef SCSITOOL_HOST_FORWARDING_HOST_H
#define SCSITOOL_HOST_FORWARDING_HOST_H

#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace host {

/// Passes what only reads on to another host, the semaphore included, and leaves every effect
/// (append, command, shell line, pause) pure. The base of hosts that stop, judge or note effects.
/// An operation that is new to `Host` stays pure here too, so that the compiler asks what it means
/// to each of them before anything of theirs builds again.
class SCSITOOL_EXPORT ReadForwardingHost : public Host {
  public:
    /// The inner host must outlive this one.
    explicit ReadForwardingHost(Host& inner) : m_inner(inner) {}

    int openDevice(const std::string& path, OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, CommandBuffer& buffer) override;
    int addressWords(int descriptor, AddressWords& words) override;
    int sgIo(int descriptor, SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;
    ReadResult readFile(const std::string& path) override;
    bool pathExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    DirectoryListing listDirectory(const std::string& path) override;
    int readLink(const std::string& path, std::string& target) override;
    int deviceNumber(const std::string& path, DeviceNumber& number) override;
    int writeAccess(const std::string& path) override;
    int openSemaphore(int key, int count, int flags) override;
    int operateSemaphore(int identifier,
                         const std::vector<SemaphoreOperation>& operations) override;
    int semaphoreUser(int identifier) override;
    std::string kernelRelease() override;
    int hostName(std::string& name) override;

  protected:
    Host& inner() { return m_inner; }

  private:
    Host& m_inner;
};

/// Passes every operation on to another host. The base of hosts that only watch.
class SCSITOOL_EXPORT ForwardingHost : public ReadForwardingHost {
  public:
    /// The inner host must outlive this one.
    explicit ForwardingHost(Host& inner) : ReadForwardingHost(inner) {}

    AppendResult appendFile(const std::string& path, const std::string& text,
                            const BeforeWrite& beforeWrite) override;
    CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;
    void sleepSeconds(unsigned seconds) override;
};

}  // namespace host

#endif
