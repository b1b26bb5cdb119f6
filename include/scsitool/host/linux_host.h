#ifndef SCSITOOL_HOST_LINUX_HOST_H
#define SCSITOOL_HOST_LINUX_HOST_H

#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace host {

/// The machine itself. It holds no state: every operation is the system call of its name, retried
/// when a signal interrupts it. All descriptors are opened close-on-exec. Safe for any number of
/// threads.
class SCSITOOL_EXPORT LinuxHost : public Host {
  public:
    int openDevice(const std::string& path, OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, CommandBuffer& buffer) override;
    int addressWords(int descriptor, AddressWords& words) override;
    int sgIo(int descriptor, SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;
    int readFile(const std::string& path, std::string& content) override;
    AppendResult appendFile(const std::string& path, const std::string& text) override;
    bool pathExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    DirectoryListing listDirectory(const std::string& path) override;
    int readLink(const std::string& path, std::string& target) override;
    CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;
    int openSemaphore(int key, int count, int flags) override;
    int operateSemaphore(int identifier,
                         const std::vector<SemaphoreOperation>& operations) override;
    std::string kernelRelease() override;
    int hostName(std::string& name) override;
    void sleepSeconds(unsigned seconds) override;
};

/// The one Linux host of the process; it lives until the process ends.
SCSITOOL_EXPORT Host& linuxHost();

}  // namespace host

#endif
