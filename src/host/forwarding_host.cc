#include "scsitool/host/forwarding_host.h"

namespace host {

int ReadForwardingHost::openDevice(const std::string& path, OpenMode mode) {
    return m_inner.openDevice(path, mode);
}

int ReadForwardingHost::closeDevice(int descriptor) {
    return m_inner.closeDevice(descriptor);
}

int ReadForwardingHost::sendCommand(int descriptor, CommandBuffer& buffer) {
    return m_inner.sendCommand(descriptor, buffer);
}

int ReadForwardingHost::addressWords(int descriptor, AddressWords& words) {
    return m_inner.addressWords(descriptor, words);
}

int ReadForwardingHost::sgIo(int descriptor, SgIoRequest& request) {
    return m_inner.sgIo(descriptor, request);
}

int ReadForwardingHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    return m_inner.deviceSize(descriptor, bytes);
}

ReadResult ReadForwardingHost::readFile(const std::string& path) {
    return m_inner.readFile(path);
}

bool ReadForwardingHost::pathExists(const std::string& path) {
    return m_inner.pathExists(path);
}

bool ReadForwardingHost::isDirectory(const std::string& path) {
    return m_inner.isDirectory(path);
}

DirectoryListing ReadForwardingHost::listDirectory(const std::string& path) {
    return m_inner.listDirectory(path);
}

int ReadForwardingHost::readLink(const std::string& path, std::string& target) {
    return m_inner.readLink(path, target);
}

int ReadForwardingHost::deviceNumber(const std::string& path, DeviceNumber& number) {
    return m_inner.deviceNumber(path, number);
}

int ReadForwardingHost::writeAccess(const std::string& path) {
    return m_inner.writeAccess(path);
}

int ReadForwardingHost::openSemaphore(int key, int count, int flags) {
    return m_inner.openSemaphore(key, count, flags);
}

int ReadForwardingHost::operateSemaphore(int identifier,
                                         const std::vector<SemaphoreOperation>& operations) {
    return m_inner.operateSemaphore(identifier, operations);
}

int ReadForwardingHost::semaphoreUser(int identifier) {
    return m_inner.semaphoreUser(identifier);
}

std::string ReadForwardingHost::kernelRelease() {
    return m_inner.kernelRelease();
}

int ReadForwardingHost::hostName(std::string& name) {
    return m_inner.hostName(name);
}

AppendResult ForwardingHost::appendFile(const std::string& path, const std::string& text,
                                        const BeforeWrite& beforeWrite) {
    return inner().appendFile(path, text, beforeWrite);
}

CommandResult ForwardingHost::runCommand(const std::string& command, int timeoutSeconds) {
    return inner().runCommand(command, timeoutSeconds);
}

int ForwardingHost::runShell(const std::string& line) {
    return inner().runShell(line);
}

void ForwardingHost::sleepSeconds(unsigned seconds) {
    inner().sleepSeconds(seconds);
}

}  // namespace host
