#ifndef SCSITOOL_TESTS_FUZZ_PAGES_H
#define SCSITOOL_TESTS_FUZZ_PAGES_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "recording/replay/recorded_host_data.h"
#include "scsitool/scsi/device_scsi_data.h"

namespace fuzz {

/// What one device says, as bytes that are that whatever a fuzzer does to them: a code, a length of
/// two bytes (big-endian), so many bytes, and so on; what is missing at the end is missing.
struct Said {
    static constexpr std::uint8_t kStandard = 0x00;  ///< the standard INQUIRY data
    static constexpr std::uint8_t kPageList = 0x01;  ///< VPD page 0x00
    static constexpr std::uint8_t kResults = 0xFB;   ///< what requests give besides: one byte each
    static constexpr std::uint8_t kSize = 0xFC;
    static constexpr std::uint8_t kAddress = 0xFD;
    static constexpr std::uint8_t kReply = 0xFE;  ///< to a vendor-specific command
    // Any other code is that of a VPD page.

    std::uint8_t code = 0;
    recording::Bytes bytes;
};
using Pages = std::vector<Said>;

Pages readPages(const std::uint8_t* data, std::size_t size);

/// The record that discovery would make of them, however long they are.
CScsiDeviceData recordOf(const Pages& pages);

/// A host with the one disk /dev/sda, which says them.
recording::RecordedHostData hostOf(const Pages& pages);

}  // namespace fuzz

#endif
