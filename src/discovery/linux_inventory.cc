#include <algorithm>
#include <initializer_list>

#include "discovery/inventory.h"
#include "discovery/scsi_table.h"
#include "tools/trace.h"

using discovery::AdapterMap;
using discovery::Operation;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace {

bool containsOneOf(const std::string* line, std::initializer_list<const char*> types) {
    return line != nullptr && std::any_of(types.begin(), types.end(), [line](const char* type) {
               return line->find(type) != std::string::npos;
           });
}

void raise(AdapterMap& maximums, int adapter, int seen) {
    int& maximum = maximums[adapter];
    maximum = std::max(maximum, seen);
}

void addTarget(const Operation& operation, const SLinuxScsiDevice& address,
               std::map<int, std::vector<int>>& targets) {
    std::vector<int>& ids = targets[address.host];
    if (std::find(ids.begin(), ids.end(), address.id) != ids.end()) {
        traceTo(operation.log, 3, "target %d already in map", address.id);
    } else {
        ids.push_back(address.id);
    }
}

}  // namespace

std::vector<SLinuxScsiDevice> discovery::listDevices(const Operation& operation,
                                                     bool diskTypesOnly) {
    std::vector<SLinuxScsiDevice> devices;
    try {
        std::vector<std::string> lines;
        if (!readScsiTable(operation.host, lines)) {
            traceTo(operation.log, 2,
                    "Warning: LinuxDeviceDiscovery::getDeviceList() failed to open "
                    "/proc/scsi/scsi for reading.");
            return devices;
        }
        traceTo(operation.log, 3, "INFO: reading /proc/scsi/scsi\n");
        for (std::size_t index = 0; index < lines.size(); ++index) {
            SLinuxScsiDevice address{};
            if (parseAddress(lines[index], address) &&
                (!diskTypesOnly ||
                 containsOneOf(typeLine(lines, index), {"Direct-Access", "Unknown"}))) {
                devices.push_back(address);
            }
        }
    } catch (...) {
        // What was gathered so far is the answer.
    }
    return devices;
}

bool discovery::contains(const std::vector<SLinuxScsiDevice>& devices,
                         const SLinuxScsiDevice& address) {
    return std::any_of(devices.begin(), devices.end(), [&](const SLinuxScsiDevice& device) {
        return device.host == address.host && device.channel == address.channel &&
               device.id == address.id && device.lun == address.lun;
    });
}

void discovery::addTargetIds(const Operation& operation, std::map<int, std::vector<int>>& targets) {
    try {
        std::vector<std::string> lines;
        if (!readScsiTable(operation.host, lines)) {
            // The words are those of the device list on purpose: monitoring looks for them.
            traceTo(operation.log, 2,
                    "Warning: CLinuxDeviceDiscovery::getDeviceList() failed to open "
                    "/proc/scsi/scsi for reading.");
            return;
        }
        traceTo(operation.log, 5, "INFO: reading /proc/scsi/scsi\n");
        for (std::size_t index = 0; index < lines.size(); ++index) {
            SLinuxScsiDevice address{};
            const std::string* const type = typeLine(lines, index);
            // An array's controller counts as a target, but not as a disk in the device list.
            if (parseAddress(lines[index], address) &&
                containsOneOf(type, {"Direct-Access", "Unknown", "RAID"})) {
                traceTo(operation.log, 3, "Adding to the list for type [%s] [%d %d %d %d] ",
                        type->c_str(), address.host, address.channel, address.id, address.lun);
                addTarget(operation, address, targets);
            }
        }
    } catch (...) {
        // What was gathered so far is the answer.
    }
}

int discovery::raiseMaximums(const Operation& operation, AdapterMap& maxLun, AdapterMap& maxId,
                             AdapterMap& maxChannel) {
    const CFiTraceLogFunction function(operation.log, "scanForAdapterMaximums", kTraceSource);
    std::vector<std::string> lines;
    if (!readScsiTable(operation.host, lines)) {
        traceTo(operation.log, 2, "Warning: failed to open /proc/scsi/scsi for reading.");
        return -1;
    }
    traceTo(operation.log, 3, "INFO: reading /proc/scsi/scsi\n");
    for (const std::string& line : lines) {
        SLinuxScsiDevice address{};
        if (!parseAddress(line, address)) {
            continue;
        }
        traceTo(operation.log, 3, "INFO: found device [%s]\n", line.c_str());
        if (maxLun.count(address.host) == 0) {
            traceTo(operation.log, 3, "INFO: skipping device [%s]\n", line.c_str());
            continue;
        }
        raise(maxLun, address.host, address.lun);
        raise(maxId, address.host, address.id);
        raise(maxChannel, address.host, address.channel);
    }
    return 0;
}

std::vector<SLinuxScsiDevice> CLinuxDeviceDiscovery::getDeviceList(bool diskTypesOnly) {
    return discovery::listDevices(Operation(m_traceLog, m_scsiTool), diskTypesOnly);
}

int CLinuxDeviceDiscovery::getDeviceCount() {
    return discovery::countDevices(host::current());
}

bool CLinuxDeviceDiscovery::containsDevice(int host, int channel, int id, int lun,
                                           const std::vector<SLinuxScsiDevice>& devices) {
    return discovery::contains(devices, {host, channel, id, lun});
}

int CLinuxDeviceDiscovery::getTargetIds(std::map<int, std::vector<int>>& targets) {
    discovery::addTargetIds(Operation(m_traceLog, m_scsiTool), targets);
    return 0;
}

int CLinuxDeviceDiscovery::scanForAdapterMaximums(AdapterMap& maxLun, AdapterMap& maxId,
                                                  AdapterMap& maxChannel) {
    return discovery::raiseMaximums(Operation(m_traceLog, m_scsiTool), maxLun, maxId, maxChannel);
}

int CLinuxDeviceDiscovery::scanForNewDevices(AdapterMap& maxLun, AdapterMap& maxId,
                                             AdapterMap& maxChannel) {
    return discovery::probeForDevices(Operation(m_traceLog, m_scsiTool), maxLun, maxId, maxChannel);
}
