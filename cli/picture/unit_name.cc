#include "cli/picture/unit_name.h"

#include <algorithm>
#include <array>

#include "recording/text/hex.h"

namespace cli::picture {
namespace {

using Bytes = std::vector<std::uint8_t>;
using recording::Association;
using recording::Designator;

constexpr std::array<Strength, 5> kStrongestFirst = {
    Strength::kNaa6, Strength::kNaa, Strength::kEui64, Strength::kT10Vendor, Strength::kScsiName};

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

std::optional<UnitName> nameIn(const Designator& designator) {
    const Bytes& value = designator.value;
    if (!designator.isWhole() || value.empty() || isBlank(value)) {
        return std::nullopt;
    }
    switch (designator.type) {
        case recording::kT10VendorName:
            return UnitName{Strength::kT10Vendor, "t10." + textOf(value)};
        case recording::kEui64Name:
            return UnitName{Strength::kEui64, "eui." + recording::toHex(value)};
        case recording::kNaaName:
            return naaName(value);
        case recording::kScsiNameString:
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

UnitNames namesOf(const std::vector<Designator>& designators, Association association) {
    UnitNames names;
    for (const Designator& designator : designators) {
        const auto name = designator.association == association ? nameIn(designator) : std::nullopt;
        if (name && std::find(names.begin(), names.end(), *name) == names.end()) {
            names.push_back(*name);
        }
    }
    return names;
}

UnitNames unitNames(const Bytes& page) {
    return namesOf(recording::designatorsIn(page, 0), Association::kLogicalUnit);
}

std::optional<unsigned> portNumber(const std::vector<Designator>& designators, unsigned type) {
    constexpr std::size_t kBytes = 4;
    for (const Designator& designator : designators) {
        if (designator.association == Association::kTargetPort && designator.type == type &&
            designator.isWhole() && designator.length == kBytes) {
            return designator.value[2] * 256U + designator.value[3];
        }
    }
    return std::nullopt;
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
