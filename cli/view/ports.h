#ifndef SCSITOOL_CLI_VIEW_PORTS_H
#define SCSITOOL_CLI_VIEW_PORTS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "cli/picture/picture.h"

namespace cli::view {

/// The two ends of a path and what drives it, as sysfs tells them; empty where it does not.
struct Ports {
    std::string initiator;  ///< port name, iSCSI name or SAS address of the host's port
    std::string target;     ///< the same of the array's
    std::string driver;     ///< of the adapter: "qla2xxx", "iscsi_tcp"
    /// Tag of the target portal group that an iSCSI session is with.
    std::optional<std::uint64_t> portalGroup;
};

/// Reads them. What several paths share is read once.
class PortBook {
  public:
    /// Nothing with an effect is asked of the host, which must outlive the object.
    explicit PortBook(host::Host& host) : m_host(host) {}

    Ports portsOf(const picture::ScsiAddress& address);

  private:
    const std::string& line(const std::string& path);

    host::Host& m_host;
    std::map<std::string, std::string> m_lines;  // of files, by path
};

}  // namespace cli::view

#endif
