#include <string>
#include <vector>

#include "scsi/scsi_result.h"
#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"
#include "scsitool/kit/context_singleton.h"
#include "scsitool/kit/string_tool.h"
#include "scsitool/scsi/scsitool.h"
#include "tools/host_command.h"
#include "tools/line_reader.h"
#include "tools/trace.h"

using qzfi_pdk_4_4::CFiStringTool;
using qzfi_pdk_4_4::V_snprintf;
using tools::traceTo;

namespace {

using ProcessTraceLog =
    qzfi_pdk_4_4::CFiContextSingleton<qzfi_pdk_4_4::CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;

constexpr char kInitiator[] = "/sbin/iscsiadm";
constexpr char kNameFile[] = "/etc/iscsi/initiatorname.iscsi";
constexpr char kBlanks[] = " \n\t\r";
constexpr unsigned kNameFileMissing = 26;
constexpr std::size_t kCommandBuffer = 1024;

/// The words of an operation's trace lines.
struct OperationWords {
    const char* name;
    const char* command = "Command";
    const char* output = "Output";
};

// Finds the value of "InitiatorName=value"; a comment's "#" stays part of the key.
bool initiatorNameIn(const std::string& line, std::string& value) {
    const std::vector<std::string> tokens = CFiStringTool::tokenize(line, "=");
    if (tokens.empty() || CFiStringTool::CompareNoCase(CFiStringTool::trim(tokens[0], kBlanks),
                                                       "InitiatorName") != 0) {
        return false;
    }
    value = tokens.size() > 1 ? CFiStringTool::trim(tokens[1], kBlanks) : std::string();
    return true;
}

void traceFailure(const CScsiTool& tool, const OperationWords& words, const char* command,
                  int result, long status) {
    if (result != tools::kCommandSucceeded) {
        traceTo(tool.m_traceLog, 1, "%s: Failed to execute command:[%s]. Command will be retried.",
                words.name, command);
    }
    if (result == tools::kCommandFailed) {
        traceTo(ProcessTraceLog::instance(false), 2, "%s: command [%s] failed with error [%ld].",
                words.name, command, status);
    } else if (result == tools::kCommandTimedOut) {
        traceTo(ProcessTraceLog::instance(false), 2, "%s: command [%s] timed out", words.name,
                command);
    }
}

// One attempt. The caller retries by calling the operation again, after a pause that lets the
// target or the network come back.
void runInitiator(host::Host& host, CScsiTool& tool, const OperationWords& words,
                  const char* command) {
    constexpr unsigned kRetrySeconds = 5;
    traceTo(tool.m_traceLog, 6, "%s: %s:[%s]", words.name, words.command, command);
    const tools::CommandRun run = tools::runCommand(host, command, tool.m_traceLog);
    for (const std::string& line : run.output) {
        traceTo(tool.m_traceLog, 6, "%s: %s:[%s]", words.name, words.output, line.c_str());
    }
    const long status = tool.GetExecPipeWaitPidStatus(run.waitStatus);
    if (status == 0) {
        return;
    }
    traceFailure(tool, words, command, run.result, status);
    traceTo(tool.m_traceLog, 6, "%s: Waiting for [%d] seconds", words.name,
            static_cast<int>(kRetrySeconds));
    host.sleepSeconds(kRetrySeconds);
}

// The command is `begin`, the argument up to its first NUL and `end`, cut to the buffer.
unsigned operate(host::Host& host, CScsiTool& tool, const OperationWords& words, const char* begin,
                 const std::string& argument, const char* end) {
    traceTo(tool.m_traceLog, 4, "Entering %s", words.name);
    try {
        char command[kCommandBuffer];
        V_snprintf(command, sizeof command, "%s%s%s", begin, argument.c_str(), end);
        runInitiator(host, tool, words, command);
    } catch (...) {
        traceTo(tool.m_traceLog, 2, "%s: Unknown exception caught", words.name);
    }
    traceTo(tool.m_traceLog, 4, "Exiting %s", words.name);
    return scsi::kSuccess;
}

}  // namespace

unsigned CScsiTool::GetHostIQN(std::string& iqn) {
    constexpr std::size_t kLineBuffer = 1024;
    traceTo(m_traceLog, 4, "libscsitool: DEBUG: Entering CScsiTool::GetHostIQN()");
    host::Host& host = host::current();
    if (!host.pathExists(kInitiator)) {
        traceTo(m_traceLog, 1,
                "libscsitool: ERROR: iscsi-initiator-utils package is not installed on the host");
        return scsi::kFailure;
    }
    const host::ReadResult file = host.readFile(kNameFile);
    if (file.openError != 0) {
        traceTo(m_traceLog, 1, "Error: failed to open file [%s]", kNameFile);
        return kNameFileMissing;
    }
    for (const std::string& line : tools::fgetsLines(file, kLineBuffer)) {
        if (initiatorNameIn(line, iqn)) {
            break;
        }
    }
    return scsi::kSuccess;
}

unsigned CScsiTool::DiscoverIscsiTargets(std::string& portal) {
    return operate(host::current(), *this, {"CScsiTool::DiscoverIscsiTargets"},
                   "/sbin/iscsiadm -m discovery -t sendtargets -p ", portal, "");
}

unsigned CScsiTool::LoginToIscsiIQN(std::string& targetIqn) {
    return operate(host::current(), *this, {"CScsiTool::LoginToIscsiIQN"},
                   "/sbin/iscsiadm -m node -T ", targetIqn, " --login");
}

unsigned CScsiTool::LogoutFromIscsiIQN(std::string& targetIqn) {
    return operate(host::current(), *this, {"CScsiTool::LogoutFromIscsiIQN", "command", "output"},
                   "/sbin/iscsiadm -m node -T ", targetIqn, " --logout");
}

unsigned CScsiTool::RescanIscsiSessions() {
    return operate(host::current(), *this, {"CScsiTool::RescanIscsiSessions"},
                   "/sbin/iscsiadm -m session -R", "", "");
}

long CScsiTool::GetExecPipeWaitPidStatus(long status) {
    constexpr char kName[] = "CScsiTool::GetExecPipeWaitPidStatus";
    constexpr long kStopped = 0x7F;
    constexpr unsigned long kContinued = 0xFFFF;
    const long signal = status & 0x7F;
    const long upper = status >> 8 & 0xFF;
    if (signal == 0) {
        traceTo(ProcessTraceLog::instance(false), 2, "%s: exited, status= [%ld]", kName, upper);
        return upper;
    }
    if (signal != kStopped) {
        traceTo(m_traceLog, 2, "%s: killed by signal [%ld]", kName, signal);
        return signal;
    }
    if ((status & 0xFF) == kStopped) {
        traceTo(m_traceLog, 2, "%s: stopped by signal:[%ld]", kName, upper);
        return upper;
    }
    if ((static_cast<unsigned long>(status) & 0xFFFFFFFFUL) == kContinued) {
        traceTo(ProcessTraceLog::instance(false), 2, "%s: continued:[%ld]", kName, status);
    }
    return status;
}
