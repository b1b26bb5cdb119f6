#include "cli/picture/unit_name.h"

#include <algorithm>
#include <array>
#include <optional>

#include "recording/guard/kernel/answering.h"
#include "recording/text/hex.h"

namespace cli::picture {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::array<Strength, 5> kStrongestFirst = {
    Strength::kNaa6, Strength::kNaa, Strength::kEui64, Strength::kT10Vendor, Strength::kScsiName};

// Designator types (SPC-4, byte 1 of a designation descriptor).
constexpr unsigned kT10Vendor = 1;
constexpr unsigned kEui64 = 2;
constexpr unsigned kNaa = 3;
constexpr unsigned kScsiName = 8;

// Text of a device: its end is where a NUL, or padding, begins.
std::string textOf(const Bytes& value) {
    std::string text(value.begin(), std::find(value.begin(), value.end(), 0));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

bool isBlank(const Bytes& value) {
    return std::all_of(value.begin(), value.end(),
                       [](std::uint8_t byte) { return byte == 0 || byte == ' '; });
}

std::optional<UnitName> naaName(const Bytes& value) {
    constexpr std::size_t kLong = 16;
    constexpr std::size_t kShort = 8;
    const unsigned authority = value[0] >> 4;
    const std::string text = "naa." + recording::toHex(value);
    if (authority == 6 && value.size() == kLong) {
        return UnitName{Strength::kNaa6, text};
    }
    const bool isShort = authority == 2 || authority == 3 || authority == 5;
    return isShort && value.size() == kShort
               ? std::optional<UnitName>(UnitName{Strength::kNaa, text})
               : std::nullopt;
}

std::optional<UnitName> nameIn(const Bytes& designator) {
    constexpr std::size_t kHeader = 4;
    constexpr unsigned kTypeMask = 0x0F;
    const Bytes value(designator.begin() + kHeader, designator.end());
    if (value.empty() || isBlank(value)) {
        return std::nullopt;
    }
    switch (designator[1] & kTypeMask) {
        case kT10Vendor:
            return UnitName{Strength::kT10Vendor, "t10." + textOf(value)};
        case kEui64:
            return UnitName{Strength::kEui64, "eui." + recording::toHex(value)};
        case kNaa:
            return naaName(value);
        case kScsiName:
            return UnitName{Strength::kScsiName, textOf(value)};
        default:
            return std::nullopt;
    }
}

UnitNames ofStrength(const UnitNames& names, Strength strength) {
    UnitNames some;
    std::copy_if(names.begin(), names.end(), std::back_inserter(some),
                 [&](const UnitName& name) { return name.strength == strength; });
    return some;
}

}  // namespace

UnitNames unitNames(const Bytes& page) {
    UnitNames names;
    for (const Bytes& designator : recording::guard::logicalUnitNames(page)) {
        const auto name = nameIn(designator);
        if (name && std::find(names.begin(), names.end(), *name) == names.end()) {
            names.push_back(*name);
        }
    }
    return names;
}

std::string shownName(const UnitNames& names) {
    const auto strongest = std::min_element(
        names.begin(), names.end(),
        [](const UnitName& a, const UnitName& b) { return a.strength < b.strength; });
    return strongest == names.end() ? std::string() : strongest->text;
}

Agreement agreement(const UnitNames& left, const UnitNames& right) {
    for (const Strength strength : kStrongestFirst) {
        const UnitNames some = ofStrength(left, strength);
        const UnitNames others = ofStrength(right, strength);
        if (some.empty() || others.empty()) {
            continue;
        }
        const bool shared = std::find_first_of(some.begin(), some.end(), others.begin(),
                                               others.end()) != some.end();
        return shared ? Agreement::kSame : Agreement::kDifferent;
    }
    return Agreement::kUntold;
}

}  // namespace cli::picture
