#ifndef SCSITOOL_CLI_COMMON_CHANGES_H
#define SCSITOOL_CLI_COMMON_CHANGES_H

#include <set>
#include <string>
#include <vector>

#include "cli/common/context.h"
#include "cli/comparison/volume_changes.h"
#include "cli/output/report.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {

/// Devices of one UDID that came or went.
struct Change {
    std::string udid;
    std::vector<std::string> devices;
    bool wholeVolume = false;  ///< no other device carries or carried the UDID
    bool isPathUdid = false;   ///< the UDID is made of a path at this host: no identity
};

/// What appeared and what disappeared between two device maps, in the order of the UDIDs. A device
/// that changed its UDID did both.
struct Changes {
    std::vector<Change> appeared;
    std::vector<Change> disappeared;
};

Changes compareMaps(const DeviceMap& before, const DeviceMap& after);

Json changesJson(const Changes& changes);
std::string changesText(const Changes& changes, const Layout& layout);

/// Enumerates before and after an operation, there behind what udev has to do, and adds what
/// changed to its report: what appeared and disappeared, and how volumes that stayed are otherwise
/// than before. Nothing of it happens unless it is wanted.
class ChangeWatch {
  public:
    ChangeWatch(const Context& context, bool wanted);
    void addTo(Report& report, const Context& context);

  private:
    struct Look {
        DeviceMap devices;
        comparison::HostVolumes volumes;
        std::vector<std::string> doubts;  ///< what could not be told of them
        std::set<std::string> silent;     ///< the devices that did not answer, or not whole
        std::set<std::string> pathUdids;  ///< those that are made of a path at this host
        std::vector<std::string> toldOfThem;
    };
    static Look look(const Context& context);

    const bool m_isWanted;
    Look m_before;
};

}  // namespace cli

#endif
