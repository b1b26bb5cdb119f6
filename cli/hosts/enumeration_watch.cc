#include "cli/hosts/enumeration_watch.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/noted_open.h"
#include "scsi/inquiry_command.h"

namespace cli {
namespace {

constexpr const char* kDiskList = "/proc/partitions";

bool isGone(int error) {
    return error == -ENXIO || error == -ENODEV;
}

// Maps and pseudo-devices have no address of their own that the inventory could know.
bool isDisk(const std::string& path) {
    constexpr const char* kDisks = "/dev/sd";
    return path.compare(0, std::strlen(kDisks), kDisks) == 0;
}

}  // namespace

void EnumerationWatch::note(const std::string& path, const std::string& what, int error) {
    const std::string reason =
        what + (error > 0 ? "SCSI status " + std::to_string(error) : std::strerror(-error));
    const bool isKnown = std::any_of(m_gaps.begin(), m_gaps.end(), [&](const EnumerationGap& gap) {
        return gap.path == path && gap.reason == reason;
    });
    if (!isKnown) {
        m_gaps.push_back({path, reason});
    }
}

int EnumerationWatch::openDevice(const std::string& path, host::OpenMode mode) {
    const int descriptor = ForwardingHost::openDevice(path, mode);
    if (!isDisk(path)) {
        return descriptor;
    }
    return host::notedOpen(inner(), descriptor, [&] {
        if (descriptor >= 0) {
            m_disks[descriptor] = path;
        } else if (!isGone(descriptor) && (m_isLive || descriptor != -ENOENT)) {
            note(path, "cannot be opened: ", descriptor);
        }
    });
}

int EnumerationWatch::closeDevice(int descriptor) {
    m_disks.erase(descriptor);
    return ForwardingHost::closeDevice(descriptor);
}

void EnumerationWatch::noteAnswer(int descriptor, const char* what, int result) {
    const auto disk = m_disks.find(descriptor);
    if (result != 0 && !isGone(result) && disk != m_disks.end()) {
        note(disk->second, what, result);
    }
}

int EnumerationWatch::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const bool isStandardInquiry = scsi::isInquiry(buffer) && !scsi::asksForPage(buffer);
    const int result = ForwardingHost::sendCommand(descriptor, buffer);
    if (isStandardInquiry) {
        noteAnswer(descriptor, "answers INQUIRY with: ", result);
    }
    return result;
}

int EnumerationWatch::addressWords(int descriptor, host::AddressWords& words) {
    const int result = ForwardingHost::addressWords(descriptor, words);
    noteAnswer(descriptor, "cannot be asked for its address: ", result);
    return result;
}

host::ReadResult EnumerationWatch::readFile(const std::string& path) {
    host::ReadResult result = ForwardingHost::readFile(path);
    const int error = result.error();
    if (error != 0 && (error != ENOENT || (m_isLive && path == kDiskList))) {
        note(path, "cannot be read: ", -error);
    }
    return result;
}

host::DirectoryListing EnumerationWatch::listDirectory(const std::string& path) {
    host::DirectoryListing listing = ForwardingHost::listDirectory(path);
    const int error = listing.openError != 0 ? listing.openError : listing.readError;
    if (error != 0 && error != ENOENT) {
        note(path, "cannot be listed: ", -error);
    }
    return listing;
}

}  // namespace cli
