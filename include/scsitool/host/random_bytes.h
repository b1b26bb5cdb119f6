#ifndef SCSITOOL_HOST_RANDOM_BYTES_H
#define SCSITOOL_HOST_RANDOM_BYTES_H

#include <cstddef>
#include <cstdint>

#include "scsitool/host/export.h"

namespace host {

/// Fills at most 256 bytes with the kernel's random numbers (getrandom). Gives 0, or a negated
/// errno; the bytes are then as they were.
SCSITOOL_EXPORT int fillRandom(std::uint8_t* bytes, std::size_t count);

}  // namespace host

#endif
