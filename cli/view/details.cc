#include "cli/view/details.h"

#include <algorithm>

#include "cli/view/map_lines.h"
#include "cli/view/natural_order.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli::view {
namespace {

namespace guard = recording::guard;
using picture::Device;
using picture::Kind;

// Those that the kernel's disk driver serves, by SPC's number.
std::string typeName(const std::string& number) {
    static const std::map<std::string, const char*> kNames = {
        {"0", "disk"}, {"7", "optical"}, {"14", "rbc"}, {"20", "zbc"}};
    const auto name = kNames.find(number);
    return name == kNames.end() ? std::string() : name->second;
}

// "mpath-3600...": the WWID behind what device-mapper tells its users apart by.
std::string wwidIn(const std::string& mapUuid) {
    const std::string prefix = "mpath-";
    return mapUuid.compare(0, prefix.size(), prefix) == 0 ? mapUuid.substr(prefix.size())
                                                          : std::string();
}

}  // namespace

DetailBook::DetailBook(const HostView& view)
    : m_evidence(view.host, view.isRecorded()),
      m_scsi(m_evidence),
      m_users(view.host, view.isRecorded()) {}

const Details& DetailBook::of(const Device& device) {
    const auto known = m_known.find(device.name);
    return known != m_known.end() ? known->second
                                  : m_known.emplace(device.name, read(device)).first->second;
}

Details DetailBook::read(const Device& device) {
    guard::BlockDevices& blocks = m_users.blocks();
    Details details;
    if (!device.kernelName.empty()) {
        const host::DeviceNumber number = blocks.number(device.kernelName);
        details.number =
            number.kind == host::DeviceNumber::Kind::kBlock ? guard::numberText(number) : "";
        details.isReadOnly = blocks.isReadOnly(device.kernelName);
        if (blocks.exists(device.kernelName)) {
            details.partitions = partitionsOf(device.kernelName);
        }
        details.wwid = wwidIn(blocks.mapUuid(device.kernelName));
    }
    if (device.address) {
        details.type = typeName(m_scsi.attributeAt(*device.address, "type"));
        details.wwid = m_scsi.attributeAt(*device.address, "wwid");
    }
    if (device.kind == Kind::kMap) {
        readTables();
        const auto table = m_tables->find(mapNameOf(device));
        if (table != m_tables->end()) {
            details.features = table->second.features;
            details.handler = table->second.handler;
        }
    }
    return details;
}

// Asked for once, and only where there are maps: there may be no such program where there are none.
void DetailBook::readTables() {
    if (m_tables) {
        return;
    }
    std::string failure;
    m_tables = askMapTables(m_evidence.host(), failure);
    if (!failure.empty()) {
        m_doubt = "how device-mapper treats the maps is not known: " + failure;
    }
    for (const auto& [map, table] : *m_tables) {
        m_policies.insert(table.policies.begin(), table.policies.end());
    }
}

std::string DetailBook::policyOf(const Device& path) {
    readTables();
    const auto policy = m_policies.find(of(path).number);
    return policy == m_policies.end() ? std::string() : policy->second;
}

std::vector<Partition> DetailBook::partitionsOf(const std::string& kernelName) {
    guard::BlockDevices& blocks = m_users.blocks();
    std::vector<Partition> partitions;
    for (const std::string& name : m_users.partitionsOf(kernelName)) {
        const std::string mapName = blocks.mapName(name);
        const std::string node = mapName.empty() ? "/dev/" + name : "/dev/mapper/" + mapName;
        partitions.push_back({node, blocks.sizeKb(name), m_users.usersOf(name, node)});
    }
    std::sort(partitions.begin(), partitions.end(),
              [](const Partition& left, const Partition& right) {
                  return goesBefore(left.name, right.name);
              });
    return partitions;
}

}  // namespace cli::view
