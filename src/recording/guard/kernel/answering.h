#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_ANSWERING_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_ANSWERING_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recording/guard/kernel/evidence.h"

namespace recording::guard {

/// What a disk says to a standard INQUIRY.
struct Answer {
    enum class Kind {
        kConnected,  ///< peripheral qualifier 0
        kGone,       ///< no device behind the node, or one that is not connected
        kUnclear,    ///< it could not be asked, or failed for a reason that is no proof
    };
    Kind kind = Kind::kUnclear;
    std::string why;         ///< what was seen, for everything but kConnected
    int error = 0;           ///< the positive SCSI status or negated errno that INQUIRY ended in
    unsigned qualifier = 0;  ///< the peripheral qualifier, of what sent INQUIRY data
    /// There is no such logical unit: qualifier 3, or LOGICAL UNIT NOT SUPPORTED as sense data.
    bool isNotSupported = false;
    bool isUnspoken = false;  ///< kGone only because a recorded host does not speak of the disk
    /// The fields of SPC's standard INQUIRY data, blanks at their ends taken off.
    std::string vendor;
    std::string product;
    std::string revision;
    unsigned deviceType = 0;
};

/// Reads standard INQUIRY data. An answer of zeros alone is none: the kernel hands it over for a
/// command that never reached the disk.
Answer parseStandardInquiry(const std::vector<std::uint8_t>& bytes);

/// What a standard INQUIRY came to that somebody sent by SCSI_IOCTL_SEND_COMMAND: `result` is what
/// the host gave for it, `buffer` what it left. Nothing is asked.
Answer standardAnswer(int result, const host::CommandBuffer& buffer);

/// Asks the disk behind a node. A node that is not there is kUnclear, on a recorded host kGone.
Answer askDisk(Evidence& evidence, const std::string& node);

/// A VPD page of a disk, its header taken off.
struct VpdPage {
    int error = 0;  ///< 0, a positive SCSI status or the negated errno of what failed
    std::vector<std::uint8_t> content;
};

constexpr std::uint8_t kSerialNumberPage = 0x80;
constexpr std::uint8_t kIdentificationPage = 0x83;

/// Asks the disk behind a node for a VPD page, of which 248 bytes are kept.
VpdPage askPage(Evidence& evidence, const std::string& node, std::uint8_t code);

/// The designators of page 0x83, its header taken off, that name the logical unit itself
/// (association 0): those of a port differ from path to path.
std::vector<std::vector<std::uint8_t>> logicalUnitNames(const std::vector<std::uint8_t>& page);

}  // namespace recording::guard

#endif
