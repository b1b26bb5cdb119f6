#include "cli/prune/look.h"

#include <algorithm>
#include <tuple>

#include "recording/guard/judgement.h"
#include "recording/guard/kernel/block_devices.h"
#include "recording/guard/kernel/scsi_devices.h"
#include "recording/guard/rules/script_check.h"
#include "recording/guard/rules/stacks.h"

namespace cli::prune {
namespace {

namespace guard = recording::guard;
using guard::Answer;
using guard::BlockDevices;
using guard::Evidence;
using guard::ScsiAddress;
using guard::ScsiDevices;

constexpr const char* kScsiDevices = "/sys/class/scsi_device/";

std::string diskAt(ScsiDevices& devices, const ScsiAddress& address) {
    const auto names = devices.disksAt(address);
    return names.empty() ? std::string() : names.front();
}

// What tells no type is a disk by its name.
bool isDisk(ScsiDevices& devices, const ScsiAddress& address) {
    const std::string type = devices.attributeAt(address, "type");
    return type.empty() ? diskAt(devices, address).compare(0, 2, "sd") == 0
                        : guard::isDiskType(type);
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

// What a disk is asked by; empty for one without a node.
std::string nodeAt(ScsiDevices& scsi, BlockDevices& blocks, const ScsiAddress& address) {
    const std::string name = diskAt(scsi, address);
    return name.empty() ? scsi.genericNodeAt(address) : blocks.node(name).value_or("");
}

void addNode(ScsiDevices& scsi, BlockDevices& blocks, const ScsiAddress& address,
             std::vector<std::string>& nodes) {
    const std::string node = mayBeAsked(scsi.attributeAt(address, "state"))
                                 ? nodeAt(scsi, blocks, address)
                                 : std::string();
    if (!node.empty()) {
        nodes.push_back(node);
    }
}

void addNodesOf(const std::string& map, ScsiDevices& scsi, BlockDevices& blocks,
                std::vector<std::string>& nodes) {
    for (const std::string& path : blocks.slaves(map)) {
        if (const auto address = blocks.addressOf(path)) {
            addNode(scsi, blocks, *address, nodes);
        }
    }
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

// A stat that fails may have failed for any reason; a listing tells which. What a recorded host
// does not speak of may be there.
bool isThere(const View& view, const std::string& folder) {
    return view.isRecorded || view.host.isDirectory(folder) ||
           !guard::isMissing(view.host.listDirectory(folder).openError);
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

std::vector<std::string> nodesToAsk(const View& view) {
    Evidence evidence(view.host, view.isRecorded);
    ScsiDevices scsi(evidence);
    BlockDevices blocks(evidence);
    std::vector<std::string> nodes;
    for (const ScsiAddress& address : findDisks(view).list) {
        addNode(scsi, blocks, address, nodes);
    }
    for (const std::string& name : guard::powerPathDevices(evidence)) {
        nodes.push_back("/dev/" + name);
    }
    return nodes;
}

std::vector<std::string> nodesAround(const View& view, const ScsiAddress& address) {
    Evidence evidence(view.host, view.isRecorded);
    ScsiDevices scsi(evidence);
    BlockDevices blocks(evidence);
    std::vector<std::string> nodes;
    addNode(scsi, blocks, address, nodes);
    const std::string name = diskAt(scsi, address);
    for (const std::string& holder : name.empty() ? BlockDevices::Names() : blocks.holders(name)) {
        addNodesOf(holder, scsi, blocks, nodes);
    }
    for (const std::string& pseudoDevice : guard::powerPathDevices(evidence)) {
        nodes.push_back("/dev/" + pseudoDevice);
    }
    return nodes;
}

std::vector<std::string> nodesOfMap(const View& view, const std::string& mapName) {
    Evidence evidence(view.host, view.isRecorded);
    ScsiDevices scsi(evidence);
    BlockDevices blocks(evidence);
    std::vector<std::string> nodes;
    const std::string name = kernelNameOfMap(blocks, mapName);
    if (!name.empty()) {
        addNodesOf(name, scsi, blocks, nodes);
    }
    return nodes;
}

void askDiskBehind(const std::string& node) {
    Evidence evidence(host::current(), false);
    const Answer answer = guard::askDisk(evidence, node);
    if (answer.kind == Answer::Kind::kConnected) {
        identityBehind(evidence, node, answer);
    }
}

void askDiskForScript(const std::string& node) {
    askDiskBehind(node);
    Evidence evidence(host::current(), false);
    guard::failsTestUnitReady(evidence, node);
}

DiskSighting lookAtDisk(const View& view, const ScsiAddress& address) {
    Evidence evidence(view.host, view.isRecorded);
    ScsiDevices scsi(evidence);
    BlockDevices blocks(evidence);
    const std::string name = diskAt(scsi, address);
    DiskSighting disk;
    disk.address = address;
    disk.isThere = isThere(view, kScsiDevices + addressText(address) + "/device/");
    disk.shown = name.empty() ? guard::addressText(address) : "/dev/" + name;
    disk.state = scsi.attributeAt(address, "state");
    const std::string node = nodeAt(scsi, blocks, address);
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
