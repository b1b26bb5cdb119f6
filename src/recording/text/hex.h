#ifndef SCSITOOL_RECORDING_TEXT_HEX_H
#define SCSITOOL_RECORDING_TEXT_HEX_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace recording {

/// Bytes as lower-case hexadecimal digits, two a byte.
std::string toHex(const std::uint8_t* bytes, std::size_t count);
std::string toHex(const std::vector<std::uint8_t>& bytes);

/// What stands against reading a text as hexadecimal bytes.
enum class HexError { kNone, kOddCount, kBadDigit };

/// Reads pairs of hexadecimal digits of either case and nothing else (no blanks). At a bad digit
/// `badOffset` is its offset; `bytes` is then not to be used.
HexError fromHex(std::string_view text, std::vector<std::uint8_t>& bytes, std::size_t& badOffset);

}  // namespace recording

#endif
