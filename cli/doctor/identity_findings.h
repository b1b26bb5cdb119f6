#ifndef SCSITOOL_CLI_DOCTOR_IDENTITY_FINDINGS_H
#define SCSITOOL_CLI_DOCTOR_IDENTITY_FINDINGS_H

#include <vector>

#include "cli/doctor/finding.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/explanation.h"

namespace cli::doctor {

/// Adds what is wrong with how a disk that answers is named, by the generators' own account of how
/// its UDID came about.
void addIdentityFindings(const udid::Explanation& explanation, const CScsiDeviceData& record,
                         std::vector<Finding>& findings);

}  // namespace cli::doctor

#endif
