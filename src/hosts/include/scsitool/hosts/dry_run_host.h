#ifndef SCSITOOL_HOSTS_DRY_RUN_HOST_H
#define SCSITOOL_HOSTS_DRY_RUN_HOST_H

#include <memory>

#include "scsitool/host/export.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/hosts/journal.h"

namespace hosts {

/// Passes what only reads on to another host. An effect goes to the journal, is not carried out and
/// succeeds at once: a command with exit status 0 and no output, a shell line with 0, a pause that
/// takes no time. An append fails where the other host would not let the file be written.
///
/// Safe for any number of threads.
class SCSITOOL_EXPORT DryRunHost : public host::ForwardingHost {
  public:
    /// Both must outlive this one. Over a recorded host the two may share one journal.
    DryRunHost(host::Host& inner, Journal& journal);
    ~DryRunHost() override;

  private:
    class Inside;

    explicit DryRunHost(std::unique_ptr<Inside> inside);

    const std::unique_ptr<Inside> m_inside;
};

}  // namespace hosts

#endif
