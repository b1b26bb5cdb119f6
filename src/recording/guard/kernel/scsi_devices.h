#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_SCSI_DEVICES_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_SCSI_DEVICES_H

#include <cstdint>
#include <string>
#include <vector>

#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/evidence.h"

namespace recording::guard {

/// Tells whether SPC's peripheral device type, as sysfs writes it, is one that the kernel's disk
/// driver serves: direct access, optical memory, simplified direct access, host-managed zoned.
bool isDiskType(const std::string& type);

/// The kernel's SCSI devices as sysfs shows them, by their addresses, in both layouts:
/// device/block/sdb and device/block:sdb.
class ScsiDevices {
  public:
    using Names = std::vector<std::string>;

    /// The evidence must outlive the object.
    explicit ScsiDevices(Evidence& evidence) : m_evidence(evidence) {}

    /// The addresses that the kernel has a device at.
    std::vector<ScsiAddress> addresses();
    /// The block devices at an address, at most one; none where nothing is or what is there is no
    /// disk.
    Names disksAt(const ScsiAddress& address);
    /// The character devices at an address: sg, bsg, tape.
    std::vector<host::DeviceNumber> charactersAt(const ScsiAddress& address);
    /// An attribute of the device at an address ("state", "vendor"), blanks at its end taken off;
    /// empty when there is none.
    std::string attributeAt(const ScsiAddress& address, const std::string& name);
    /// A VPD page as the kernel keeps it since it found the device, its header taken off; empty
    /// when it keeps none.
    std::vector<std::uint8_t> pageAt(const ScsiAddress& address, std::uint8_t code);
    /// What the kernel keeps of a device in a file of bytes ("inquiry", "vpd_pg83"), whole; empty
    /// when it keeps none.
    std::vector<std::uint8_t> keptAt(const ScsiAddress& address, const std::string& name);
    /// The node of the SCSI generic device at an address; empty when there is none.
    std::string genericNodeAt(const ScsiAddress& address);

  private:
    std::string line(const std::string& path);
    Names entriesOfKind(const ScsiAddress& address, const std::string& kind);

    Evidence& m_evidence;
};

}  // namespace recording::guard

#endif
