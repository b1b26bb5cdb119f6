#ifndef SCSITOOL_CLI_PICTURE_IDENTITY_FIELDS_H
#define SCSITOOL_CLI_PICTURE_IDENTITY_FIELDS_H

#include <optional>
#include <string>

#include "scsitool/host/host.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/identity.h"

namespace cli::picture {

/// Who a volume is, field by field. A text is empty, the group none, where it is not told: nothing
/// here is guessed.
struct IdentityFields {
    /// Of the generator that made the UDID: "EMC CLARiiON"; a path at this host is of no family.
    std::string family;
    std::string arraySerial;  ///< as it stands in the UDID
    std::string volumeId;     ///< the same
    std::string
        logicalUnitName;  ///< the strongest of page 0x83: "naa.6006...", "eui....", "t10...."
    std::string serial;   ///< page 0x80, without blanks at either end
    /// The port that answered, by its name or as "relative port 1" (page 0x83). None for a map or
    /// pseudo-device, whose paths go through several.
    std::string targetPort;
    std::optional<unsigned> portGroup;  ///< its target port group; none as above
};

/// The fields of a record and of what its UDID says; null where no UDID was asked for.
IdentityFields fieldsOf(const CScsiDeviceData& record, const udid::Identity* identity);

/// The fields of a record whose UDID nobody asked for. The generators work on it once more and may
/// ask this host for its name, but no device: what a family makes of a controller's answer is not
/// told.
IdentityFields fieldsOf(const CScsiDeviceData& record, host::Host& host);

/// Fills the fields that are not told with those of another device of the same volume; its port is
/// its own.
void complete(IdentityFields& fields, const IdentityFields& other);

}  // namespace cli::picture

#endif
