#include "recording/guard/rules/stacks.h"

#include <algorithm>
#include <cctype>
#include <cerrno>

#include "recording/guard/kernel/scsi_devices.h"

namespace recording::guard {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const char* kDev = "/dev/";
constexpr const char* kPseudo = "emcpower";

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

std::string kindOfMap(const std::string& uuid) {
    return isMultipath(uuid)            ? "the multipath map"
           : beginsWith(uuid, "LVM-")   ? "LVM"
           : beginsWith(uuid, "CRYPT-") ? "dm-crypt"
                                        : "device-mapper";
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

// As the kernel keeps it, for a disk that does not answer any more.
Bytes keptIdentity(Evidence& evidence, const DevicePicture& disk) {
    return disk.address ? ScsiDevices(evidence).pageAt(*disk.address, kIdentificationPage)
                        : Bytes();
}

// None when the disk's page is neither to be had from it nor kept by the kernel, and `isUnspoken`
// when that is only because a recording does not have it.
std::vector<std::vector<std::uint8_t>> namesOf(Evidence& evidence, BlockDevices& devices,
                                               const DevicePicture& disk, bool& isUnspoken) {
    const auto node = devices.node(disk.disk);
    const VpdPage live =
        node ? askPage(evidence, *node, kIdentificationPage) : VpdPage{-ENOENT, {}};
    const bool isSilent = isNoDevice(live.error) || isMissing(live.error) || live.error == -ENOTTY;
    isUnspoken = evidence.isRecorded() && isSilent;
    return logicalUnitNames(live.error == 0 ? live.content : keptIdentity(evidence, disk));
}

}  // namespace

std::string describeHolder(BlockDevices& devices, const std::string& holder) {
    const std::string mapName = devices.mapName(holder);
    if (!mapName.empty()) {
        return kindOfMap(devices.mapUuid(holder)) + " (" + holder + ", " + mapName + ")";
    }
    return (beginsWith(holder, "md")       ? "md ("
            : beginsWith(holder, "dm-")    ? "device-mapper ("
            : beginsWith(holder, "bcache") ? "bcache ("
                                           : "another device (") +
           holder + ")";
}

std::vector<std::string> livingPaths(BlockDevices& devices, Evidence& evidence,
                                     const std::string& map, const std::string& butFor) {
    std::vector<std::string> living;
    for (const std::string& path : devices.slaves(map)) {
        const auto node = path == butFor ? std::nullopt : devices.node(path);
        if (node && askDisk(evidence, *node).kind == Answer::Kind::kConnected) {
            living.push_back(path);
        }
    }
    return living;
}

void addHolders(Uses& uses, const DevicePicture& picture, BlockDevices& devices,
                Evidence& evidence) {
    for (const std::string& name : picture.own) {
        for (const std::string& holder : devices.holders(name)) {
            std::string reason = "held by " + describeHolder(devices, holder);
            std::string risk = "what stands on it loses its disk";
            if (isMultipath(devices.mapUuid(holder))) {
                const auto living = livingPaths(devices, evidence, holder, picture.disk);
                reason += living.empty() ? ", no other path of which answers"
                                         : ", whose other living paths are " + joined(living);
                risk = living.empty() ? "the map loses its last path"
                                      : "the map has one path less to fall back on";
            }
            uses.push_back({reason, risk});
        }
    }
}

std::string onlyMultipathHolder(const DevicePicture& picture, BlockDevices& devices) {
    std::vector<std::string> holders;
    for (const std::string& name : picture.own) {
        for (const std::string& holder : devices.holders(name)) {
            if (name != picture.disk) {
                return {};
            }
            holders.push_back(holder);
        }
    }
    return holders.size() == 1 && isMultipath(devices.mapUuid(holders.front())) ? holders.front()
                                                                                : std::string();
}

// emcpowera is one; emcpower is the control node and emcpowera1 a partition.
std::vector<std::string> powerPathDevices(Evidence& evidence) {
    std::vector<std::string> devices;
    for (const std::string& name : evidence.list(kDev).value_or(Evidence::Names())) {
        if (beginsWith(name, kPseudo) && name != kPseudo &&
            std::isdigit(static_cast<unsigned char>(name.back())) == 0) {
            devices.push_back(name);
        }
    }
    return devices;
}

Membership membership(Evidence& evidence, BlockDevices& devices, const DevicePicture& disk,
                      const std::string& pseudoDevice) {
    const auto names =
        logicalUnitNames(askPage(evidence, kDev + pseudoDevice, kIdentificationPage).content);
    bool isUnspoken = false;
    const auto own = namesOf(evidence, devices, disk, isUnspoken);
    if (own.empty() && isUnspoken) {
        return Membership::kNo;
    }
    if (names.empty() || own.empty()) {
        return Membership::kUnclear;
    }
    const bool isShared =
        std::find_first_of(names.begin(), names.end(), own.begin(), own.end()) != names.end();
    return isShared ? Membership::kYes : Membership::kNo;
}

}  // namespace recording::guard
