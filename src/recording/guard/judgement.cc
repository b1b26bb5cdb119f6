#include "recording/guard/judgement.h"

#include "recording/guard/kernel/scsi_devices.h"
#include "recording/guard/kernel/sessions.h"
#include "recording/guard/rules/script_check.h"
#include "recording/guard/rules/stacks.h"
#include "recording/guard/rules/trusted_address.h"

namespace recording::guard {
Judgement::Judgement(host::Host& aside, bool isRecorded, Purpose purpose)
    : m_aside(aside),
      m_isRecorded(isRecorded),
      m_purpose(purpose),
      m_devices(aside, isRecorded, purpose) {}

std::vector<Refusal> Judgement::refusals() const {
    std::vector<Refusal> all = m_refusals;
    all.insert(all.end(), m_devices.refusals().begin(), m_devices.refusals().end());
    return all;
}

void Judgement::refuseFailuresOf(const std::string& what, const Evidence& evidence) {
    addRefusals(m_refusals, what, {}, evidence.failures());
}

void Judgement::judge(const Targets& targets) {
    for (const Target& target : targets) {
        std::visit([this](const auto& one) { judgeTarget(one); }, target);
    }
}

void Judgement::judgeTarget(const Untold& target) {
    m_refusals.push_back({"what it takes", "not known: " + target.what, kUnknownRisk});
}

void Judgement::judgeTarget(const DiskAt& target) {
    Evidence evidence(m_aside, m_isRecorded);
    BlockDevices devices(evidence);
    if (m_purpose == Purpose::kOnlyDead) {
        requireTrusted(target.address);
    }
    auto names = ScsiDevices(evidence).disksAt(target.address);
    if (names.empty()) {
        names.emplace_back();
    }
    for (const std::string& name : names) {
        m_devices.judge(evidence, devices, pictureOfDisk(devices, name, target.address),
                        DeviceJudge::Hold::kKeep);
    }
}

void Judgement::judgeTarget(const DiskNamed& target) {
    Evidence evidence(m_aside, m_isRecorded);
    BlockDevices devices(evidence);
    const auto address = devices.addressOf(target.name);
    m_devices.judge(evidence, devices, pictureOfDisk(devices, target.name, address),
                    DeviceJudge::Hold::kKeep);
}

// A map that is open could not be removed: it is tried and let go.
void Judgement::judgeTarget(const MapNamed& target) {
    Evidence evidence(m_aside, m_isRecorded);
    BlockDevices devices(evidence);
    m_devices.judge(evidence, devices, pictureOfMap(devices, target.name),
                    DeviceJudge::Hold::kLetGo);
}

// The kernel keeps every map that anybody has open, however it is used. Who that is is looked up
// for the caller alone.
void Judgement::judgeTarget(const UnusedMaps&) {
    Evidence evidence(m_aside, m_isRecorded);
    BlockDevices devices(evidence);
    for (const std::string& map : devices.maps()) {
        if (isMultipath(devices.mapUuid(map))) {
            const DevicePicture picture = pictureOfMap(devices, devices.mapName(map));
            for (const Use& use :
                 m_devices.usesOf(evidence, devices, picture, DeviceJudge::Holders::kCount)) {
                m_kept.push_back({picture.shown, use.reason, use.risk});
            }
        }
    }
    m_untoldKept = evidence.failures();
    m_untoldKept.insert(m_untoldKept.end(), m_devices.failures().begin(),
                        m_devices.failures().end());
}

void Judgement::judgeTarget(const ScriptRun& target) {
    Evidence evidence(m_aside, m_isRecorded);
    BlockDevices devices(evidence);
    if (target.options.flushesMaps) {
        judgeMapsWithoutPath();
    }
    if (!target.options.removes) {
        return;
    }
    std::vector<ScsiAddress> taken;
    std::string answering;
    for (const ScsiAddress& address : ScsiDevices(evidence).addresses()) {
        if (target.options.looksAtHost(address.host)) {
            const ScriptView view = scriptView(evidence, devices, address, target.options);
            answering = answering.empty() ? view.genericNode : answering;
            if (view.isTaken) {
                taken.push_back(address);
            }
        }
    }
    const std::string untrusted =
        answering.empty() ? "" : whyUntrusted(evidence, target.script, answering);
    if (!untrusted.empty()) {
        m_refusals.push_back({target.script, untrusted, "every disk is removed, whoever uses it"});
        return;
    }
    for (const ScsiAddress& address : taken) {
        judgeTarget(DiskAt{address});
    }
    refuseFailuresOf(target.script, evidence);
}

// The script has a map without a living path fail its I/O before it flushes it, whether the flush
// then comes through or not.
void Judgement::judgeMapsWithoutPath() {
    Evidence evidence(m_aside, m_isRecorded);
    BlockDevices devices(evidence);
    for (const std::string& map : devices.maps()) {
        if (isMultipath(devices.mapUuid(map)) && livingPaths(devices, evidence, map, "").empty()) {
            judgeTarget(MapNamed{map});
        }
    }
    refuseFailuresOf("the maps without a living path", evidence);
}

void Judgement::judgeTarget(const Sessions& target) {
    Evidence evidence(m_aside, m_isRecorded);
    for (const ScsiAddress& address : addressesOfSessions(evidence, target.target)) {
        judgeTarget(DiskAt{address});
    }
    refuseFailuresOf("the session", evidence);
}

void Judgement::requireTrusted(const ScsiAddress& address) {
    Evidence evidence(m_aside, m_isRecorded);
    const std::string why = whyNotTrusted(evidence, address);
    if (!why.empty()) {
        m_refusals.push_back({addressText(address), why, "another disk may go in its place"});
    }
    refuseFailuresOf(addressText(address), evidence);
}

}  // namespace recording::guard
