#ifndef SCSITOOL_CLI_PICTURE_POWER_PATH_H
#define SCSITOOL_CLI_PICTURE_POWER_PATH_H

#include <map>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace cli::picture {

/// The disks below PowerPath's pseudo-devices, both by kernel name ("emcpowera": "sdb", "sdc").
using PowerPathMembers = std::map<std::string, std::vector<std::string>>;

/// Reads what 'powermt display dev=all' prints: a paragraph for each pseudo-device, which begins
/// with "Pseudo name=" and has a line for each path with the disk's kernel name as one of its
/// words. What does not look like that is left out, and so is a disk that stands below two.
PowerPathMembers powerPathMembersIn(const std::vector<std::string>& lines);

/// Runs that, a read. PowerPath's driver shows no such relation in sysfs. Empty where the tool is
/// not there, fails, or does not end in time.
PowerPathMembers askPowermt(host::Host& host);

}  // namespace cli::picture

#endif
