#ifndef SCSITOOL_DISCOVERY_DEAD_ADDRESSES_H
#define SCSITOOL_DISCOVERY_DEAD_ADDRESSES_H

#include <algorithm>
#include <vector>

#include "scsitool/discovery/linux_scsi_device.h"
#include "scsitool/scsi/device_scsi_data.h"

namespace discovery {

/// What becomes of one address of the kernel's table.
struct AddressVerdict {
    SLinuxScsiDevice address;
    const CScsiDeviceData* holder;  ///< the first record at the address, null for a dead one
    bool isRemoved;                 ///< a dead address that the removal takes
};

/// Tells whether a record is that of the disk at an address. A record without an address (adapter
/// -1) is at none, not even at one that the table gives as adapter -1.
inline bool isAt(const CScsiDeviceData& record, const SLinuxScsiDevice& address) {
    constexpr int kNoAdapter = -1;
    return record.m_port != kNoAdapter && record.m_port == address.host &&
           static_cast<int>(record.m_bus) == address.channel && record.m_target == address.id &&
           record.m_lun == address.lun;
}

/// The rule for dead addresses: an address that no record holds is dead, and a dead one is removed
/// unless its LUN is 0 and `removeLun0` is false. LUN 0 is often the array's controller, by which
/// its other units are found. One verdict for each address, in the order of the table.
inline std::vector<AddressVerdict> judgeAddresses(const std::vector<SLinuxScsiDevice>& table,
                                                  const std::vector<CScsiDeviceData*>& records,
                                                  bool removeLun0) {
    std::vector<AddressVerdict> verdicts;
    verdicts.reserve(table.size());
    for (const SLinuxScsiDevice& address : table) {
        const auto holder =
            std::find_if(records.begin(), records.end(),
                         [&](const CScsiDeviceData* record) { return isAt(*record, address); });
        const bool isDead = holder == records.end();
        verdicts.push_back(
            {address, isDead ? nullptr : *holder, isDead && (address.lun != 0 || removeLun0)});
    }
    return verdicts;
}

}  // namespace discovery

#endif
