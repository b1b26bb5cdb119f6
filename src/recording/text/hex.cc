#include "recording/text/hex.h"

#include <array>
#include <cstddef>

namespace recording {
namespace {

constexpr std::array<std::int8_t, 256> makeDigitValues() {
    std::array<std::int8_t, 256> values = {};
    for (std::size_t character = 0; character < values.size(); ++character) {
        const bool isDecimal = character >= '0' && character <= '9';
        const std::size_t letter = character | 0x20U;
        const bool isLetter = letter >= 'a' && letter <= 'f';
        values[character] = isDecimal  ? static_cast<std::int8_t>(character - '0')
                            : isLetter ? static_cast<std::int8_t>(letter - 'a' + 10)
                                       : std::int8_t{-1};
    }
    return values;
}
constexpr std::array<std::int8_t, 256> kDigitValues = makeDigitValues();

// Negative for what is no digit.
int digitValue(char digit) {
    return kDigitValues[static_cast<unsigned char>(digit)];
}

}  // namespace

std::string toHex(const std::uint8_t* bytes, std::size_t count) {
    static const char* const kDigits = "0123456789abcdef";
    std::string text(count * 2, '\0');
    for (std::size_t index = 0; index < count; ++index) {
        text[index * 2] = kDigits[bytes[index] >> 4U];
        text[index * 2 + 1] = kDigits[bytes[index] & 0x0FU];
    }
    return text;
}

std::string toHex(const std::vector<std::uint8_t>& bytes) {
    return toHex(bytes.data(), bytes.size());
}

HexError fromHex(std::string_view text, std::vector<std::uint8_t>& bytes, std::size_t& badOffset) {
    bytes.resize(text.size() / 2);
    const char* digit = text.data();
    for (std::uint8_t& byte : bytes) {
        const int high = digitValue(digit[0]);
        const int low = digitValue(digit[1]);
        if ((high | low) < 0) {
            badOffset = static_cast<std::size_t>(digit - text.data()) + (high < 0 ? 0 : 1);
            return HexError::kBadDigit;
        }
        byte = static_cast<std::uint8_t>(high * 16 + low);
        digit += 2;
    }
    if (text.size() % 2 == 0) {
        return HexError::kNone;
    }
    badOffset = text.size() - 1;
    return digitValue(text.back()) < 0 ? HexError::kBadDigit : HexError::kOddCount;
}

}  // namespace recording
