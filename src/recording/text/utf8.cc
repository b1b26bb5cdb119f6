#include "recording/text/utf8.h"

#include <cstddef>

namespace recording {
namespace {

unsigned byteAt(const std::string& bytes, std::size_t index) {
    return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0U;
}

bool isBetween(unsigned value, unsigned lowest, unsigned highest) {
    return value >= lowest && value <= highest;
}

// The second byte of a sequence is narrower after four of the lead bytes: this is what keeps out
// overlong forms, surrogates and what lies beyond U+10FFFF.
bool isSecondByte(unsigned lead, unsigned second) {
    switch (lead) {
        case 0xE0:
            return isBetween(second, 0xA0, 0xBF);
        case 0xED:
            return isBetween(second, 0x80, 0x9F);
        case 0xF0:
            return isBetween(second, 0x90, 0xBF);
        case 0xF4:
            return isBetween(second, 0x80, 0x8F);
        default:
            return isBetween(second, 0x80, 0xBF);
    }
}

// Length of the sequence that starts at an index, 0 when it is malformed.
std::size_t sequenceLength(const std::string& bytes, std::size_t index) {
    const unsigned lead = byteAt(bytes, index);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = isBetween(lead, 0xC2, 0xDF)   ? 2
                               : isBetween(lead, 0xE0, 0xEF) ? 3
                               : isBetween(lead, 0xF0, 0xF4) ? 4
                                                             : 0;
    if (length == 0 || !isSecondByte(lead, byteAt(bytes, index + 1))) {
        return 0;
    }
    for (std::size_t offset = 2; offset < length; ++offset) {
        if (!isBetween(byteAt(bytes, index + offset), 0x80, 0xBF)) {
            return 0;
        }
    }
    return length;
}

}  // namespace

bool isUtf8(const std::string& bytes) {
    for (std::size_t index = 0; index < bytes.size();) {
        const std::size_t length = sequenceLength(bytes, index);
        if (length == 0) {
            return false;
        }
        index += length;
    }
    return true;
}

std::string toUtf8(const std::string& bytes) {
    if (isUtf8(bytes)) {
        return bytes;
    }
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x80) {
            text += character;
        } else {
            text += static_cast<char>(0xC0U | (byte >> 6U));
            text += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return text;
}

}  // namespace recording
