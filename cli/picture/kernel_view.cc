#include "cli/picture/kernel_view.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "recording/guard/kernel/kernel_tables.h"
#include "recording/guard/rules/stacks.h"

namespace cli::picture {
namespace {

namespace guard = recording::guard;

bool isWholeDisk(const std::string& name) {
    return name.compare(0, 2, "sd") == 0 && (name.back() < '0' || name.back() > '9');
}

}  // namespace

KernelView::KernelView(host::Host& host, bool isRecorded)
    : m_evidence(host, isRecorded), m_blocks(m_evidence), m_scsi(m_evidence) {}

std::optional<ScsiAddress> KernelView::addressOf(const std::string& node) {
    const std::string last = node.substr(node.rfind('/') + 1);
    const bool isKernelName = node == "/dev/" + last && isWholeDisk(last);
    return m_blocks.addressOf(isKernelName ? last : m_blocks.nameBehind(node));
}

KernelDisk KernelView::disk(const std::string& name) {
    KernelDisk disk;
    disk.name = name;
    disk.address = m_blocks.addressOf(name);
    disk.sizeKb = m_blocks.sizeKb(name);
    if (disk.address) {
        disk.state = stateAt(*disk.address);
    }
    return disk;
}

KernelState KernelView::stateAt(const ScsiAddress& address) {
    return {m_scsi.attributeAt(address, "state"), m_scsi.attributeAt(address, "access_state")};
}

std::vector<KernelDisk> KernelView::unattachedDisks(const std::vector<KernelDisk>& attached) {
    std::unordered_set<std::string> known;
    for (const KernelDisk& disk : attached) {
        known.insert(disk.address ? guard::addressText(*disk.address) : "");
    }
    std::vector<KernelDisk> disks;
    for (const ScsiAddress& address : m_scsi.addresses()) {
        if (known.count(guard::addressText(address)) == 0 &&
            guard::isDiskType(m_scsi.attributeAt(address, "type")) &&
            m_scsi.disksAt(address).empty()) {
            disks.push_back({"", address, stateAt(address), std::nullopt, std::nullopt});
        }
    }
    return disks;
}

std::vector<KernelDisk> KernelView::disks() {
    std::vector<KernelDisk> disks;
    std::unordered_map<std::string, std::size_t> places;
    for (const std::string& name : m_blocks.disks()) {
        places[name] = disks.size();
        disks.push_back(disk(name));
    }
    const std::string table = m_evidence.file("/proc/partitions").value_or("");
    for (const guard::Partition& line : guard::parsePartitions(table)) {
        if (!isWholeDisk(line.name)) {
            continue;
        }
        const auto [place, isNew] = places.emplace(line.name, disks.size());
        if (isNew) {
            disks.push_back(disk(line.name));
        }
        disks[place->second].listedKb = line.sizeKb;
    }
    return disks;
}

KernelMap KernelView::map(const std::string& kernelName) {
    const std::string uuid = m_blocks.mapUuid(kernelName);
    KernelMap map;
    map.kernelName = kernelName;
    map.node = "/dev/mapper/" + m_blocks.mapName(kernelName);
    // What a recording does not tell of a map is no evidence against it.
    const bool isOther = uuid.empty() ? !m_evidence.isRecorded() : !guard::isMultipath(uuid);
    map.kind = isOther ? Kind::kOther : Kind::kMap;
    map.sizeKb = m_blocks.sizeKb(kernelName);
    if (!isOther) {
        map.paths = m_blocks.slaves(kernelName);
    }
    return map;
}

std::vector<KernelMap> KernelView::maps() {
    std::vector<KernelMap> maps;
    for (const std::string& name : m_blocks.maps()) {
        if (!m_blocks.mapName(name).empty()) {
            maps.push_back(map(name));
        }
    }
    for (const std::string& name : guard::powerPathDevices(m_evidence)) {
        maps.push_back({name, "/dev/" + name, Kind::kPseudoDevice, m_blocks.slaves(name),
                        m_blocks.sizeKb(name)});
    }
    return maps;
}

}  // namespace cli::picture
