#ifndef SCSITOOL_CLI_VIEW_DETAILS_H
#define SCSITOOL_CLI_VIEW_DETAILS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/common/host_view.h"
#include "cli/picture/picture.h"
#include "cli/view/map_table.h"
#include "cli/view/users.h"
#include "recording/guard/kernel/scsi_devices.h"

namespace cli::view {

/// A partition of a disk, or of a map as kpartx makes them.
struct Partition {
    std::string name;  ///< "/dev/sda1", "/dev/mapper/mpatha1"
    std::optional<std::uint64_t> sizeKb;
    std::optional<Users> users;
};

/// What the kernel tells of a device and few views show; a text is empty where it does not tell.
struct Details {
    std::string type;    ///< of a disk, its peripheral device type: "disk", "optical"
    std::string number;  ///< "8:16"
    /// Of a map the WWID that multipathd has put it together by, of a disk the kernel's name of the
    /// logical unit: "3600...", "naa.600..."
    std::string wwid;
    std::optional<bool> isReadOnly;
    std::optional<std::vector<Partition>> partitions;  ///< in natural order
    std::string features;                              ///< of a map, as `MapTable` has it
    std::string handler;                               ///< the same
};

/// Reads them, each when it is first asked for: what nobody shows is not read. Nothing with an
/// effect is asked of the host, which must outlive the object.
class DetailBook {
  public:
    explicit DetailBook(const HostView& view);

    const Details& of(const picture::Device& device);
    /// How the map of a path chooses it among those of its group: "service-time 0". Empty for a
    /// disk below no map.
    std::string policyOf(const picture::Device& path);

    UserBook& users() { return m_users; }

    /// What could not be told of what was read until now; empty for nothing.
    const std::string& doubt() const { return m_doubt; }

  private:
    Details read(const picture::Device& device);
    std::vector<Partition> partitionsOf(const std::string& kernelName);
    void readTables();

    recording::guard::Evidence m_evidence;
    recording::guard::ScsiDevices m_scsi;
    UserBook m_users;
    std::optional<MapTables> m_tables;
    std::map<std::string, std::string> m_policies;  // of paths, by "major:minor"
    std::map<std::string, Details> m_known;         // by the name of the device
    std::string m_doubt;
};

}  // namespace cli::view

#endif
