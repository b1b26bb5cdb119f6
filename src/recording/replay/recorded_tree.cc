#include "recording/replay/recorded_tree.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace recording {
namespace {

constexpr int kMostLinks = 40;  // MAXSYMLINKS of the kernel

std::string withoutLastSlashes(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

}  // namespace

RecordedTree::RecordedTree(RecordedHostData data) : m_data(std::move(data)) {
    static const std::vector<std::string> kNoNames;
    for (const auto& [path, file] : m_data.files) {
        // What was looked for in vain is not there, and neither is a directory for its sake.
        if (file.error != ENOENT) {
            noteDirectoriesAbove(path);
        }
    }
    for (const auto& [path, names] : m_data.directories) {
        const std::string directory = withoutLastSlashes(path);
        noteDirectoriesAbove(directory);
        m_directories[directory].names = &names;
    }
    for (const auto& [path, error] : m_data.directoryErrors) {
        const std::string directory = withoutLastSlashes(path);
        noteDirectoriesAbove(directory);
        Directory& entry = m_directories[directory];
        entry.names = entry.names != nullptr ? entry.names : &kNoNames;
        entry.error = error;
    }
    for (const auto& [path, device] : m_data.devices) {
        noteDirectoriesAbove(path);
        m_devices.emplace(path, Node{path, device});
    }
    for (const auto& link : m_data.links) {
        noteDirectoriesAbove(link.first);
    }
}

void RecordedTree::noteDirectoriesAbove(const std::string& path) {
    for (std::size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
        // What is known already has its own parents noted with it.
        if (!m_inhabited.insert(path.substr(0, slash)).second) {
            return;
        }
    }
}

bool RecordedTree::isInhabited(const std::string& path) const {
    int error = 0;
    const std::string place = follow(path, true, error);
    return error == 0 && m_inhabited.count(place) != 0;
}

bool RecordedTree::isDirectory(const std::string& place) const {
    return place.empty() || m_directories.count(place) != 0 || m_inhabited.count(place) != 0;
}

const RecordedFile* RecordedTree::fileAt(const std::string& path) const {
    const auto file = m_data.files.find(path);
    return file == m_data.files.end() || file->second.error == ENOENT ? nullptr : &file->second;
}

RecordedTree::Entry RecordedTree::entryAt(const std::string& path) const {
    Entry entry;
    entry.file = fileAt(path);
    if (entry.file != nullptr) {
        return entry;
    }
    const auto node = m_devices.find(path);
    if (node != m_devices.end()) {
        entry.node = &node->second;
        return entry;
    }
    const auto directory = m_directories.find(withoutLastSlashes(path));
    if (directory != m_directories.end()) {
        entry.directory = directory->second.names;
        entry.directoryError = directory->second.error;
        return entry;
    }
    entry.error = ENOENT;
    return entry;
}

RecordedTree::Entry RecordedTree::find(const std::string& path) const {
    Entry entry;
    if (path.empty()) {
        entry.error = ENOENT;
        return entry;
    }
    entry = entryAt(path);
    if (entry.error == 0) {
        return entry;
    }
    const std::string place = follow(path, true, entry.error);
    return entry.error == 0 ? entryAt(place) : entry;
}

std::string RecordedTree::follow(const std::string& path, bool followLast, int& error) const {
    std::string rest = path;
    std::string place;
    int links = 0;
    std::size_t next = 0;
    // What is relative lies in a directory that was not recorded.
    error = path.empty() || path.front() != '/' ? ENOENT : 0;
    while (error == 0 && next < rest.size()) {
        const std::size_t start = next;
        next = std::min(rest.find('/', start), rest.size());
        const std::string name = rest.substr(start, next - start);
        const bool isLast = next == rest.size();
        next += isLast ? 0 : 1;
        if (name.empty() || name == ".") {
            continue;
        }
        if (name == "..") {
            error = isDirectory(place) ? 0 : ENOENT;
            place.erase(std::min(place.rfind('/'), place.size()));
            continue;
        }
        const std::string candidate = std::string(place).append("/").append(name);
        const auto link = m_data.links.find(candidate);
        if (link == m_data.links.end() || (isLast && !followLast)) {
            const bool isLeaf = fileAt(candidate) != nullptr || m_devices.count(candidate) != 0;
            error = isLeaf && !isLast ? ENOTDIR : 0;
            place = candidate;
            continue;
        }
        error = ++links > kMostLinks ? ELOOP : 0;
        rest = link->second + rest.substr(isLast ? next : next - 1);
        next = 0;
        if (link->second.compare(0, 1, "/") == 0) {
            place.clear();
        }
    }
    return place;
}

int RecordedTree::readLink(const std::string& path, std::string& target) const {
    // What was recorded under this very path answers by itself, as in `find`.
    const auto exact = m_data.links.find(path);
    if (exact != m_data.links.end()) {
        target = exact->second;
        return 0;
    }
    int error = 0;
    // A link named with a "/" behind it is what it points to.
    const bool isItself = !path.empty() && path.back() != '/';
    const std::string place = follow(path, !isItself, error);
    const auto link = m_data.links.find(place);
    if (error == 0 && isItself && link != m_data.links.end()) {
        target = link->second;
        return 0;
    }
    const Entry entry = find(path);
    return entry.error == 0 ? -EINVAL : -entry.error;
}

}  // namespace recording
