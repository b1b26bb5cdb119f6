#ifndef SCSITOOL_RECORDING_REPLAY_RECORDED_TREE_H
#define SCSITOOL_RECORDING_REPLAY_RECORDED_TREE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recording/replay/path_table.h"
#include "recording/replay/recorded_host_data.h"

namespace recording {

/// What lies where on a recorded host: files, directories, device nodes and the symbolic links to
/// them. A path is looked up as it was recorded first, so that a node recorded under a link's name
/// answers by itself; then it is followed component by component, as the kernel does. It never
/// changes, and any number of threads may ask it.
class RecordedTree {
  public:
    struct Node {
        const std::string& path;
        const RecordedDevice& device;
    };
    /// What lies at a path: one of the three, or the errno that stands for it.
    struct Entry {
        const RecordedFile* file = nullptr;
        const std::vector<std::string>* directory = nullptr;
        int directoryError = 0;  ///< of a directory that does not open: there are no names then
        const Node* node = nullptr;
        int error = 0;
    };

    explicit RecordedTree(RecordedHostData data);
    RecordedTree(const RecordedTree&) = delete;
    RecordedTree& operator=(const RecordedTree&) = delete;

    /// What it was made of.
    const RecordedHostData& data() const { return m_data; }

    /// Follows links; ENOENT, ENOTDIR or ELOOP where nothing is found.
    Entry find(const std::string& path) const;
    /// Where a link points: 0, or a negated errno as `host::Host::readLink` gives it.
    int readLink(const std::string& path, std::string& target) const;
    /// Tells whether something recorded lies in a directory, though it need not be listed itself.
    bool isInhabited(const std::string& path) const;

  private:
    /// What is known of one place, several things at once where the recording has them.
    struct Place {
        const RecordedFile* file = nullptr;  ///< none for one that was looked for in vain
        std::optional<Node> node;
        const std::vector<std::string>* names = nullptr;  ///< of a directory that is listed
        int directoryError = 0;
        const std::string* link = nullptr;
        bool isInhabited = false;  ///< a directory that something recorded lies in
    };

    const Place* placeAt(std::string_view path) const;
    Place& directoryAt(const std::string& path);
    void noteDirectoriesAbove(std::string_view path);
    Entry entryAt(std::string_view path) const;
    /// The same place without ".", ".." and links (the last component's only if asked for); "" is
    /// the root.
    std::string follow(const std::string& path, bool followLast, int& error) const;
    bool isDirectory(const std::string& place) const;

    // Large hosts are asked over and over: what follows points into it and copies nothing.
    const RecordedHostData m_data;
    PathTable<Place> m_places;  // directories without the last "/"
};

}  // namespace recording

#endif
