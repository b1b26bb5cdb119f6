#ifndef SCSITOOL_CLI_PICTURE_PICTURE_H
#define SCSITOOL_CLI_PICTURE_PICTURE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/picture/identity_fields.h"
#include "cli/picture/state.h"
#include "cli/picture/unit_name.h"
#include "recording/guard/effect/scsi_address.h"

/// One picture of a host's SCSI storage as plain data: the library's device map and records joined
/// with what the kernel lists. An `Enumeration` (enumeration.h) makes it; everything here is pure
/// and works on values alone.
///
///     Enumeration enumeration(context);         // enumeration.h: asks, and looks on
///     enumeration.run(...);
///     const Picture picture = enumeration.picture();
///     for (const Contradiction& found : picture.contradictions) ...
namespace cli::picture {

using recording::guard::ScsiAddress;

enum class Kind {
    kDisk,          ///< a disk of the SCSI disk driver: one path to a volume
    kMap,           ///< a multipath map of device-mapper
    kPseudoDevice,  ///< a PowerPath pseudo-device
    kOther,         ///< a node of /dev/mapper that is no multipath map: it is no SCSI device
};

/// One device node.
struct Device {
    std::string name;        ///< the node: "/dev/sda", "/dev/mapper/mpatha"
    std::string kernelName;  ///< "sda", "dm-0"; empty where the kernel does not tell
    Kind kind = Kind::kDisk;
    State state;
    KernelState kernelState;  ///< of a disk, as sysfs tells it
    /// Of a disk: sysfs's with its 64-bit LUN, or the record's where there is no sysfs.
    std::optional<ScsiAddress> address;
    bool isListed = false;  ///< it stands in the library's device map
    int claimLevel = 0;     ///< as the library has it
    std::string udid;       ///< as the library has it; empty for a device without one
    /// The UDID is made of the device's path at this host: it is no identity of the volume.
    bool isPathUdid = false;
    /// Of a device that tells no identity now: what the library would have made of the pages that
    /// the kernel keeps; empty when these do not suffice.
    std::string lastKnownUdid;
    std::optional<std::uint64_t> sizeKb;  ///< in units of 1,024 bytes; none when it is not told
    std::string vendor;                   ///< of the library's record
    std::string product;
    std::string revision;
    /// What its UDID and pages say, or what the last known ones said.
    IdentityFields fields;
    UnitNames names;      ///< what it calls its logical unit now (page 0x83)
    UnitNames keptNames;  ///< the same in the page that the kernel keeps since it found the disk
    /// Kernel names of the disks below a map or pseudo-device, as the kernel relates them.
    std::vector<std::string> paths;
    /// What is remarkable of it in the contradictions, to stand in its row. `pictureOf` fills both.
    std::vector<std::string> marks;
    bool isAlarming = false;  ///< it is in one that may cost data
};

/// The UDID of the volume that a device carries or last carried; empty when that is not known. One
/// that is made of a path is none.
const std::string& identityOf(const Device& device);

/// The logical unit's names, or the last known ones of a device that does not answer.
const UnitNames& namesOf(const Device& device);

/// What is known of two devices: whether one volume is behind them. Names that a logical unit gives
/// itself count before UDIDs.
Agreement sameVolume(const Device& left, const Device& right);

/// What belongs together.
struct Volume {
    std::string udid;                  ///< empty when none is known
    bool isLastKnown = false;          ///< none of its devices tells the UDID now
    bool isPathUdid = false;           ///< as of a device
    std::vector<std::size_t> devices;  ///< places in the list of devices, in its order
    std::optional<std::uint64_t> sizeKb;
};

/// Puts devices together: those of one UDID that do not name themselves as different volumes, and a
/// map or pseudo-device with its paths. A device that tells no identity goes with the map that the
/// kernel holds it for, whatever the library calls it. Volumes stand in the order of their first
/// device; nodes that are no SCSI device and have no size are left out.
std::vector<Volume> volumesOf(const std::vector<Device>& devices);

/// Things that cannot all be true, or that name one thing in two ways.
struct Contradiction {
    enum class Kind {
        kMapOverVolumes,     ///< the paths of one map are different volumes: the worst there is
        kTwoVolumesOneUdid,  ///< one UDID, and names (or, without any, sizes) that differ
        kOneVolumeTwoUdids,  ///< one logical-unit name under several UDIDs
        kAnotherVolume,      ///< the disk names itself otherwise than when the kernel found it
        kSizesDiffer,        ///< the paths of one volume do not agree on its size yet
    };
    Kind kind = Kind::kSizesDiffer;
    std::vector<std::size_t> devices;  ///< places in the list of devices
    std::string text;                  ///< one line for people: which devices, what of them
    /// For each of `devices` what is remarkable of it, to stand in its row: "sizes differ".
    std::vector<std::string> marks;
};

/// "map-over-volumes": a kind's name in documents. It does not change.
const char* nameOf(Contradiction::Kind kind);

/// Finds all of them, the worst kind first, in the order of the devices.
std::vector<Contradiction> contradictionsIn(const std::vector<Device>& devices,
                                            const std::vector<Volume>& volumes);

struct Picture;

/// What the devices of a volume say of it; the first that says something counts.
IdentityFields fieldsOf(const Picture& picture, const Volume& volume);

struct Picture {
    std::vector<Device> devices;  ///< in ascending byte order of the names, as the device map
    std::vector<Volume> volumes;
    std::vector<Contradiction> contradictions;
};

/// Completes a picture of devices: sorts them and works out the rest.
Picture pictureOf(std::vector<Device> devices);

/// What could not be told and what contradicts itself, one line each; `hint` is what a person may
/// try where devices did not open for want of rights. Empty for a healthy host.
std::vector<std::string> doubtsOf(const Picture& picture, const std::string& hint);

}  // namespace cli::picture

#endif
