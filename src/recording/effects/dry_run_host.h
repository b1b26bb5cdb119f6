#ifndef SCSITOOL_RECORDING_EFFECTS_DRY_RUN_HOST_H
#define SCSITOOL_RECORDING_EFFECTS_DRY_RUN_HOST_H

#include <string>

#include "recording/effects/journal.h"
#include "scsitool/host/forwarding_host.h"

namespace recording {

/// Passes what only reads on to another host. An effect goes to the journal, is not carried out and
/// succeeds at once: a command with exit status 0 and no output, a shell line with 0, a pause that
/// takes no time. An append fails where the other host would not let the file be written: a dry run
/// without the rights says so.
///
/// A command that only reads is passed on and not journaled here: it is no effect. Over a recorded
/// host the two may share one journal; each line then stands in it once.
class DryRunHost : public host::ReadForwardingHost {
  public:
    /// The inner host and the journal must outlive this one.
    DryRunHost(host::Host& inner, Journal& journal)
        : ReadForwardingHost(inner), m_journal(journal) {}

    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override;
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;
    void sleepSeconds(unsigned seconds) override;

  private:
    Journal& m_journal;
};

}  // namespace recording

#endif
