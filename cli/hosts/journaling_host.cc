#include "cli/hosts/journaling_host.h"

namespace cli {

host::AppendResult JournalingHost::appendFile(const std::string& path, const std::string& text) {
    m_journal.addAppend(path, text);
    return ForwardingHost::appendFile(path, text);
}

host::CommandResult JournalingHost::runCommand(const std::string& command, int timeoutSeconds) {
    if (!host::isReadCommand(command)) {
        m_journal.addCommand(command, timeoutSeconds);
    }
    return ForwardingHost::runCommand(command, timeoutSeconds);
}

int JournalingHost::runShell(const std::string& line) {
    m_journal.addShell(line);
    return ForwardingHost::runShell(line);
}

void JournalingHost::sleepSeconds(unsigned seconds) {
    m_journal.addSleep(seconds);
    ForwardingHost::sleepSeconds(seconds);
}

}  // namespace cli
