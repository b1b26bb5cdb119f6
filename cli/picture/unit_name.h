#ifndef SCSITOOL_CLI_PICTURE_UNIT_NAME_H
#define SCSITOOL_CLI_PICTURE_UNIT_NAME_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recording/pages/designators.h"

namespace cli::picture {

/// How well a kind of designator tells logical units apart, the best first.
enum class Strength { kNaa6, kNaa, kEui64, kT10Vendor, kScsiName };

/// A name that a logical unit gives itself in page 0x83.
struct UnitName {
    Strength strength = Strength::kScsiName;
    std::string text;  ///< "naa.5000c500a1b2c3d4", "eui....", "t10....", a SCSI name as it stands
};

inline bool operator==(const UnitName& left, const UnitName& right) {
    return left.strength == right.strength && left.text == right.text;
}

using UnitNames = std::vector<UnitName>;

/// The names in a page 0x83, its header taken off. Only designators of association 0 count: those
/// of a target port differ from path to path. An identifier of zeros or blanks names nothing.
UnitNames unitNames(const std::vector<std::uint8_t>& page);

/// The names that designators of one association give, none twice.
UnitNames namesOf(const std::vector<recording::Designator>& designators,
                  recording::Association association);

/// The number in the first designator of the target port that is of this type: its relative number
/// or its group.
std::optional<unsigned> portNumber(const std::vector<recording::Designator>& designators,
                                   unsigned type);

/// The strongest of the names, which is what a person is shown; empty without any.
std::string shownName(const UnitNames& names);

/// What two lists of names say of each other.
enum class Agreement {
    kUntold,    ///< they have no kind in common; silence is no contradiction
    kSame,      ///< they share a name of the strongest kind that both have
    kDifferent  ///< they share none of it
};
Agreement agreement(const UnitNames& left, const UnitNames& right);

}  // namespace cli::picture

#endif
