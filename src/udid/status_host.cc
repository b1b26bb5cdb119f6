#include "udid/status_host.h"

#include <cerrno>

#include "discovery/native_disks.h"
#include "host/noted_open.h"

namespace udid {

const std::string& StatusHost::nameOf(int descriptor) const {
    static const std::string kNone;
    const auto device = m_open.find(descriptor);
    return device != m_open.end() ? device->second : kNone;
}

int StatusHost::openDevice(const std::string& path, host::OpenMode mode) {
    const int descriptor = ForwardingHost::openDevice(path, mode);
    return host::notedOpen(inner(), descriptor, [&] {
        m_notes.opened(path, mode, descriptor);
        if (descriptor >= 0) {
            m_open[descriptor] = path;
        }
    });
}

int StatusHost::closeDevice(int descriptor) {
    m_open.erase(descriptor);
    return ForwardingHost::closeDevice(descriptor);
}

int StatusHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const host::CommandBuffer sent = buffer;
    const int result = ForwardingHost::sendCommand(descriptor, buffer);
    m_notes.inquired(nameOf(descriptor), sent, result, buffer);
    return result;
}

int StatusHost::addressWords(int descriptor, host::AddressWords& words) {
    const int result = ForwardingHost::addressWords(descriptor, words);
    m_notes.toldAddress(nameOf(descriptor), result);
    return result;
}

int StatusHost::sgIo(int descriptor, host::SgIoRequest& request) {
    const int result = ForwardingHost::sgIo(descriptor, request);
    m_notes.askedByGenerator(nameOf(descriptor), result, request);
    return result;
}

host::ReadResult StatusHost::readFile(const std::string& path) {
    host::ReadResult result = ForwardingHost::readFile(path);
    if (path == discovery::kDiskList) {
        m_notes.listRead(path, result.error());
    }
    return result;
}

host::DirectoryListing StatusHost::listDirectory(const std::string& path) {
    host::DirectoryListing listing = ForwardingHost::listDirectory(path);
    const int error = listing.openError != 0 ? listing.openError : listing.readError;
    m_notes.listRead(path, error != ENOENT ? error : 0);
    return listing;
}

}  // namespace udid
