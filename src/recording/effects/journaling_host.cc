#include "recording/effects/journaling_host.h"

#include "recording/effects/append_forecast.h"

namespace recording {

host::AppendResult JournalingHost::appendFile(const std::string& path, const std::string& text) {
    const bool isExpected = forecastAppend(inner(), path) == 0;
    if (isExpected) {
        m_journal.addAppend(path, text);
    }
    const host::AppendResult result = inner().appendFile(path, text);
    // The file may have come, or its rights, since they were looked at.
    if (!isExpected && result.openError == 0) {
        m_journal.addAppend(path, text);
    }
    return result;
}

host::CommandResult JournalingHost::runCommand(const std::string& command, int timeoutSeconds) {
    if (!host::isReadCommand(command)) {
        m_journal.addCommand(command, timeoutSeconds);
    }
    return inner().runCommand(command, timeoutSeconds);
}

int JournalingHost::runShell(const std::string& line) {
    m_journal.addShell(line);
    return inner().runShell(line);
}

void JournalingHost::sleepSeconds(unsigned seconds) {
    m_journal.addSleep(seconds);
    inner().sleepSeconds(seconds);
}

}  // namespace recording
