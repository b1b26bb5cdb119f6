#include "recording/guard/device_judge.h"

#include <cerrno>
#include <cstring>

#include "recording/guard/kernel/scsi_devices.h"
#include "recording/guard/rules/stacks.h"

namespace recording::guard {

void addRefusals(std::vector<Refusal>& refusals, const std::string& device, const Uses& uses,
                 const std::vector<std::string>& failures) {
    for (const Use& use : uses) {
        refusals.push_back({device, use.reason, use.risk});
    }
    if (uses.empty()) {
        for (const std::string& failure : failures) {
            refusals.push_back({device, "not known to be free: " + failure, kUnknownRisk});
        }
    }
}

DeviceJudge::DeviceJudge(host::Host& aside, bool isRecorded, Purpose purpose)
    : m_isRecorded(isRecorded),
      m_purpose(purpose),
      m_common(aside, isRecorded),
      m_processes(m_common),
      m_opens(aside) {}

void DeviceJudge::requireDead(Evidence& evidence, BlockDevices& devices,
                              const DevicePicture& picture) {
    const std::string node = picture.disk.empty()
                                 ? ScsiDevices(evidence).genericNodeAt(*picture.address)
                                 : devices.node(picture.disk).value_or("");
    if (node.empty()) {
        return;
    }
    const Answer answer = askDisk(evidence, node);
    if (answer.kind == Answer::Kind::kConnected) {
        m_refusals.push_back({picture.shown,
                              "not dead: it answers as " + answer.vendor + " " + answer.product,
                              "a living disk goes, and is gone until the next scan finds it"});
    } else if (answer.kind == Answer::Kind::kUnclear) {
        m_refusals.push_back({picture.shown, "not known to be dead: " + node + ": " + answer.why,
                              "a disk that lives may go"});
    }
}

// 0 when it is free and, if wanted, held; EBUSY negated when somebody claims it. A node without a
// device cannot be opened, and it is claims that the kernel looks at first.
int DeviceJudge::claim(Evidence& evidence, BlockDevices& devices, const std::string& name,
                       Hold hold) {
    const auto node = devices.node(name);
    if (!node) {
        return 0;
    }
    const int error = hold == Hold::kKeep ? m_opens.hold(*node) : m_opens.tryNode(*node);
    const bool isUnrecorded = m_isRecorded && isMissing(error);
    if (error < 0 && error != -EBUSY && !isNoDevice(error) && !isUnrecorded) {
        evidence.fail("an exclusive open of " + *node + ": " + std::strerror(-error));
    }
    return error;
}

// The disk is held last: as long as it is, the kernel lets nobody open a partition exclusively.
bool DeviceJudge::isClaimed(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture,
                            Hold hold) {
    bool isBusy = false;
    for (const std::string& name : picture.own) {
        if (name != picture.disk) {
            isBusy = claim(evidence, devices, name, Hold::kLetGo) == -EBUSY || isBusy;
        }
    }
    if (!picture.disk.empty()) {
        isBusy = claim(evidence, devices, picture.disk, hold) == -EBUSY || isBusy;
    }
    return isBusy;
}

Uses DeviceJudge::usesOf(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture,
                         Holders holders) {
    Uses uses;
    addMounts(uses, picture, m_processes);
    addBtrfs(uses, picture, evidence);
    addSwaps(uses, picture, evidence);
    if (holders == Holders::kCount) {
        addHolders(uses, picture, devices, evidence);
    }
    addWriters(uses, picture, m_processes);
    addLoops(uses, picture, devices, evidence);
    addExports(uses, picture, evidence);
    return uses;
}

// PowerPath claims none of its paths: they are known by the volume's name.
void DeviceJudge::addPowerPath(Uses& uses, Evidence& evidence, BlockDevices& devices,
                               const DevicePicture& picture) {
    for (const std::string& name : powerPathDevices(evidence)) {
        if (!picture.address || picture.disk.empty()) {
            return;
        }
        const DevicePicture pseudo = pictureOfDisk(devices, name, std::nullopt);
        Uses above = usesOf(evidence, devices, pseudo, Holders::kCount);
        if (isClaimed(evidence, devices, pseudo, Hold::kLetGo) && above.empty()) {
            above.push_back({"in use", kUnknownRisk});
        }
        const Membership member =
            above.empty() ? Membership::kNo : membership(evidence, devices, picture, name);
        if (member == Membership::kYes) {
            uses.push_back(
                {"a path of the PowerPath device " + name + ", which is " + above.front().reason,
                 above.front().risk});
        } else if (member == Membership::kUnclear) {
            evidence.fail("whether it is a path of " + name + ", which is " + above.front().reason +
                          ", cannot be told");
        }
    }
}

bool DeviceJudge::isUnusedMap(Evidence& evidence, BlockDevices& devices, const std::string& map) {
    const DevicePicture picture = pictureOfMap(devices, map);
    return !isClaimed(evidence, devices, picture, Hold::kLetGo) &&
           usesOf(evidence, devices, picture, Holders::kCount).empty();
}

// A dead path of a map that has a living one, or that nobody misses: the map is its only user, by
// what holds it and by what the kernel's claim can be.
bool DeviceJudge::isDeadPath(Evidence& evidence, BlockDevices& devices,
                             const DevicePicture& picture) {
    const std::string map = onlyMultipathHolder(picture, devices);
    if (m_purpose != Purpose::kDeadPath || map.empty()) {
        return false;
    }
    const auto node = devices.node(picture.disk);
    return node && askDisk(evidence, *node).kind == Answer::Kind::kGone &&
           (!livingPaths(devices, evidence, map, picture.disk).empty() ||
            isUnusedMap(evidence, devices, map));
}

Uses DeviceJudge::usesOfDisk(Evidence& evidence, BlockDevices& devices,
                             const DevicePicture& picture, Hold hold) {
    if (isDeadPath(evidence, devices, picture)) {
        return usesOf(evidence, devices, pictureAlone(devices, picture), Holders::kDoNotCount);
    }
    const bool isBusy = isClaimed(evidence, devices, picture, hold);
    Uses uses = usesOf(evidence, devices, picture, Holders::kCount);
    addPowerPath(uses, evidence, devices, picture);
    if (isBusy && uses.empty()) {
        uses.push_back(
            {"in use: the kernel refuses an exclusive open, and nobody can be named (a "
             "file system that was unmounted lazily, an external journal, ZFS and the "
             "like are not seen by their names)",
             kUnknownRisk});
    }
    return uses;
}

void DeviceJudge::judge(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture,
                        Hold hold) {
    if (!m_isRecorded && !picture.disk.empty() && !devices.exists(picture.disk)) {
        evidence.fail("sysfs has no block device " + picture.disk);
    }
    if (m_purpose == Purpose::kOnlyDead && picture.address) {
        requireDead(evidence, devices, picture);
    }
    const Uses uses = usesOfDisk(evidence, devices, picture, hold);
    std::vector<std::string> failures = evidence.failures();
    failures.insert(failures.end(), m_common.failures().begin(), m_common.failures().end());
    addRefusals(m_refusals, picture.shown, uses, failures);
}

}  // namespace recording::guard
