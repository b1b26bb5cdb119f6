#include "cli/names/catalogue.h"

#include <algorithm>

#include "cli/names/word.h"
#include "cli/picture/unit_name.h"
#include "recording/guard/kernel/answering.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli::names {
namespace {

namespace guard = recording::guard;
using picture::Kind;

constexpr const char* kDev = "/dev/";
constexpr const char* kMapper = "/dev/mapper/";
// What udev names block devices by.
constexpr const char* kLinkFolders[] = {"/dev/disk/by-id/",       "/dev/disk/by-path/",
                                        "/dev/disk/by-uuid/",     "/dev/disk/by-label/",
                                        "/dev/disk/by-partuuid/", "/dev/disk/by-partlabel/"};

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

std::string lastOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// "sdb" of "sdb" and "/dev/sdb"; empty for what lies deeper.
std::string nameIn(const std::string& word) {
    const std::string name = beginsWith(word, kDev) ? word.substr(5) : word;
    return name.find('/') == std::string::npos ? name : std::string();
}

std::string withoutDigits(const std::string& name) {
    return name.substr(0, name.find_last_not_of("0123456789") + 1);
}

std::set<std::string> identifiersOf(const picture::UnitNames& names) {
    std::set<std::string> identifiers;
    for (const picture::UnitName& name : names) {
        identifiers.insert(identifierIn(name.text));
    }
    identifiers.erase("");
    return identifiers;
}

}  // namespace

bool isLibraryName(const std::string& word) {
    const std::string name = nameIn(word);
    const bool isDisk = beginsWith(name, "sd") && name == withoutDigits(name);
    const bool isPseudo = beginsWith(name, "emcpower") && name == withoutDigits(name);
    return (word == kDev + name && (isDisk || isPseudo)) || beginsWith(word, kMapper);
}

Catalogue::Catalogue(const HostView& view)
    : m_view(view), m_kernel(view.host, view.isRecorded()), m_users(view.host, view.isRecorded()) {
    addDisks();
    addMaps();
}

void Catalogue::add(Entry entry) {
    const auto [place, isNew] = m_byNode.emplace(entry.node, m_entries.size());
    if (!isNew) {
        return;
    }
    if (!entry.kernelName.empty()) {
        m_byKernelName[entry.kernelName] = place->second;
    }
    m_entries.push_back(std::move(entry));
}

void Catalogue::addDisks() {
    for (const picture::KernelDisk& disk : m_kernel.disks()) {
        Entry entry;
        entry.node = kDev + disk.name;
        entry.kernelName = disk.name;
        entry.address = disk.address;
        if (disk.address) {
            guard::ScsiDevices& scsi = m_kernel.scsiDevices();
            entry.identifiers = identifiersOf(
                picture::unitNames(scsi.pageAt(*disk.address, guard::kIdentificationPage)));
            entry.identifiers.insert(identifierIn(scsi.attributeAt(*disk.address, "wwid")));
            entry.identifiers.erase("");
        }
        add(std::move(entry));
    }
}

// A recording need not have what sysfs says of a map that stands in /dev/mapper.
void Catalogue::addMaps() {
    for (const picture::KernelMap& map : m_kernel.maps()) {
        Entry entry = {map.node, map.kernelName, map.kind, {}, map.paths, {}};
        const std::string uuid = m_users.blocks().mapUuid(map.kernelName);
        entry.identifiers.insert(identifierIn(guard::isMultipath(uuid) ? uuid : ""));
        entry.identifiers.erase("");
        add(std::move(entry));
    }
    for (const std::string& name : m_view.host.listDirectory(kMapper).names) {
        if (name != "." && name != ".." && name != "control") {
            add({kMapper + name, "", Kind::kOther, {}, {}, {}});
        }
    }
}

const Entry* Catalogue::entryOf(const std::string& node) const {
    const auto found = m_byNode.find(node);
    return found == m_byNode.end() ? nullptr : &m_entries[found->second];
}

// Down to what the library can be asked for: a disk, a multipath map, a pseudo-device.
void Catalogue::addBelow(const std::string& kernelName, Nodes& nodes, std::set<std::string>& seen) {
    if (!seen.insert(kernelName).second) {
        return;
    }
    const auto found = m_byKernelName.find(kernelName);
    if (found != m_byKernelName.end() && m_entries[found->second].kind != Kind::kOther) {
        nodes.insert(m_entries[found->second].node);
        return;
    }
    const auto parent = m_byKernelName.find(withoutDigits(kernelName));
    if (parent != m_byKernelName.end() && parent->first != kernelName) {
        nodes.insert(m_entries[parent->second].node);
        return;
    }
    for (const std::string& below : m_users.blocks().slaves(kernelName)) {
        addBelow(below, nodes, seen);
    }
}

void Catalogue::addByName(const std::string& name, Nodes& nodes) {
    if (name.empty()) {
        return;
    }
    const auto map = m_byNode.find(kMapper + name);
    const std::string mapKernelName =
        map == m_byNode.end() ? std::string() : m_entries[map->second].kernelName;
    std::set<std::string> seen;
    if (map != m_byNode.end()) {
        if (!mapKernelName.empty()) {
            addBelow(mapKernelName, nodes, seen);
        }
        if (nodes.empty()) {
            nodes.insert(map->first);
        }
    }
    addBelow(name, nodes, seen);
    // A disk that no list of the kernel has, on a host that tells nothing but its nodes.
    if (nodes.empty() && isLibraryName(kDev + name) && m_view.host.pathExists(kDev + name)) {
        nodes.insert(kDev + name);
    }
}

