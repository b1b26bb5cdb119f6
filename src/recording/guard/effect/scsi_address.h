#ifndef SCSITOOL_RECORDING_GUARD_EFFECT_SCSI_ADDRESS_H
#define SCSITOOL_RECORDING_GUARD_EFFECT_SCSI_ADDRESS_H

#include <cstdint>
#include <optional>
#include <string>

namespace recording::guard {

/// A SCSI address with all its digits, as sysfs has it: the LUN has 64 bits.
struct ScsiAddress {
    std::uint32_t host = 0;
    std::uint32_t channel = 0;
    std::uint32_t target = 0;
    std::uint64_t lun = 0;
};

bool operator==(const ScsiAddress& a, const ScsiAddress& b);

/// "H:C:T:L".
std::string addressText(const ScsiAddress& address);

/// Reads "H:C:T:L". Only plain decimal numbers are one: the kernel would take "010" for eight.
std::optional<ScsiAddress> parseAddress(const std::string& text);

/// A plain decimal number of at most `highest`: digits alone, no zero in front.
std::optional<std::uint64_t> parseDecimal(const std::string& text,
                                          std::uint64_t highest = UINT64_MAX);

}  // namespace recording::guard

#endif
