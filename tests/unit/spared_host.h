#ifndef SCSITOOL_TESTS_SPARED_HOST_H
#define SCSITOOL_TESTS_SPARED_HOST_H

#include <string>
#include <vector>

#include "allocation_failure.h"
#include "scsitool/host/forwarding_host.h"

namespace test {

/// Passes everything on, and no allocation below it fails: those of who asks the host are tried.
/// That a host has no memory is among the faults of the seam.
class SparedHost final : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int openDevice(const std::string& path, host::OpenMode mode) override {
        const AllocationPause pause;
        return ForwardingHost::openDevice(path, mode);
    }
    int closeDevice(int descriptor) override {
        const AllocationPause pause;
        return ForwardingHost::closeDevice(descriptor);
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        const AllocationPause pause;
        return ForwardingHost::sendCommand(descriptor, buffer);
    }
    int addressWords(int descriptor, host::AddressWords& words) override {
        const AllocationPause pause;
        return ForwardingHost::addressWords(descriptor, words);
    }
    int sgIo(int descriptor, host::SgIoRequest& request) override {
        const AllocationPause pause;
        return ForwardingHost::sgIo(descriptor, request);
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        const AllocationPause pause;
        return ForwardingHost::deviceSize(descriptor, bytes);
    }
    host::ReadResult readFile(const std::string& path) override {
        const AllocationPause pause;
        return ForwardingHost::readFile(path);
    }
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override {
        const AllocationPause pause;
        return ForwardingHost::appendFile(path, text, beforeWrite);
    }
    bool pathExists(const std::string& path) override {
        const AllocationPause pause;
        return ForwardingHost::pathExists(path);
    }
    bool isDirectory(const std::string& path) override {
        const AllocationPause pause;
        return ForwardingHost::isDirectory(path);
    }
    host::DirectoryListing listDirectory(const std::string& path) override {
        const AllocationPause pause;
        return ForwardingHost::listDirectory(path);
    }
    int readLink(const std::string& path, std::string& target) override {
        const AllocationPause pause;
        return ForwardingHost::readLink(path, target);
    }
    int deviceNumber(const std::string& path, host::DeviceNumber& number) override {
        const AllocationPause pause;
        return ForwardingHost::deviceNumber(path, number);
    }
    int writeAccess(const std::string& path) override {
        const AllocationPause pause;
        return ForwardingHost::writeAccess(path);
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        const AllocationPause pause;
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }
    int runShell(const std::string& line) override {
        const AllocationPause pause;
        return ForwardingHost::runShell(line);
    }
    int openSemaphore(int key, int count, int flags) override {
        const AllocationPause pause;
        return ForwardingHost::openSemaphore(key, count, flags);
    }
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override {
        const AllocationPause pause;
        return ForwardingHost::operateSemaphore(identifier, operations);
    }
    int semaphoreUser(int identifier) override {
        const AllocationPause pause;
        return ForwardingHost::semaphoreUser(identifier);
    }
    std::string kernelRelease() override {
        const AllocationPause pause;
        return ForwardingHost::kernelRelease();
    }
    int hostName(std::string& name) override {
        const AllocationPause pause;
        return ForwardingHost::hostName(name);
    }
    void sleepSeconds(unsigned seconds) override {
        const AllocationPause pause;
        ForwardingHost::sleepSeconds(seconds);
    }
};

}  // namespace test

#endif
