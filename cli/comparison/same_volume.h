#ifndef SCSITOOL_CLI_COMPARISON_SAME_VOLUME_H
#define SCSITOOL_CLI_COMPARISON_SAME_VOLUME_H

#include <string>

#include "cli/output/report.h"
#include "cli/output/table.h"
#include "cli/picture/identity_fields.h"
#include "cli/picture/unit_name.h"

namespace cli::comparison {

/// A device by all that tells its volume.
struct IdentifiedDevice {
    std::string name;
    picture::UnitNames names;        ///< of the logical unit, in page 0x83
    picture::IdentityFields fields;  ///< of no family where the UDID is the path's alone
    std::string udid;
};

/// Whether two devices are one volume: by the names that the logical unit gives itself, and where
/// they have no kind of name in common by their UDIDs, unless one is made of a path alone.
picture::Agreement sameVolume(const IdentifiedDevice& left, const IdentifiedDevice& right);

/// The same in one sentence that says by what.
std::string sameVolumeSentence(const IdentifiedDevice& mailed, const IdentifiedDevice& device);

/// What agrees and what does not, field by field.
std::string sameVolumeTable(const IdentifiedDevice& mailed, const IdentifiedDevice& device,
                            const Layout& layout);

/// The entry of a JSON document; "same" is null where it cannot be told.
Json sameVolumeJson(const IdentifiedDevice& mailed, const IdentifiedDevice& device);

}  // namespace cli::comparison

#endif
