#ifndef SCSITOOL_RECORDING_REDACTION_KEYED_HASH_H
#define SCSITOOL_RECORDING_REDACTION_KEYED_HASH_H

#include <array>
#include <cstdint>
#include <string>

namespace recording {

/// 128 bits that decide what a redaction makes of a text.
using RedactionKey = std::array<std::uint8_t, 16>;

/// SipHash-2-4 (Aumasson and Bernstein, 2012): who does not have the key can neither foretell nor
/// turn back what comes of a text.
std::uint64_t keyedHash(const RedactionKey& key, const std::string& text);

/// A key of the kernel's random numbers. Throws std::system_error when there are none.
RedactionKey randomKey();

}  // namespace recording

#endif
