#include "recording/effects/dry_run_host.h"

#include "recording/effects/append_forecast.h"

namespace recording {

host::AppendResult DryRunHost::appendFile(const std::string& path, const std::string& text,
                                          const host::BeforeWrite& beforeWrite) {
    host::AppendResult result;
    result.openError = forecastAppend(inner(), path);
    if (result.openError == 0) {
        if (beforeWrite) {
            beforeWrite();
        }
        m_journal.addAppend(path, text);
    }
    return result;
}

host::CommandResult DryRunHost::runCommand(const std::string& command, int timeoutSeconds) {
    if (host::isReadCommand(command)) {
        return inner().runCommand(command, timeoutSeconds);
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
