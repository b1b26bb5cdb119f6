#ifndef SCSITOOL_CLI_DOCTOR_SURVEY_H
#define SCSITOOL_CLI_DOCTOR_SURVEY_H

#include <optional>
#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/answering.h"

namespace cli::doctor {

/// What was seen of one disk of the host.
struct DiskSeen {
    std::string node;  ///< "/dev/sda"; the address of a disk without a block device
    std::optional<recording::guard::ScsiAddress> address;  ///< none where sysfs does not tell
    recording::guard::Answer answer;                       ///< to INQUIRY
    std::string genericNode;  ///< "/dev/sg0"; empty where there is none
    int openError = 0;        ///< errno of the open for reading and writing, which discovery makes
    bool answersSgIoOnly = false;  ///< it answers SG_IO, and SCSI_IOCTL_SEND_COMMAND is refused
};

/// What was seen of the host.
struct Survey {
    std::vector<DiskSeen> disks;
    std::vector<std::string> maps;    ///< names of the multipath maps
    std::vector<std::string> untold;  ///< what could not be found out, a line each
};

/// Looks at all disks and maps. It takes no lock and has no effect.
Survey survey(const HostView& view);

}  // namespace cli::doctor

#endif
