#ifndef SCSITOOL_CLI_HOSTS_INTERRUPTIBLE_HOST_H
#define SCSITOOL_CLI_HOSTS_INTERRUPTIBLE_HOST_H

#include <map>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace cli {

/// Passes everything on until a signal asks to end. From then on nothing begins that has an effect
/// or takes time: it fails with EINTR (a command is not started), so that the operation in hand
/// comes to its end by itself. Only what it holds is given back.
class InterruptibleHost : public host::Host {
  public:
    /// The inner host must outlive this one.
    explicit InterruptibleHost(host::Host& inner) : m_inner(inner) {}

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
    host::Host& m_inner;
    /// By semaphore identifier: what was added to its value here and not taken away again.
    std::map<int, int> m_held;
};

}  // namespace cli

#endif
