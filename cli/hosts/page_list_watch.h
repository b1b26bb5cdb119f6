#ifndef SCSITOOL_CLI_HOSTS_PAGE_LIST_WATCH_H
#define SCSITOOL_CLI_HOSTS_PAGE_LIST_WATCH_H

#include <cstdint>
#include <vector>

#include "scsitool/host/forwarding_host.h"

namespace cli {

/// Looks on while a device's record is collected and keeps the bytes of VPD page 0x00, of which the
/// record has only the codes: the device is thereby not asked twice. For one thread.
class PageListWatch : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;

    /// The last page 0x00 that was answered, up to the length that it states; empty before one was.
    const std::vector<std::uint8_t>& page() const { return m_page; }

  private:
    std::vector<std::uint8_t> m_page;
};

}  // namespace cli

#endif
