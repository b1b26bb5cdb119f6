#include "recording/effects/journaling_host.h"

namespace recording {

host::AppendResult JournalingHost::appendFile(const std::string& path, const std::string& text,
                                              const host::BeforeWrite& beforeWrite) {
    return inner().appendFile(path, text, [&] {
        m_journal.addAppend(path, text);
        if (beforeWrite) {
            beforeWrite();
        }
    });
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
