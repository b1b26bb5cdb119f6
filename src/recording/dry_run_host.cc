#include "recording/dry_run_host.h"

#include <cerrno>

namespace recording {

host::AppendResult DryRunHost::appendFile(const std::string& path, const std::string& text) {
    host::AppendResult result;
    if (!inner().pathExists(path)) {
        result.openError = ENOENT;
        return result;
    }
    std::string ignored;
    const int error = inner().readFile(path, ignored);
    // The attributes of sysfs that take a command ("scan", "delete") may only be written.
    if (error < 0 && error != -EACCES) {
        result.openError = -error;
        return result;
    }
    m_journal.addAppend(path, text);
    return result;
}

host::CommandResult DryRunHost::runCommand(const std::string& command, int timeoutSeconds) {
    if (host::isReadCommand(command)) {
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }
    m_journal.addCommand(command, timeoutSeconds);
    return {};
}

int DryRunHost::runShell(const std::string& line) {
    m_journal.addShell(line);
    return 0;
}

void DryRunHost::sleepSeconds(unsigned seconds) {
    m_journal.addSleep(seconds);
}

}  // namespace recording
