#include <cerrno>
#include <cstring>

#include "recording/capture/recording_host.h"

namespace recording {
namespace {

constexpr std::size_t kLongestLink = 4095;

std::string withoutLastSlashes(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

}  // namespace

host::ReadResult RecordingHost::readFile(const std::string& path) {
    host::ReadResult result = ForwardingHost::readFile(path);
    const std::lock_guard<std::mutex> lock(m_mutex);
    noteFile(path, result);
    return result;
}

void RecordingHost::noteFile(const std::string& path, const host::ReadResult& result) {
    const int error = result.openError;
    // A directory or a device node answers by what it is.
    if (error == ENOENT || error == EISDIR || error == EINVAL || error == ENOTDIR ||
        !isWritable(path)) {
        return;
    }
    RecordedFile file;
    file.error = error;
    file.readError = result.readError;
    if (result.content.size() <= m_limits.file) {
        file.content = result.content;
    } else {
        file.readError = EFBIG;
        remark(path + ": a file of more than " + std::to_string(m_limits.file) +
               " bytes is recorded as too large to be read");
    }
    const auto [known, isNew] = m_files.emplace(path, file);
    if (!isNew && (known->second.error != 0 || known->second.readError != 0)) {
        known->second = std::move(file);
    }
}

bool RecordingHost::pathExists(const std::string& path) {
    const bool exists = ForwardingHost::pathExists(path);
    if (!exists || !isDirectory(path)) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (isWritable(path)) {
            (exists ? m_present : m_absent).insert(path);
        }
    }
    return exists;
}

bool RecordingHost::isDirectory(const std::string& path) {
    const bool isOne = ForwardingHost::isDirectory(path);
    if (isOne) {
        bool isKnown = false;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            isKnown = m_directories.count(withoutLastSlashes(path)) != 0;
        }
        if (!isKnown) {
            listDirectory(path);
        }
    }
    return isOne;
}

host::DirectoryListing RecordingHost::listDirectory(const std::string& path) {
    host::DirectoryListing listing = ForwardingHost::listDirectory(path);
    const std::lock_guard<std::mutex> lock(m_mutex);
    noteListing(path, listing);
    return listing;
}

void RecordingHost::noteListing(const std::string& path, const host::DirectoryListing& listing) {
    const bool isNone =
        listing.openError == ENOENT || listing.openError == ENOTDIR || listing.openError == EINVAL;
    if (isNone || !isWritable(path)) {
        return;
    }
    const std::string directory = withoutLastSlashes(path);
    if (m_directories.count(directory) != 0) {
        return;
    }
    if (listing.openError != 0) {
        m_directoryErrors.emplace(directory, listing.openError);
        return;
    }
    m_directoryErrors.erase(directory);
    std::vector<std::string>& names = m_directories[directory];
    for (const std::string& name : listing.names) {
        if (names.size() == m_limits.names) {
            remark(path + ": of more than " + std::to_string(m_limits.names) +
                   " names only these are recorded");
            break;
        }
        // No directory of a kernel has such a name, and a recording cannot hold it.
        if (!name.empty() && name.find('/') == std::string::npos) {
            names.push_back(name);
        }
    }
    if (listing.readError != 0) {
        remark(path + ": the listing broke off (" + std::strerror(listing.readError) +
               "); the names before that are recorded");
    }
}

int RecordingHost::readLink(const std::string& path, std::string& target) {
    const int result = ForwardingHost::readLink(path, target);
    const std::lock_guard<std::mutex> lock(m_mutex);
    // What is no link answers by what it is; a path with "/" behind it is what the link points to.
    if (result >= 0 && !target.empty() && target.size() <= kLongestLink &&
        target.find('\0') == std::string::npos && path.back() != '/' && isWritable(path)) {
        m_links.emplace(path, target);
    }
    return result;
}

int RecordingHost::writeAccess(const std::string& path) {
    const int result = ForwardingHost::writeAccess(path);
    pathExists(path);
    return result;
}

host::AppendResult RecordingHost::appendFile(const std::string& path, const std::string& text,
                                             const host::BeforeWrite& beforeWrite) {
    const host::AppendResult result = ForwardingHost::appendFile(path, text, beforeWrite);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (result.openError == 0 && isWritable(path)) {
        m_present.insert(path);
    }
    return result;
}

}  // namespace recording
