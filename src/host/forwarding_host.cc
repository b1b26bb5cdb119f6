#include "scsitool/host/forwarding_host.h"

namespace host {

int ForwardingHost::openDevice(const std::string& path, OpenMode mode) {
    return m_inner.openDevice(path, mode);
}

int ForwardingHost::closeDevice(int descriptor) {
    return m_inner.closeDevice(descriptor);
}

int ForwardingHost::sendCommand(int descriptor, CommandBuffer& buffer) {
    return m_inner.sendCommand(descriptor, buffer);
}

int ForwardingHost::addressWords(int descriptor, AddressWords& words) {
    return m_inner.addressWords(descriptor, words);
}

int ForwardingHost::sgIo(int descriptor, SgIoRequest& request) {
    return m_inner.sgIo(descriptor, request);
}

int ForwardingHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    return m_inner.deviceSize(descriptor, bytes);
}

int ForwardingHost::readFile(const std::string& path, std::string& content) {
    return m_inner.readFile(path, content);
}

AppendResult ForwardingHost::appendFile(const std::string& path, const std::string& text) {
    return m_inner.appendFile(path, text);
}

bool ForwardingHost::pathExists(const std::string& path) {
    return m_inner.pathExists(path);
}

bool ForwardingHost::isDirectory(const std::string& path) {
    return m_inner.isDirectory(path);
}

DirectoryListing ForwardingHost::listDirectory(const std::string& path) {
    return m_inner.listDirectory(path);
}

int ForwardingHost::readLink(const std::string& path, std::string& target) {
    return m_inner.readLink(path, target);
}

CommandResult ForwardingHost::runCommand(const std::string& command, int timeoutSeconds) {
    return m_inner.runCommand(command, timeoutSeconds);
}

int ForwardingHost::runShell(const std::string& line) {
    return m_inner.runShell(line);
}

int ForwardingHost::openSemaphore(int key, int count, int flags) {
    return m_inner.openSemaphore(key, count, flags);
}

int ForwardingHost::operateSemaphore(int identifier,
                                     const std::vector<SemaphoreOperation>& operations) {
    return m_inner.operateSemaphore(identifier, operations);
}

std::string ForwardingHost::kernelRelease() {
    return m_inner.kernelRelease();
}

int ForwardingHost::hostName(std::string& name) {
    return m_inner.hostName(name);
}

void ForwardingHost::sleepSeconds(unsigned seconds) {
    m_inner.sleepSeconds(seconds);
}

}  // namespace host
