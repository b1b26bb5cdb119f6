#include "recording/text/hex.h"

namespace recording {
namespace {

int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

}  // namespace

std::string toHex(const std::uint8_t* bytes, std::size_t count) {
    static const char* const kDigits = "0123456789abcdef";
    std::string text;
    text.reserve(count * 2);
    for (std::size_t index = 0; index < count; ++index) {
        text += kDigits[bytes[index] >> 4U];
        text += kDigits[bytes[index] & 0x0FU];
    }
    return text;
}

std::string toHex(const std::vector<std::uint8_t>& bytes) {
    return toHex(bytes.data(), bytes.size());
}

HexError fromHex(std::string_view text, std::vector<std::uint8_t>& bytes, std::size_t& badOffset) {
    bytes.assign(text.size() / 2, 0);
    for (std::size_t index = 0; index < text.size(); ++index) {
        const int value = digitValue(text[index]);
        if (value < 0) {
            badOffset = index;
            return HexError::kBadDigit;
        }
        if (index / 2 < bytes.size()) {
            bytes[index / 2] = static_cast<std::uint8_t>(bytes[index / 2] * 16 + value);
        }
    }
    return text.size() % 2 == 0 ? HexError::kNone : HexError::kOddCount;
}

}  // namespace recording
