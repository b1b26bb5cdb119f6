#ifndef SCSITOOL_CLI_DOCTOR_DEVICE_FINDINGS_H
#define SCSITOOL_CLI_DOCTOR_DEVICE_FINDINGS_H

#include <vector>

#include "cli/doctor/finding.h"
#include "cli/doctor/survey.h"

namespace cli::doctor {

/// Adds what is wrong with single disks: those that do not open, answer or serve, that are others
/// than the kernel takes them for, write-protected, or at an address of more than eight bits.
/// What a recording does not speak of is no finding.
void addDiskFindings(const HostView& view, const Survey& seen, std::vector<Finding>& findings);

/// Adds what is wrong with maps and pseudo-devices as such: none of their paths lives, or they have
/// fewer paths than others behind the same targets.
void addMapFindings(const Survey& seen, std::vector<Finding>& findings);

/// Adds what contradicts itself in the picture.
void addContradictions(const Survey& seen, std::vector<Finding>& findings);

}  // namespace cli::doctor

#endif
