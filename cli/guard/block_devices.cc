#include "cli/guard/block_devices.h"

#include <algorithm>

namespace cli {
namespace {

constexpr const char* kBlock = "/sys/class/block/";
constexpr const char* kBtrfs = "/sys/fs/btrfs/";
constexpr const char* kMapper = "/dev/mapper/";

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

}  // namespace

std::string BlockDevices::line(const std::string& path) const {
    std::string content;
    if (m_host.readFile(path, content) < 0) {
        return {};
    }
    return content.substr(0, content.find('\n'));
}

std::vector<std::string> BlockDevices::entries(const std::string& directory) const {
    std::vector<std::string> names = m_host.listDirectory(directory).names;
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name) { return name == "." || name == ".."; }),
                names.end());
    return names;
}

std::vector<std::string> BlockDevices::withPartitions(const std::string& name) const {
    std::vector<std::string> names = {name};
    for (const std::string& entry : entries(kBlock + name + "/")) {
        if (beginsWith(entry, name) && !number(entry).empty()) {
            names.push_back(entry);
        }
    }
    return names;
}

std::vector<std::string> BlockDevices::holders(const std::string& name) const {
    return entries(kBlock + name + "/holders/");
}

std::vector<std::string> BlockDevices::withHolders(const std::vector<std::string>& names) const {
    std::vector<std::string> all = names;
    for (std::size_t next = 0; next < all.size(); ++next) {
        for (const std::string& holder : holders(all[next])) {
            for (const std::string& device : withPartitions(holder)) {
                if (std::find(all.begin(), all.end(), device) == all.end()) {
                    all.push_back(device);
                }
            }
        }
    }
    return all;
}

std::string BlockDevices::number(const std::string& name) const {
    return line(kBlock + name + "/dev");
}

std::vector<std::string> BlockDevices::nodes(const std::string& name) const {
    std::vector<std::string> nodes = {"/dev/" + name};
    const std::string mapName = line(kBlock + name + "/dm/name");
    if (!mapName.empty()) {
        nodes.push_back(kMapper + mapName);
    }
    return nodes;
}

std::string BlockDevices::describe(const std::string& holder) const {
    const std::string mapName = line(kBlock + holder + "/dm/name");
    if (!mapName.empty()) {
        const bool lvm = beginsWith(line(kBlock + holder + "/dm/uuid"), "LVM-");
        return (lvm ? "LVM (" : "device-mapper (") + holder + ", " + mapName + ")";
    }
    return (beginsWith(holder, "md")    ? "md ("
            : beginsWith(holder, "dm-") ? "device-mapper ("
                                        : "another device (") +
           holder + ")";
}

std::vector<std::string> BlockDevices::disksAt(const std::string& address) const {
    return entries("/sys/class/scsi_device/" + address + "/device/block/");
}

std::string BlockDevices::map(const std::string& mapName) const {
    for (const std::string& name : entries(kBlock)) {
        if (beginsWith(name, "dm-") && line(kBlock + name + "/dm/name") == mapName) {
            return name;
        }
    }
    std::string target;
    if (m_host.readLink(kMapper + mapName, target) < 0) {
        return {};
    }
    return target.substr(target.rfind('/') + 1);
}

std::vector<std::string> BlockDevices::btrfsDevices() const {
    std::vector<std::string> devices;
    for (const std::string& fileSystem : entries(kBtrfs)) {
        for (const std::string& name : entries(kBtrfs + fileSystem + "/devices/")) {
            devices.push_back(name);
        }
    }
    return devices;
}

}  // namespace cli
