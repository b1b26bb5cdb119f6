#include <algorithm>
#include <initializer_list>

#include "discovery/scsi_table.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"
#include "tools/trace.h"

using discovery::kScsiTable;
using discovery::kTraceSource;
using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace {

using AdapterMap = std::map<int, int>;

bool containsOneOf(const std::string* line, std::initializer_list<const char*> types) {
    return line != nullptr && std::any_of(types.begin(), types.end(), [line](const char* type) {
               return line->find(type) != std::string::npos;
           });
}

int countOfDevices(host::Host& host) {
    std::vector<std::string> lines;
    discovery::readScsiTable(host, lines);
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), discovery::isDeviceLine));
}

int maximumOf(const AdapterMap& maximums, int host) {
    const auto found = maximums.find(host);
    return found != maximums.end() ? found->second : 0;
}

void raise(AdapterMap& maximums, int host, int seen) {
    int& maximum = maximums[host];
    maximum = std::max(maximum, seen);
}

/// Asks the kernel for the unknown addresses of one adapter.
class AdapterProbe {
  public:
    /// The highest LUN, target id and channel that the adapter is known to have.
    struct Maximums {
        int lun;
        int target;
        int channel;
    };

    AdapterProbe(CLinuxDeviceDiscovery& discovery, host::Host& host, int adapter,
                 const Maximums& maximums, const std::vector<SLinuxScsiDevice>& inventory)
        : m_discovery(discovery),
          m_host(host),
          m_adapter(adapter),
          m_maximums(maximums),
          m_inventory(inventory) {}

    void probe() {
        constexpr long kChannelsBeyond = 2;
        for (long channel = 0; channel < m_maximums.channel + kChannelsBeyond; ++channel) {
            probeChannel(static_cast<int>(channel));
        }
    }

  private:
    void probeChannel(int channel) {
        constexpr long kTargetsBeyond = 2;
        const int countAtStart = m_discovery.getDeviceCount();
        for (long target = 0; target < m_maximums.target + kTargetsBeyond; ++target) {
            if (!probeTarget(channel, static_cast<int>(target), countAtStart)) {
                return;
            }
        }
    }

    // Gives false when nothing has appeared where nothing is known: the channel is then given up.
    bool probeTarget(int channel, int target, int countAtStart) {
        constexpr long kLunsBeyond = 16;
        constexpr long kLunToGiveUpAt = 7;
        const bool unknown = target > m_maximums.target || channel > m_maximums.channel;
        for (long lun = 0; lun < m_maximums.lun + kLunsBeyond; ++lun) {
            if (!add({m_adapter, channel, target, static_cast<int>(lun)})) {
                continue;
            }
            const int count = m_discovery.getDeviceCount();
            traceTo(m_discovery.m_traceLog, 3, "INFO: current count [%d]", count);
            if (lun == kLunToGiveUpAt && count == countAtStart && unknown) {
                return false;
            }
        }
        return true;
    }

    // Gives whether the kernel's table could be opened for an address that is not known yet.
    bool add(const SLinuxScsiDevice& address) {
        if (m_discovery.containsDevice(address.host, address.channel, address.id, address.lun,
                                       m_inventory)) {
            return false;
        }
        char command[255];
        qzfi_pdk_4_4::V_snprintf(command, sizeof command, "scsi add-single-device %d %d %d %d\n",
                                 address.host, address.channel, address.id, address.lun);
        traceTo(m_discovery.m_traceLog, 3, "INFO: trying add device: %s\n", command);
        // A kernel that refuses the text is not told apart: the count tells what came of it.
        if (m_host.appendFile(kScsiTable, command).openError != 0) {
            traceTo(m_discovery.m_traceLog, 2,
                    "Warning: scan for devices failed to open /proc/scsi/scsi");
            return false;
        }
        return true;
    }

    CLinuxDeviceDiscovery& m_discovery;
    host::Host& m_host;
    const int m_adapter;
    const Maximums m_maximums;
    const std::vector<SLinuxScsiDevice>& m_inventory;
};

}  // namespace

std::vector<SLinuxScsiDevice> CLinuxDeviceDiscovery::getDeviceList(bool diskTypesOnly) {
    std::vector<SLinuxScsiDevice> devices;
    try {
        std::vector<std::string> lines;
        if (!discovery::readScsiTable(host::current(), lines)) {
            traceTo(m_traceLog, 2,
                    "Warning: LinuxDeviceDiscovery::getDeviceList() failed to open "
                    "/proc/scsi/scsi for reading.");
            return devices;
        }
        traceTo(m_traceLog, 3, "INFO: reading /proc/scsi/scsi\n");
        for (std::size_t index = 0; index < lines.size(); ++index) {
            SLinuxScsiDevice address{};
            if (discovery::parseAddress(lines[index], address) &&
                (!diskTypesOnly ||
                 containsOneOf(discovery::typeLine(lines, index), {"Direct-Access", "Unknown"}))) {
                devices.push_back(address);
            }
        }
    } catch (...) {
        // What was gathered so far is the answer.
    }
    return devices;
}

