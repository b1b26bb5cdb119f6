#include "cli/prune/look.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "recording/guard/judgement.h"
#include "recording/guard/kernel/block_devices.h"
#include "recording/guard/kernel/scsi_devices.h"

namespace cli::prune {
namespace {

namespace guard = recording::guard;
using guard::Answer;
using guard::BlockDevices;
using guard::Evidence;
using guard::ScsiAddress;
using guard::ScsiDevices;

// The peripheral device types that the kernel's disk driver serves: direct access, optical memory,
// simplified direct access, host-managed zoned.
constexpr std::array<const char*, 4> kDiskTypes = {"0", "7", "14", "20"};

constexpr const char* kScsiDevices = "/sys/class/scsi_device/";

std::string diskAt(ScsiDevices& devices, const ScsiAddress& address) {
    const auto names = devices.disksAt(address);
    return names.empty() ? std::string() : names.front();
}

// What tells no type is a disk by its name.
bool isDisk(ScsiDevices& devices, const ScsiAddress& address) {
    const std::string type = devices.attributeAt(address, "type");
    return type.empty() ? diskAt(devices, address).compare(0, 2, "sd") == 0
                        : std::find(kDiskTypes.begin(), kDiskTypes.end(), type) != kDiskTypes.end();
}

// In any other state a command waits, possibly for good.
bool mayBeAsked(const std::string& state) {
    return state.empty() || state == "running" || state == "offline" ||
           state == "transport-offline";
}

Answer unclear(const std::string& why) {
    Answer answer;
    answer.why = why;
    return answer;
}

Answer ask(Evidence& evidence, const std::string& node, const std::string& state) {
    if (!mayBeAsked(state)) {
        return unclear("it was not asked, its state is " + state);
    }
    if (!node.empty()) {
        return guard::askDisk(evidence, node);
    }
    Answer answer = unclear("it has no node to be asked by");
    if (evidence.isRecorded()) {
        answer.kind = Answer::Kind::kGone;
        answer.isUnspoken = true;
    }
    return answer;
}

// As the kernel writes them into its own identity: what cannot be printed is a blank, and so is
// all behind a NUL.
std::string asKernelHas(std::string field) {
    bool hasEnded = false;
    for (char& c : field) {
        hasEnded = hasEnded || c == '\0';
        c = hasEnded || c < ' ' || c > '~' ? ' ' : c;
    }
    return field.erase(field.find_last_not_of(' ') + 1);
}

Identity identityAt(ScsiDevices& devices, const ScsiAddress& address) {
    return {devices.attributeAt(address, "vendor"), devices.attributeAt(address, "model"),
            devices.attributeAt(address, "type"),
            devices.pageAt(address, guard::kIdentificationPage),
            devices.pageAt(address, guard::kSerialNumberPage)};
}

Identity identityBehind(Evidence& evidence, const std::string& node, const Answer& answer) {
    return {asKernelHas(answer.vendor), asKernelHas(answer.product),
            std::to_string(answer.deviceType),
            guard::askPage(evidence, node, guard::kIdentificationPage).content,
            guard::askPage(evidence, node, guard::kSerialNumberPage).content};
}

std::string kernelNameOfMap(BlockDevices& devices, const std::string& mapName) {
    for (const std::string& name : devices.maps()) {
        if (guard::isMultipath(devices.mapUuid(name)) && devices.mapName(name) == mapName) {
            return name;
        }
    }
    return {};
}

// On a recorded host a disk that the file does not speak of is none that was removed.
PathSighting lookAtPath(const View& view, BlockDevices& devices, const std::string& name) {
    PathSighting path;
    path.name = name;
    path.isRemoved = !devices.exists(name) && !view.isRecorded;
    const auto address = path.isRemoved ? std::nullopt : devices.addressOf(name);
    if (address) {
        path.finding = judgeDisk(lookAtDisk(view, *address)).finding;
    }
    return path;
}

std::vector<std::string> usersOf(const View& view, const guard::Target& target) {
    guard::Judgement judgement(view.host, view.isRecorded, guard::Purpose::kNamed);
    judgement.judge({target});
    std::vector<std::string> users;
    for (const recording::Refusal& refusal : judgement.refusals()) {
        users.push_back(refusal.reason);
    }
    return users;
}

}  // namespace

Found<ScsiAddress> findDisks(const View& view) {
    Evidence evidence(view.host, view.isRecorded);
    ScsiDevices devices(evidence);
    Found<ScsiAddress> disks;
    for (const ScsiAddress& address : devices.addresses()) {
        if (isDisk(devices, address)) {
            disks.list.push_back(address);
        }
    }
    std::sort(disks.list.begin(), disks.list.end(), [](const auto& a, const auto& b) {
        return std::tie(a.host, a.channel, a.target, a.lun) <
               std::tie(b.host, b.channel, b.target, b.lun);
    });
    disks.failures = evidence.failures();
    return disks;
}

DiskSighting lookAtDisk(const View& view, const ScsiAddress& address) {
    Evidence evidence(view.host, view.isRecorded);
    ScsiDevices scsi(evidence);
    BlockDevices blocks(evidence);
    const std::string name = diskAt(scsi, address);
    DiskSighting disk;
    disk.address = address;
    disk.isThere =
        view.isRecorded || view.host.isDirectory(kScsiDevices + addressText(address) + "/device/");
    disk.shown = name.empty() ? guard::addressText(address) : "/dev/" + name;
    disk.state = scsi.attributeAt(address, "state");
    const std::string node =
        name.empty() ? scsi.genericNodeAt(address) : blocks.node(name).value_or("");
    disk.answer = ask(evidence, node, disk.state);
    if (disk.answer.kind == Answer::Kind::kConnected) {
        disk.kernel = identityAt(scsi, address);
        disk.live = identityBehind(evidence, node, disk.answer);
    }
    disk.failures = evidence.failures();
    return disk;
}

Identity kernelIdentity(const View& view, const ScsiAddress& address) {
    Evidence evidence(view.host, view.isRecorded);
    ScsiDevices devices(evidence);
    return identityAt(devices, address);
}

Identity liveIdentity(const View& view, const std::string& node, const Answer& answer) {
    Evidence evidence(view.host, view.isRecorded);
    return identityBehind(evidence, node, answer);
}

Found<std::string> findMaps(const View& view) {
    Evidence evidence(view.host, view.isRecorded);
    BlockDevices devices(evidence);
    Found<std::string> maps;
    for (const std::string& name : devices.maps()) {
        if (guard::isMultipath(devices.mapUuid(name)) && !devices.mapName(name).empty()) {
            maps.list.push_back(devices.mapName(name));
        }
    }
    std::sort(maps.list.begin(), maps.list.end());
    maps.failures = evidence.failures();
    return maps;
}

MapSighting lookAtMap(const View& view, const std::string& mapName) {
    Evidence evidence(view.host, view.isRecorded);
    BlockDevices devices(evidence);
    MapSighting map;
    map.mapName = mapName;
    const std::string name = kernelNameOfMap(devices, mapName);
    const auto paths = name.empty() ? std::nullopt : devices.toldSlaves(name);
    map.isThere = paths.has_value();
    for (const std::string& path : paths.value_or(BlockDevices::Names())) {
        map.paths.push_back(lookAtPath(view, devices, path));
    }
    map.failures = evidence.failures();
    return map;
}

std::vector<std::string> usersOfDisk(const View& view, const ScsiAddress& address) {
    return usersOf(view, guard::DiskAt{address});
}

std::vector<std::string> usersOfMap(const View& view, const std::string& mapName) {
    return usersOf(view, guard::MapNamed{mapName});
}

}  // namespace cli::prune
