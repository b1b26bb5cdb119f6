#ifndef SCSITOOL_CLI_DOCTOR_EXAMINATION_H
#define SCSITOOL_CLI_DOCTOR_EXAMINATION_H

#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/doctor/ability.h"
#include "cli/doctor/finding.h"

namespace cli::doctor {

/// What works on a host, and what is wrong with it.
struct Examination {
    std::vector<Ability> abilities;
    std::vector<Finding> findings;    ///< sorted
    std::vector<std::string> untold;  ///< what could not be found out, a line each
};

/// Examines a host. Everything is read; nothing is changed, and no lock is taken. `isRoot` says
/// whether who asks is root, which counts on a live machine alone.
/// `deadline` is how many seconds a disk was waited for, for the text of its state.
Examination examine(const HostView& view, bool isRoot, unsigned deadline);

}  // namespace cli::doctor

#endif
