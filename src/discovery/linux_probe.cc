#include "discovery/inventory.h"
#include "discovery/scsi_table.h"
#include "scsitool/kit/bounded_string.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiTraceLogFunction;
using tools::traceTo;

namespace discovery {
namespace {

int maximumOf(const AdapterMap& maximums, int adapter) {
    const auto found = maximums.find(adapter);
    return found != maximums.end() ? found->second : 0;
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

    AdapterProbe(const Operation& operation, int adapter, const Maximums& maximums,
                 const std::vector<SLinuxScsiDevice>& inventory)
        : m_operation(operation),
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
        const int countAtStart = countDevices(m_operation.host);
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
            const int count = countDevices(m_operation.host);
            traceTo(m_operation.log, 3, "INFO: current count [%d]", count);
            if (lun == kLunToGiveUpAt && count == countAtStart && unknown) {
                return false;
            }
        }
        return true;
    }

    // Gives whether the kernel's table could be opened for an address that is not known yet.
    bool add(const SLinuxScsiDevice& address) {
        if (contains(m_inventory, address)) {
            return false;
        }
        char command[255];
        qzfi_pdk_4_4::V_snprintf(command, sizeof command, "scsi add-single-device %d %d %d %d\n",
                                 address.host, address.channel, address.id, address.lun);
        traceTo(m_operation.log, 3, "INFO: trying add device: %s\n", command);
        // A kernel that refuses the text is not told apart: the count tells what came of it.
        if (m_operation.host.appendFile(kScsiTable, command).openError != 0) {
            traceTo(m_operation.log, 2, "Warning: scan for devices failed to open /proc/scsi/scsi");
            return false;
        }
        return true;
    }

    const Operation& m_operation;
    const int m_adapter;
    const Maximums m_maximums;
    const std::vector<SLinuxScsiDevice>& m_inventory;
};

}  // namespace

int probeForDevices(const Operation& operation, const AdapterMap& maxLun, const AdapterMap& maxId,
                    const AdapterMap& maxChannel) {
    const CFiTraceLogFunction function(operation.log, "scanForNewDevices", kTraceSource);
    try {
        // Not refreshed while the scan goes on: an address that appears is known to the kernel.
        const std::vector<SLinuxScsiDevice> inventory = listDevices(operation, false);
        for (const auto& [adapter, lun] : maxLun) {
            // The kernel would read the number of an adapter that cannot be as another one's.
            if (adapter < 0) {
                continue;
            }
            const AdapterProbe::Maximums maximums = {lun, maximumOf(maxId, adapter),
                                                     maximumOf(maxChannel, adapter)};
            AdapterProbe(operation, adapter, maximums, inventory).probe();
        }
    } catch (...) {
        // The scan ends; the count tells what it has brought.
    }
    return countDevices(operation.host);
}

}  // namespace discovery
