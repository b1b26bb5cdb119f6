#ifndef SCSITOOL_CLI_VIEW_USERS_H
#define SCSITOOL_CLI_VIEW_USERS_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "recording/guard/kernel/block_devices.h"
#include "recording/guard/kernel/processes.h"

namespace cli::view {

/// Something that uses a block device.
struct User {
    enum class Kind {
        kMap,      ///< a multipath map
        kLvm,      ///< a volume group
        kCrypt,    ///< dm-crypt
        kMapper,   ///< another target of device-mapper
        kMd,       ///< a Linux RAID
        kHolder,   ///< another driver that stands on the device (bcache ...)
        kMount,    ///< a mounted file system
        kBtrfs,    ///< a mounted btrfs that has the device among others
        kSwap,     ///< swap space
        kLoop,     ///< a loop device
        kExport,   ///< exported by the kernel's own SCSI target
        kProcess,  ///< a process that has it open for writing
    };
    Kind kind = Kind::kHolder;
    std::string name;  ///< mount point, volume group, map; empty for swap
};

bool operator<(const User& left, const User& right);

/// "mount": a kind in documents. It does not change.
const char* nameOf(User::Kind kind);

/// "/data", "swap", "LVM vg00": for people.
std::string userText(const User& user);

/// In the order of the kinds, and each once.
using Users = std::set<User>;

/// Who uses the block devices of a host, directly or by what stands on them, as the kernel and its
/// tables tell it. No device is opened. Every table is read once, however many devices are asked
/// for.
class UserBook {
  public:
    /// Nothing with an effect is asked of the host, which must outlive the object.
    UserBook(host::Host& host, bool isRecorded);

    /// The users of a device and its partitions, by the kernel's name and by the node. None where
    /// nothing was found and not everything was told: that is no proof that nobody uses it.
    std::optional<Users> usersOf(const std::string& kernelName, const std::string& node);

    /// The names of devices under which a mount point is known: nodes and "major:minor".
    std::vector<std::string> mountedAt(const std::string& point);

    /// The partitions of a device, those that kpartx makes of a map among them, by the kernel's
    /// names.
    std::vector<std::string> partitionsOf(const std::string& kernelName);

    recording::guard::BlockDevices& blocks() { return m_blocks; }

  private:
    struct Found {
        Users users;
        bool isTold = true;
    };

    void readTables();
    void readMounts();
    void readSwaps();
    void readExports();
    void readLoops();
    void readBtrfs();
    void readProcesses();
    void add(const std::string& node, const User& user);
    void addNamed(const std::string& kernelName, const std::string& place, Users& users);
    void addHolder(const std::string& holder, Found& found);
    const Found& above(const std::string& kernelName);
    Found look(const std::string& kernelName);
    User userFor(const std::string& holder);

    recording::guard::Evidence m_evidence;
    recording::guard::BlockDevices m_blocks;
    recording::guard::Processes m_processes;
    std::map<std::string, Users> m_byPlace;  // by node, and by "major:minor"
    std::map<std::string, Users> m_byName;   // by kernel name
    std::map<std::string, Found> m_above;    // by kernel name
    bool m_areTablesTold = true;
};

}  // namespace cli::view

#endif
