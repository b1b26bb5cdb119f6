#ifndef SCSITOOL_BENCH_MEMORY_HOST_H
#define SCSITOOL_BENCH_MEMORY_HOST_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace bench {

/// A host of N disks that costs next to nothing itself, so that a measurement is the library's.
/// Every disk lists and answers four pages: the standard INQUIRY data, 0x00, 0x80 and 0x83 with an
/// NAA IEEE Registered Extended identifier and a T10 one.
class MemoryHost final : public host::Host {
  public:
    explicit MemoryHost(std::size_t disks);

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
    std::string m_partitions;
    std::size_t m_disks;
};

}  // namespace bench

#endif