int CLinuxDeviceDiscovery::getDeviceCount() {
    try {
        return countOfDevices(host::current());
    } catch (...) {
        return 0;
    }
}

bool CLinuxDeviceDiscovery::containsDevice(int host, int channel, int id, int lun,
                                           const std::vector<SLinuxScsiDevice>& devices) {
    return std::any_of(devices.begin(), devices.end(), [&](const SLinuxScsiDevice& device) {
        return device.host == host && device.channel == channel && device.id == id &&
               device.lun == lun;
    });
}

int CLinuxDeviceDiscovery::getTargetIds(std::map<int, std::vector<int>>& targets) {
    try {
        std::vector<std::string> lines;
        if (!discovery::readScsiTable(host::current(), lines)) {
            // The words are those of the device list on purpose: monitoring looks for them.
            traceTo(m_traceLog, 2,
                    "Warning: CLinuxDeviceDiscovery::getDeviceList() failed to open "
                    "/proc/scsi/scsi for reading.");
            return 0;
        }
        traceTo(m_traceLog, 5, "INFO: reading /proc/scsi/scsi\n");
        for (std::size_t index = 0; index < lines.size(); ++index) {
            SLinuxScsiDevice address{};
            const std::string* const type = discovery::typeLine(lines, index);
            // An array's controller counts as a target, but not as a disk in the device list.
            if (!discovery::parseAddress(lines[index], address) ||
                !containsOneOf(type, {"Direct-Access", "Unknown", "RAID"})) {
                continue;
            }
            traceTo(m_traceLog, 3, "Adding to the list for type [%s] [%d %d %d %d] ", type->c_str(),
                    address.host, address.channel, address.id, address.lun);
            std::vector<int>& ids = targets[address.host];
            if (std::find(ids.begin(), ids.end(), address.id) != ids.end()) {
                traceTo(m_traceLog, 3, "target %d already in map", address.id);
            } else {
                ids.push_back(address.id);
            }
        }
    } catch (...) {
        // What was gathered so far is the answer.
    }
    return 0;
}

int CLinuxDeviceDiscovery::scanForAdapterMaximums(AdapterMap& maxLun, AdapterMap& maxId,
                                                  AdapterMap& maxChannel) {
    const CFiTraceLogFunction function(m_traceLog, "scanForAdapterMaximums", kTraceSource);
    std::vector<std::string> lines;
    if (!discovery::readScsiTable(host::current(), lines)) {
        traceTo(m_traceLog, 2, "Warning: failed to open /proc/scsi/scsi for reading.");
        return -1;
    }
    traceTo(m_traceLog, 3, "INFO: reading /proc/scsi/scsi\n");
    for (const std::string& line : lines) {
        SLinuxScsiDevice address{};
        if (!discovery::parseAddress(line, address)) {
            continue;
        }
        traceTo(m_traceLog, 3, "INFO: found device [%s]\n", line.c_str());
        if (maxLun.count(address.host) == 0) {
            traceTo(m_traceLog, 3, "INFO: skipping device [%s]\n", line.c_str());
            continue;
        }
        raise(maxLun, address.host, address.lun);
        raise(maxId, address.host, address.id);
        raise(maxChannel, address.host, address.channel);
    }
    return 0;
}

int CLinuxDeviceDiscovery::scanForNewDevices(AdapterMap& maxLun, AdapterMap& maxId,
                                             AdapterMap& maxChannel) {
    const CFiTraceLogFunction function(m_traceLog, "scanForNewDevices", kTraceSource);
    try {
        // Not refreshed while the scan goes on: an address that appears is known to the kernel.
        const std::vector<SLinuxScsiDevice> inventory = getDeviceList(false);
        for (const auto& [adapter, lun] : maxLun) {
            const AdapterProbe::Maximums maximums = {lun, maximumOf(maxId, adapter),
                                                     maximumOf(maxChannel, adapter)};
            AdapterProbe(*this, host::current(), adapter, maximums, inventory).probe();
        }
    } catch (...) {
        // The scan ends; the count tells what it has brought.
    }
    return getDeviceCount();
}
