#ifndef SCSITOOL_CLI_PICTURE_IDENTITY_TEXT_H
#define SCSITOOL_CLI_PICTURE_IDENTITY_TEXT_H

#include <string>
#include <utility>
#include <vector>

#include "cli/output/report.h"
#include "cli/picture/identity_fields.h"

namespace cli::picture {

/// Adds the fields of a device to its entry of a JSON document: null where they are not told.
void addFields(Json& json, const IdentityFields& fields);
/// The same for a volume, which has no port of its own.
void addVolumeFields(Json& json, const IdentityFields& fields);

/// The fields that are told with what people call them, in order.
std::vector<std::pair<const char*, std::string>> shownFields(const IdentityFields& fields);

}  // namespace cli::picture

#endif
