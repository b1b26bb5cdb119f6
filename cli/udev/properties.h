#ifndef SCSITOOL_CLI_UDEV_PROPERTIES_H
#define SCSITOOL_CLI_UDEV_PROPERTIES_H

#include <string>
#include <utility>
#include <vector>

#include "cli/picture/identity_fields.h"
#include "cli/picture/unit_name.h"

namespace cli::udev {

/// The keys that are read back from udev's database; docs/udev.md has all.
constexpr const char* kUdidEnc = "SCSITOOL_UDID_ENC";
constexpr const char* kLink = "SCSITOOL_LINK";
constexpr const char* kNames = "SCSITOOL_LU_NAMES";
constexpr const char* kPartition = "SCSITOOL_PARTITION";

/// Keys with values that are safe in a rule, in order.
using Properties = std::vector<std::pair<std::string, std::string>>;

/// What is told of a volume.
struct Identified {
    std::string udid;
    picture::IdentityFields fields;
    picture::UnitNames names;
    unsigned partition = 0;  ///< 0: all of it
    bool isShared = false;   ///< another volume of this host has the UDID
};

/// A UDID in the form that a link has; empty for one that is too long for the name of a file with
/// a partition's number behind it.
std::string linkName(const std::string& udid);

Properties propertiesOf(const Identified& volume);

/// The names of a logical unit as one value ("3:naa.6000..."), and back: the designator's type
/// tells names apart that read alike.
std::string namesText(const picture::UnitNames& names);
picture::UnitNames namesIn(const std::string& text);

}  // namespace cli::udev

#endif
