#ifndef SCSITOOL_CLI_DOCTOR_FINDING_H
#define SCSITOOL_CLI_DOCTOR_FINDING_H

#include <string>
#include <vector>

namespace cli::doctor {

enum class Severity {
    kError,    ///< disks are missing or wrong, or data is at risk
    kWarning,  ///< something does not work, or will not when the next thing fails
    kNote,     ///< worth knowing
};

const char* nameOf(Severity severity);

/// What can be found. docs/doctor.md describes each by its code.
enum class Kind {
    kClosedToUser,
    kNoSendCommand,
    kNoScsiTable,
    kNoRescanScript,
    kScriptMisfit,
    kNoPidof,
    kNoMultipathTool,
    kNoMultipathDaemon,
    kNoIscsiTool,
    kNoInitiatorName,
    kNoPowerPathTool,
    kNoAnswer,
    kNotOpened,
    kGone,
    kNotServing,
    kAnotherDisk,
    kWriteProtected,
    kWideAddress,
    kMapWithoutPath,
    kFewerPaths,
    kSizesDiffer,
    kLongPage,
    kUnknownProduct,
    kFamilyFailed,
    kOtherName,
    kPathUdid,
    kShortSerial,
    kMapOverVolumes,
    kTwoVolumesOneUdid,
    kOneVolumeTwoUdids,
    kInPart,
};

/// What is said of a finding wherever it is made.
struct KindText {
    Kind kind;
    const char* code;  ///< stable: it never names anything else, and goes with the kind
    Severity severity;
    const char* title;
    const char* why;     ///< one sentence: why it matters
    const char* remedy;  ///< one sentence: what to do
};

/// All kinds in the order of their codes.
const std::vector<KindText>& kindTexts();
const KindText& textOf(Kind kind);

/// Something that was found on this host.
struct Finding {
    Kind kind;
    std::vector<std::string> devices;  ///< nodes, addresses or files
    std::string seen;                  ///< what was seen, with its values
};

/// Errors first, then warnings, then notes; in each by code, then in the order in which they were
/// made.
void sortFindings(std::vector<Finding>& findings);

}  // namespace cli::doctor

#endif
