#include "recording/replay/recorded_tree.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace recording {
namespace {

constexpr int kMostLinks = 40;  // MAXSYMLINKS of the kernel

std::string_view withoutLastSlashes(std::string_view path) {
    return path.substr(0, path.find_last_not_of('/') + 1);
}

std::size_t pathsIn(const RecordedHostData& data) {
    return data.files.size() + data.directories.size() + data.devices.size() + data.links.size();
}

}  // namespace

RecordedTree::RecordedTree(RecordedHostData data)
    : m_data(std::move(data)), m_places(pathsIn(m_data)) {
    static const std::vector<std::string> kNoNames;
    std::string_view noted;  // in order, most files lie beside the one before
    for (const auto& [path, file] : m_data.files) {
        // What was looked for in vain is not there, and neither is a directory for its sake.
        if (file.error == ENOENT) {
            continue;
        }
        m_places[path].file = &file;
        const std::string_view above = std::string_view(path).substr(0, path.rfind('/'));
        if (above != noted) {
            noteDirectoriesAbove(path);
            noted = above;
        }
    }
    for (const auto& [path, names] : m_data.directories) {
        directoryAt(path).names = &names;
    }
    for (const auto& [path, error] : m_data.directoryErrors) {
        Place& directory = directoryAt(path);
        directory.names = directory.names != nullptr ? directory.names : &kNoNames;
        directory.directoryError = error;
    }
    for (const auto& [path, device] : m_data.devices) {
        m_places[path].node.emplace(Node{path, device});
        noteDirectoriesAbove(path);
    }
    for (const auto& [path, target] : m_data.links) {
        m_places[path].link = &target;
        noteDirectoriesAbove(path);
    }
}

RecordedTree::Place& RecordedTree::directoryAt(const std::string& path) {
    const std::string_view directory = withoutLastSlashes(path);
    noteDirectoriesAbove(directory);
    return m_places[directory];
}

void RecordedTree::noteDirectoriesAbove(std::string_view path) {
    for (std::size_t slash = path.rfind('/'); slash != std::string_view::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
        Place& directory = m_places[path.substr(0, slash)];
        // What is known already has its own parents noted with it.
        if (directory.isInhabited) {
            return;
        }
        directory.isInhabited = true;
    }
}

const RecordedTree::Place* RecordedTree::placeAt(std::string_view path) const {
    return m_places.find(path);
}

bool RecordedTree::isInhabited(const std::string& path) const {
    int error = 0;
    const Place* const place = placeAt(follow(path, true, error));
    return error == 0 && place != nullptr && place->isInhabited;
}

bool RecordedTree::isDirectory(const std::string& place) const {
    const Place* const known = placeAt(place);
    return place.empty() || (known != nullptr && (known->names != nullptr || known->isInhabited));
}

RecordedTree::Entry RecordedTree::entryAt(std::string_view path) const {
    Entry entry;
    const Place* place = placeAt(path);
    if (place != nullptr && (place->file != nullptr || place->node)) {
        entry.file = place->file;
        entry.node = entry.file == nullptr ? &*place->node : nullptr;
        return entry;
    }
    if (!path.empty() && path.back() == '/') {
        place = placeAt(withoutLastSlashes(path));
    }
    if (place != nullptr && place->names != nullptr) {
        entry.directory = place->names;
        entry.directoryError = place->directoryError;
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
        const std::size_t folder = place.size();
        place.append("/").append(name);
        const Place* const found = placeAt(place);
        if (found == nullptr || found->link == nullptr || (isLast && !followLast)) {
            const bool isLeaf = found != nullptr && (found->file != nullptr || found->node);
            error = isLeaf && !isLast ? ENOTDIR : 0;
            continue;
        }
        error = ++links > kMostLinks ? ELOOP : 0;
        const std::string& target = *found->link;
        rest.replace(0, isLast ? next : next - 1, target);
        next = 0;
        // From here, or from the root.
        place.resize(target.compare(0, 1, "/") == 0 ? 0 : folder);
    }
    return place;
}

int RecordedTree::readLink(const std::string& path, std::string& target) const {
    // What was recorded under this very path answers by itself, as in `find`.
    const Place* const exact = placeAt(path);
    if (exact != nullptr && exact->link != nullptr) {
        target = *exact->link;
        return 0;
    }
    int error = 0;
    // A link named with a "/" behind it is what it points to.
    const bool isItself = !path.empty() && path.back() != '/';
    const Place* const place = placeAt(follow(path, !isItself, error));
    if (error == 0 && isItself && place != nullptr && place->link != nullptr) {
        target = *place->link;
        return 0;
    }
    const Entry entry = find(path);
    return entry.error == 0 ? -EINVAL : -entry.error;
}

}  // namespace recording
