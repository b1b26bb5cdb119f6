#ifndef SCSITOOL_HOST_LINUX_HOST_H
#define SCSITOOL_HOST_LINUX_HOST_H

#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace host {

/// The machine itself. It holds no state: every operation is the system call of its name, retried
/// when a signal interrupts it (but for one that asks to end, see interruption.h). All descriptors
/// are opened close-on-exec. Safe for any number of threads. While a `LiveHostRefusal` exists every
/// operation fails and none is carried out.
class SCSITOOL_EXPORT LinuxHost : public Host {
  public:
    int openDevice(const std::string& path, OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, CommandBuffer& buffer) override;
    int addressWords(int descriptor, AddressWords& words) override;
    int sgIo(int descriptor, SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;
    ReadResult readFile(const std::string& path) override;
    AppendResult appendFile(const std::string& path, const std::string& text,
                            const BeforeWrite& beforeWrite) override;
    bool pathExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    DirectoryListing listDirectory(const std::string& path) override;
    int readLink(const std::string& path, std::string& target) override;
    int deviceNumber(const std::string& path, DeviceNumber& number) override;
    int writeAccess(const std::string& path) override;
    CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;
    int openSemaphore(int key, int count, int flags) override;
    int operateSemaphore(int identifier,
                         const std::vector<SemaphoreOperation>& operations) override;
    int semaphoreUser(int identifier) override;
    std::string kernelRelease() override;
    int hostName(std::string& name) override;
    void sleepSeconds(unsigned seconds) override;
};

/// The one Linux host of the process; it lives until the process ends.
SCSITOOL_EXPORT Host& linuxHost();

/// Keeps every thread of the process away from the machine for as long as one of these exists, for
/// replay and for tests: a `Scope` holds for one thread, and a thread that somebody starts
/// meanwhile would begin with the Linux host. Every operation of every LinuxHost then fails with
/// EPERM and asks the kernel nothing: a path is not there and is no directory, a command or a shell
/// line ends with exit status 126, a pause takes no time, the kernel release is empty. Only
/// `closeDevice` still closes, or a descriptor that was opened before would be left behind.
///
/// An operation that another thread had begun before goes on to its end. The program's own files
/// (own_files.h) are not meant. May be made and destroyed on different threads; they nest.
class SCSITOOL_EXPORT LiveHostRefusal {
  public:
    LiveHostRefusal() noexcept;
    ~LiveHostRefusal();
    LiveHostRefusal(const LiveHostRefusal&) = delete;
    LiveHostRefusal& operator=(const LiveHostRefusal&) = delete;
};

}  // namespace host

#endif
