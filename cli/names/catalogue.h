#ifndef SCSITOOL_CLI_NAMES_CATALOGUE_H
#define SCSITOOL_CLI_NAMES_CATALOGUE_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/picture/kernel_view.h"
#include "cli/view/users.h"

namespace cli::names {

/// A disk, map or pseudo-device with the names that the kernel gives it.
struct Entry {
    std::string node;        ///< "/dev/sda", "/dev/mapper/mpatha"
    std::string kernelName;  ///< "sda", "dm-3"; empty where the kernel does not tell
    picture::Kind kind = picture::Kind::kDisk;
    std::optional<picture::ScsiAddress> address;
    std::vector<std::string> paths;     ///< of a map: kernel names
    std::set<std::string> identifiers;  ///< in digits, as `identifierIn` has them
};

using Nodes = std::set<std::string>;

/// The names that a host has for its disks and maps without any of them being asked.
class Catalogue {
  public:
    explicit Catalogue(const HostView& view);

    /// The nodes of the disks, maps and pseudo-devices that a word is a name of; those below it
    /// where it names something that stands on them: a partition, a logical volume, a mount point.
    /// What names one thing exactly goes before what names several.
    Nodes find(const std::string& word);
    /// The map of that name itself, of whatever target: nothing below it.
    Nodes findMap(const std::string& word);

    const std::vector<Entry>& entries() const { return m_entries; }
    const Entry* entryOf(const std::string& node) const;
    /// The paths of a map, and the maps of a path.
    std::vector<const Entry*> related(const Entry& entry) const;
    /// The links of udev that lead to a device.
    std::vector<std::string> linksTo(const std::string& kernelName);
    std::string genericNodeOf(const Entry& entry);
    std::string numberOf(const Entry& entry);
    view::UserBook& users() { return m_users; }

  private:
    void add(Entry entry);
    void addDisks();
    void addMaps();
    void addByName(const std::string& name, Nodes& nodes);
    void addByAddress(const std::string& word, Nodes& nodes);
    void addByGenericNode(const std::string& name, Nodes& nodes);
    void addByLink(const std::string& word, Nodes& nodes);
    void addByIdentifier(const std::string& word, Nodes& nodes);
    void addByMountPoint(const std::string& word, Nodes& nodes);
    void addBelow(const std::string& kernelName, Nodes& nodes, std::set<std::string>& seen);
    std::string kernelNameAt(const std::string& place);

    HostView m_view;
    picture::KernelView m_kernel;
    view::UserBook m_users;
    std::vector<Entry> m_entries;
    std::map<std::string, std::size_t> m_byNode;
    std::map<std::string, std::size_t> m_byKernelName;
};

/// Tells whether a word is a node as the library names it, to be handed over as it is.
bool isLibraryName(const std::string& word);

}  // namespace cli::names

#endif