void Catalogue::addByAddress(const std::string& word, Nodes& nodes) {
    const auto address = addressIn(word);
    for (const Entry& entry : m_entries) {
        if (address && entry.address && *entry.address == *address) {
            nodes.insert(entry.node);
        }
    }
}

void Catalogue::addByGenericNode(const std::string& name, Nodes& nodes) {
    if (!beginsWith(name, "sg")) {
        return;
    }
    for (const Entry& entry : m_entries) {
        if (genericNodeOf(entry) == kDev + name) {
            nodes.insert(entry.node);
        }
    }
}

void Catalogue::addByLink(const std::string& word, Nodes& nodes) {
    std::vector<std::string> places;
    if (beginsWith(word, kDev)) {
        places.push_back(word);
    } else if (word.find('/') == std::string::npos) {
        for (const char* const folder : kLinkFolders) {
            places.push_back(folder + word);
        }
    }
    for (const std::string& place : places) {
        std::string target;
        if (m_view.host.readLink(place, target) >= 0) {
            std::set<std::string> seen;
            addBelow(lastOf(target), nodes, seen);
        }
    }
}

void Catalogue::addByIdentifier(const std::string& word, Nodes& nodes) {
    const std::string identifier = identifierIn(word);
    for (const Entry& entry : m_entries) {
        if (!identifier.empty() && entry.identifiers.count(identifier) != 0) {
            nodes.insert(entry.node);
        }
    }
}

// The kernel's name of a node or of "major:minor".
std::string Catalogue::kernelNameAt(const std::string& place) {
    guard::BlockDevices& blocks = m_users.blocks();
    if (place[0] == '/') {
        const auto known = m_byNode.find(place);
        return known != m_byNode.end() && !m_entries[known->second].kernelName.empty()
                   ? m_entries[known->second].kernelName
                   : nameIn(place);
    }
    for (const std::string& name : m_view.host.listDirectory("/sys/class/block/").names) {
        if (name[0] != '.' && guard::numberText(blocks.number(name)) == place) {
            return name;
        }
    }
    return {};
}

void Catalogue::addByMountPoint(const std::string& word, Nodes& nodes) {
    std::string point = word;
    while (point.size() > 1 && point.back() == '/') {
        point.pop_back();
    }
    for (const std::string& place : m_users.mountedAt(point)) {
        std::set<std::string> seen;
        addBelow(kernelNameAt(place), nodes, seen);
    }
}

Nodes Catalogue::find(const std::string& word) {
    Nodes nodes;
    addByName(nameIn(word), nodes);
    addByAddress(word, nodes);
    addByGenericNode(nameIn(word), nodes);
    addByLink(word, nodes);
    if (word[0] == '/') {
        addByMountPoint(word, nodes);
    }
    if (nodes.empty()) {
        addByIdentifier(word, nodes);
    }
    return nodes;
}

Nodes Catalogue::findMap(const std::string& word) {
    Nodes nodes;
    const std::string identifier = identifierIn(word);
    std::vector<std::string> names = {nameIn(word)};
    for (const char* const folder : kLinkFolders) {
        std::string target;
        if (m_view.host.readLink(word[0] == '/' ? word : folder + word, target) >= 0) {
            names.push_back(lastOf(target));
        }
    }
    for (const Entry& entry : m_entries) {
        const bool isNamed = std::any_of(names.begin(), names.end(), [&](const std::string& name) {
            return !name.empty() && (entry.kernelName == name || entry.node == kMapper + name);
        });
        const bool isIdentified = !identifier.empty() && entry.identifiers.count(identifier) != 0;
        if (beginsWith(entry.node, kMapper) && (isNamed || isIdentified)) {
            nodes.insert(entry.node);
        }
    }
    return nodes;
}

std::vector<const Entry*> Catalogue::related(const Entry& entry) const {
    const auto has = [](const Entry& map, const Entry& path) {
        return !path.kernelName.empty() &&
               std::find(map.paths.begin(), map.paths.end(), path.kernelName) != map.paths.end();
    };
    std::vector<const Entry*> related;
    for (const Entry& other : m_entries) {
        if (has(entry, other) || has(other, entry)) {
            related.push_back(&other);
        }
    }
    return related;
}

std::vector<std::string> Catalogue::linksTo(const std::string& kernelName) {
    std::vector<std::string> links;
    for (const std::string folder : kLinkFolders) {
        for (const std::string& name : m_view.host.listDirectory(folder).names) {
            std::string target;
            if (m_view.host.readLink(folder + name, target) >= 0 && lastOf(target) == kernelName) {
                links.push_back(folder + name);
            }
        }
    }
    return links;
}

std::string Catalogue::genericNodeOf(const Entry& entry) {
    return entry.address ? m_kernel.scsiDevices().genericNodeAt(*entry.address) : std::string();
}

std::string Catalogue::numberOf(const Entry& entry) {
    const host::DeviceNumber number =
        entry.kernelName.empty() ? host::DeviceNumber() : m_users.blocks().number(entry.kernelName);
    return number.kind == host::DeviceNumber::Kind::kNone ? std::string()
                                                          : guard::numberText(number);
}

}  // namespace cli::names
