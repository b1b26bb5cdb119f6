#ifndef SCSITOOL_CLI_DOCTOR_SURVEY_H
#define SCSITOOL_CLI_DOCTOR_SURVEY_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/doctor/finding.h"
#include "cli/hosts/answer_watch.h"
#include "cli/picture/picture.h"
#include "cli/prune/verdict.h"

namespace cli::doctor {

/// What was seen of one disk beyond the picture.
struct DiskSeen {
    const picture::Device* device = nullptr;  ///< in the survey's picture
    SeenAnswer seen;                          ///< to the open and to INQUIRY
    std::string state;             ///< of the kernel's SCSI device; empty where it is not told
    std::string genericNode;       ///< "/dev/sg0"; empty where there is none
    bool answersSgIoOnly = false;  ///< it answers SG_IO, and SCSI_IOCTL_SEND_COMMAND is refused
    bool isWriteProtected = false;
    /// Whether it is the disk that the kernel took it for; only of a disk that answers.
    std::optional<prune::Verdict> verdict;
    /// What the kernel's address word says; none where it was not asked for.
    std::optional<picture::ScsiAddress> word;

    const std::string& node() const { return device->name; }
    /// errno of the open for reading and writing, which discovery makes; 0 when it opens or was
    /// not tried.
    int openError() const { return -seen.openResult.value_or(0); }
    bool isConnected() const {
        return seen.answer.kind == recording::guard::Answer::Kind::kConnected;
    }
};

/// What was seen of the host.
struct Survey {
    picture::Picture picture;
    std::vector<DiskSeen> disks;      ///< in the picture's order
    std::vector<Finding> identities;  ///< what is wrong with how disks are named
    std::vector<std::string> untold;  ///< what could not be found out, a line each

    Survey() = default;
    Survey(const Survey&) = delete;  // the disks point into the picture
    Survey& operator=(const Survey&) = delete;
    Survey(Survey&&) = default;

    /// The nodes of the multipath maps.
    std::vector<std::string> maps() const;
};

/// Asks a device, on the current host, what `survey` asks it.
std::function<void(const std::string& node)> interview();

/// Looks at all disks, maps and pseudo-devices, each asked as an enumeration asks it. It takes no
/// lock and has no effect; a disk that the kernel holds back is not asked.
/// `deadline` is how many seconds a disk was waited for, for the text of its state.
Survey survey(const HostView& view, unsigned deadline);

}  // namespace cli::doctor

#endif
