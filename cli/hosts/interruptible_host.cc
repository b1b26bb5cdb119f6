#include "cli/hosts/interruptible_host.h"

#include <cerrno>

#include "scsitool/host/interruption.h"

namespace cli {
namespace {

constexpr int kNotStarted = 127 << 8;

bool endIsAsked() {
    return host::interruption() != 0;
}

int changeOf(const std::vector<host::SemaphoreOperation>& operations) {
    int change = 0;
    for (const host::SemaphoreOperation& operation : operations) {
        change += operation.operation;
    }
    return change;
}

}  // namespace

int InterruptibleHost::openDevice(const std::string& path, host::OpenMode mode) {
    return endIsAsked() ? -EINTR : m_inner.openDevice(path, mode);
}

int InterruptibleHost::closeDevice(int descriptor) {
    return m_inner.closeDevice(descriptor);
}

int InterruptibleHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    return endIsAsked() ? -EINTR : m_inner.sendCommand(descriptor, buffer);
}

int InterruptibleHost::addressWords(int descriptor, host::AddressWords& words) {
    return endIsAsked() ? -EINTR : m_inner.addressWords(descriptor, words);
}

int InterruptibleHost::sgIo(int descriptor, host::SgIoRequest& request) {
    return endIsAsked() ? -EINTR : m_inner.sgIo(descriptor, request);
}

int InterruptibleHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    return endIsAsked() ? -EINTR : m_inner.deviceSize(descriptor, bytes);
}

host::ReadResult InterruptibleHost::readFile(const std::string& path) {
    return endIsAsked() ? host::ReadResult{EINTR, 0, {}} : m_inner.readFile(path);
}

host::AppendResult InterruptibleHost::appendFile(const std::string& path, const std::string& text,
                                                 const host::BeforeWrite& beforeWrite) {
    return endIsAsked() ? host::AppendResult{EINTR, 0}
                        : m_inner.appendFile(path, text, beforeWrite);
}

bool InterruptibleHost::pathExists(const std::string& path) {
    return m_inner.pathExists(path);
}

bool InterruptibleHost::isDirectory(const std::string& path) {
    return m_inner.isDirectory(path);
}

host::DirectoryListing InterruptibleHost::listDirectory(const std::string& path) {
    return m_inner.listDirectory(path);
}

int InterruptibleHost::readLink(const std::string& path, std::string& target) {
    return m_inner.readLink(path, target);
}

int InterruptibleHost::deviceNumber(const std::string& path, host::DeviceNumber& number) {
    return m_inner.deviceNumber(path, number);
}

int InterruptibleHost::writeAccess(const std::string& path) {
    return m_inner.writeAccess(path);
}

host::CommandResult InterruptibleHost::runCommand(const std::string& command, int timeoutSeconds) {
    if (endIsAsked()) {
        return {{}, kNotStarted, false};
    }
    return m_inner.runCommand(command, timeoutSeconds);
}

int InterruptibleHost::runShell(const std::string& line) {
    return endIsAsked() ? kNotStarted : m_inner.runShell(line);
}

int InterruptibleHost::openSemaphore(int key, int count, int flags) {
    return m_inner.openSemaphore(key, count, flags);
}

// A lock that was not had must not be given back: it is somebody else's.
int InterruptibleHost::operateSemaphore(int identifier,
                                        const std::vector<host::SemaphoreOperation>& operations) {
    const int change = changeOf(operations);
    int& held = m_held[identifier];
    const bool givesBack = change < 0 && held + change >= 0;
    if (endIsAsked() && !givesBack) {
        return -EINTR;
    }
    const int result = m_inner.operateSemaphore(identifier, operations);
    held += result >= 0 ? change : 0;
    return result;
}

int InterruptibleHost::semaphoreUser(int identifier) {
    return m_inner.semaphoreUser(identifier);
}

std::string InterruptibleHost::kernelRelease() {
    return m_inner.kernelRelease();
}

int InterruptibleHost::hostName(std::string& name) {
    return m_inner.hostName(name);
}

void InterruptibleHost::sleepSeconds(unsigned seconds) {
    if (!endIsAsked()) {
        m_inner.sleepSeconds(seconds);
    }
}

}  // namespace cli
