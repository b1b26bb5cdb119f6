#include "recording/guard/effect/scsi_address.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>

namespace recording::guard {

bool operator==(const ScsiAddress& a, const ScsiAddress& b) {
    return a.host == b.host && a.channel == b.channel && a.target == b.target && a.lun == b.lun;
}

std::string addressText(const ScsiAddress& address) {
    std::array<char, 64> text = {};  // 20 digits of a LUN, and three times 10
    char* const end = text.data() + text.size();
    char* at = std::to_chars(text.data(), end, address.host).ptr;
    for (const std::uint64_t number :
         {std::uint64_t{address.channel}, std::uint64_t{address.target}, address.lun}) {
        *at++ = ':';
        at = std::to_chars(at, end, number).ptr;
    }
    return {text.data(), at};
}

std::optional<std::uint64_t> parseDecimal(const std::string& text, std::uint64_t highest) {
    if (text.empty() || (text.size() > 1 && text[0] == '0')) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        const auto digit = static_cast<std::uint64_t>(c - '0');
        if (value > (highest - digit) / 10 || digit > highest) {
            return std::nullopt;
        }
        value = value * 10 + digit;
    }
    return value;
}

std::optional<ScsiAddress> parseAddress(const std::string& text) {
    std::array<std::uint64_t, 4> numbers = {};
    std::size_t start = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const bool isLast = i + 1 == numbers.size();
        const std::size_t end = isLast ? text.size() : text.find(':', start);
        if (end == std::string::npos) {
            return std::nullopt;
        }
        const auto number =
            parseDecimal(text.substr(start, end - start), isLast ? UINT64_MAX : UINT32_MAX);
        if (!number) {
            return std::nullopt;
        }
        numbers[i] = *number;
        start = end + 1;
    }
    return ScsiAddress{static_cast<std::uint32_t>(numbers[0]),
                       static_cast<std::uint32_t>(numbers[1]),
                       static_cast<std::uint32_t>(numbers[2]), numbers[3]};
}

}  // namespace recording::guard
