#include "cli/doctor/survey.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <set>

#include "cli/common/asking.h"
#include "cli/common/record_list.h"
#include "cli/doctor/identity_findings.h"
#include "cli/hosts/enumeration_watch.h"
#include "cli/picture/drawing.h"
#include "cli/prune/look.h"
#include "host/open_node.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/dmp/dmp_discovery_manager.h"
#include "scsitool/host/command_by_sg_io.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli::doctor {
namespace {

namespace guard = recording::guard;
using guard::Evidence;
using picture::ScsiAddress;

// In these states a command waits, possibly for good.
bool isHeldBack(const std::string& state) {
    return state == "blocked" || state == "created-blocked" || state == "quiesce";
}

// INQUIRY by the other interface.
bool answersSgIo(host::Host& host, const std::string& node) {
    constexpr std::uint8_t kLength = 36;
    constexpr std::size_t kSenseLength = 32;
    constexpr unsigned kTimeout = 10000;  // milliseconds
    const host::OpenNode opened(host, node, host::OpenMode::kReadOnlyNonBlocking);
    if (!opened.isOpen()) {
        return false;
    }
    host::SgIoRequest request;
    request.cdb = {0x12, 0, 0, 0, kLength, 0};
    request.data.resize(kLength);
    request.sense.resize(kSenseLength);
    request.timeout = kTimeout;
    const int result = host.sgIo(opened.descriptor(), request);
    return result == 0 && request.status == 0 && request.hostStatus == 0;
}

/// Asks the devices that an enumeration asks, without its lock.
class Round {
  public:
    Round(const HostView& view, unsigned deadline)
        : m_view(view),
          m_deadline(deadline),
          m_watch(view.host),
          m_evidence(view.host, view.isRecorded()) {}

    Survey take() {
        picture::KernelView kernel(m_view.host, m_view.isRecorded());
        for (const picture::KernelDisk& disk : kernel.disks()) {
            m_states["/dev/" + disk.name] = disk.state.state;
        }
        askAll();
        Survey found;
        found.picture = picture::pictureOf(
            picture::drawDevices({m_devices, m_records, m_watch}, {m_view, m_deadline, "", true}));
        for (const picture::Device& device : found.picture.devices) {
            if (device.kind == picture::Kind::kDisk) {
                found.disks.push_back(lookAt(device));
            }
        }
        found.identities = std::move(m_identities);
        found.untold = m_evidence.failures();
        return found;
    }

  private:
    void askAll() {
        EnumerationWatch lists(m_watch, !m_view.isRecorded());
        const host::Scope scope(lists);
        CDmpDiscoveryManager manager;
        manager.enumerateDmpDevices(m_pseudoDevices);
        for (const auto& [node, info] : m_pseudoDevices) {
            ask(node, info);
        }
        CLinuxDeviceDiscovery discovery;
        for (const std::string& node : discovery.enumerateNativeDevicePaths()) {
            SDeviceInfo info;
            info.deviceName = node;
            ask(node, info);
        }
        takeUnread(lists.gaps());
    }

    // What is in a list that could not be read was not asked. Of disks themselves there are
    // findings.
    void takeUnread(const std::vector<EnumerationGap>& gaps) {
        for (const EnumerationGap& gap : gaps) {
            if (m_watch.seen(gap.path).openResult == std::nullopt) {
                m_evidence.fail(gap.path + gap.reason.substr(gap.reason.find(": ")));
            }
        }
    }

    void ask(const std::string& node, SDeviceInfo info) {
        if (isHeldBack(m_states[node])) {
            return;
        }
        for (auto& record : owned(m_discovery.validateDevice(node))) {
            const udid::Explanation explanation = udid::explain(m_factory, *record);
            info.uid = explanation.udid;
            m_devices[node] = info;
            // What does not answer is named by nobody: that is found of it already.
            if (info.dmpClaimLevel == 0 &&
                m_watch.seen(node).answer.kind == guard::Answer::Kind::kConnected) {
                addIdentityFindings(explanation, *record, m_identities);
            }
            m_records[node] = record.get();
            m_owned.push_back(std::move(record));
        }
    }

    DiskSeen lookAt(const picture::Device& device) {
        DiskSeen disk;
        disk.device = &device;
        disk.seen = m_watch.seen(device.name);
        disk.state = m_states[device.name];
        const std::string folder = "/sys/class/block/" + device.kernelName + "/";
        disk.isWriteProtected = m_evidence.file(folder + "ro").value_or("") == "1\n";
        disk.answersSgIoOnly = host::isUnknownRequest(disk.seen.inquiryResult.value_or(0)) &&
                               answersSgIo(m_view.host, device.name);
        takeWord(disk);
        if (device.address) {
            disk.genericNode = guard::ScsiDevices(m_evidence).genericNodeAt(*device.address);
            if (disk.isConnected() && !device.kernelName.empty()) {
                disk.verdict = judge(disk);
            }
        }
        return disk;
    }

    // By the same comparison as prune.
    prune::Verdict judge(const DiskSeen& disk) const {
        const prune::View kernel = {m_view.host, m_view.isRecorded()};
        prune::DiskSighting sighting;
        sighting.address = *disk.device->address;
        sighting.answer = disk.seen.answer;
        sighting.kernel = prune::kernelIdentity(kernel, sighting.address);
        sighting.live = prune::liveIdentity(kernel, disk.node(), sighting.answer);
        return prune::judgeDisk(sighting);
    }

    void takeWord(DiskSeen& disk) const {
        const auto record = m_records.find(disk.node());
        if (record != m_records.end() && record->second->m_port >= 0) {
            const CScsiDeviceData& at = *record->second;
            disk.word = ScsiAddress{static_cast<std::uint32_t>(at.m_port), at.m_bus,
                                    static_cast<std::uint32_t>(at.m_target),
                                    static_cast<std::uint64_t>(at.m_lun)};
        }
    }

    const HostView& m_view;
    const unsigned m_deadline;
    AnswerWatch m_watch;
    Evidence m_evidence;
    CUDIDFactory m_factory;
    CLinuxDeviceDiscovery m_discovery;
    std::map<std::string, std::string> m_states;
    DeviceMap m_pseudoDevices;
    DeviceMap m_devices;
    picture::Records m_records;
    RecordList m_owned;
    std::vector<Finding> m_identities;
};

}  // namespace

std::vector<std::string> Survey::maps() const {
    std::vector<std::string> nodes;
    for (const picture::Device& device : picture.devices) {
        if (device.kind == picture::Kind::kMap) {
            nodes.push_back(device.name);
        }
    }
    return nodes;
}

std::function<void(const std::string& node)> interview() {
    return [volume = interviews::volume()](const std::string& node) {
        AnswerWatch watch(host::current());
        const host::Scope scope(watch);
        volume(node);
        const SeenAnswer& seen = watch.seen(node);
        if (host::isUnknownRequest(seen.inquiryResult.value_or(0))) {
            answersSgIo(watch, node);
        } else if (seen.answer.kind == guard::Answer::Kind::kConnected) {
            prune::liveIdentity({watch, false}, node, seen.answer);
        }
    };
}

Survey survey(const HostView& view, unsigned deadline) {
    return Round(view, deadline).take();
}

}  // namespace cli::doctor
