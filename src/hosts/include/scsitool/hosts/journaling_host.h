#ifndef SCSITOOL_HOSTS_JOURNALING_HOST_H
#define SCSITOOL_HOSTS_JOURNALING_HOST_H

#include <memory>

#include "scsitool/host/export.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/hosts/journal.h"

namespace hosts {

/// Passes everything on to another host and journals every effect before it is carried out. A
/// command that only reads is no effect.
///
/// Safe for any number of threads.
class SCSITOOL_EXPORT JournalingHost : public host::ForwardingHost {
  public:
    /// Both must outlive this one.
    JournalingHost(host::Host& inner, Journal& journal);
    ~JournalingHost() override;

  private:
    class Inside;

    explicit JournalingHost(std::unique_ptr<Inside> inside);

    const std::unique_ptr<Inside> m_inside;
};

}  // namespace hosts

#endif
