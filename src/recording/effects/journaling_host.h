#ifndef SCSITOOL_RECORDING_EFFECTS_JOURNALING_HOST_H
#define SCSITOOL_RECORDING_EFFECTS_JOURNALING_HOST_H

#include <string>

#include "recording/effects/journal.h"
#include "scsitool/host/forwarding_host.h"

namespace recording {

/// Journals every effect and carries it out: what a live host's journal is made by. The line is
/// written first, so that it is there when the effect takes the machine down: that of an append
/// once its file is open. An append whose file does not open is no effect and leaves no line.
///
/// A command that only reads is passed on and not journaled: it is no effect.
class JournalingHost : public host::ReadForwardingHost {
  public:
    /// The inner host and the journal must outlive this one.
    JournalingHost(host::Host& inner, Journal& journal)
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
