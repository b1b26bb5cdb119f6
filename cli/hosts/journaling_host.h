#ifndef SCSITOOL_CLI_HOSTS_JOURNALING_HOST_H
#define SCSITOOL_CLI_HOSTS_JOURNALING_HOST_H

#include <string>

#include "recording/effects/journal.h"
#include "scsitool/host/forwarding_host.h"

namespace cli {

/// Journals every effect and carries it out: what a live host's journal is made by. The line is
/// written first, so that it is there when the effect takes the machine down.
class JournalingHost : public host::ForwardingHost {
  public:
    /// The inner host and the journal must outlive this one.
    JournalingHost(host::Host& inner, recording::Journal& journal)
        : ForwardingHost(inner), m_journal(journal) {}

    host::AppendResult appendFile(const std::string& path, const std::string& text) override;
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;
    void sleepSeconds(unsigned seconds) override;

  private:
    recording::Journal& m_journal;
};

}  // namespace cli

#endif
