#ifndef SCSITOOL_RECORDING_TEXT_UTF8_H
#define SCSITOOL_RECORDING_TEXT_UTF8_H

#include <string>

namespace recording {

/// Tells whether bytes are well-formed UTF-8 (no overlong form, no surrogate, at most U+10FFFF).
bool isUtf8(const std::string& bytes);

/// Bytes as text for a JSON string: unchanged when they are UTF-8, otherwise every byte from 0x80
/// on as the character U+0080 to U+00FF, so that nothing a host printed is lost.
std::string toUtf8(const std::string& bytes);

}  // namespace recording

#endif
