#include "cli/picture/drawing.h"

#include <exception>
#include <set>

#include "cli/hosts/page_answer.h"
#include "cli/picture/last_known.h"
#include "cli/picture/power_path.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/scsi/pages.h"

namespace cli::picture {
namespace {

namespace guard = recording::guard;

constexpr const char* kDev = "/dev/";

Kind kindByName(const std::string& name, int claimLevel) {
    if (claimLevel == 0) {
        return Kind::kDisk;
    }
    const bool isMapper = name.compare(0, 12, "/dev/mapper/") == 0;
    return name == "/dev/mapper/control" ? Kind::kOther
           : isMapper                    ? Kind::kMap
                                         : Kind::kPseudoDevice;
}

ScsiAddress addressOf(const CScsiDeviceData& record) {
    return {static_cast<std::uint32_t>(record.m_port), record.m_bus,
            static_cast<std::uint32_t>(record.m_target), static_cast<std::uint64_t>(record.m_lun)};
}

/// Draws one host.
class Drawing {
  public:
    Drawing(const Sighting& sighting, const Easel& easel)
        : m_sighting(sighting), m_easel(easel), m_kernel(easel.view.host, easel.view.isRecorded()) {
        easel.view.host.hostName(m_hostName);
    }

    std::vector<Device> draw() {
        for (const auto& [name, info] : m_sighting.devices) {
            add(name, kindByName(name, info.dmpClaimLevel)).isListed = true;
        }
        const std::vector<KernelDisk> disks = m_kernel.disks();
        for (const KernelDisk& disk : disks) {
            if (isOfInterest(kDev + disk.name)) {
                take(disk);
            }
        }
        takeUnattached(disks);
        for (const KernelMap& map : m_easel.withMaps ? m_kernel.maps() : std::vector<KernelMap>()) {
            const bool isKnown = m_devices.count(map.node) != 0;
            if (isKnown || (map.kind != Kind::kOther && isOfInterest(map.node))) {
                take(map);
            }
        }
        for (auto& [name, device] : m_devices) {
            complete(device);
        }
        joinPowerPath();
        std::vector<Device> devices;
        devices.reserve(m_devices.size());
        for (auto& [name, device] : m_devices) {
            devices.push_back(std::move(device));
        }
        return devices;
    }

  private:
    bool isOfInterest(const std::string& name) const {
        return m_easel.only.empty() || m_easel.only == name;
    }

    Device& add(const std::string& name, Kind kind) {
        const auto [place, isNew] = m_devices.try_emplace(name);
        if (isNew) {
            place->second.name = name;
            place->second.kind = kind;
        }
        return place->second;
    }

    void take(const KernelDisk& disk) {
        Device& device = add(kDev + disk.name, Kind::kDisk);
        device.kernelName = disk.name;
        device.address = disk.address;
        device.sizeKb = disk.sizeKb;
        device.kernelState = disk.state;
        if (!disk.sizeKb) {
            m_listedKb[device.name] = disk.listedKb;
        }
        if (disk.address) {
            device.keptNames = keptNamesAt(*disk.address);
        }
    }

    // It has no node: it goes by its address.
    void takeUnattached(const std::vector<KernelDisk>& attached) {
        for (const KernelDisk& disk : m_kernel.unattachedDisks(attached)) {
            const std::string name = guard::addressText(*disk.address);
            if (isOfInterest(name)) {
                Device& device = add(name, Kind::kDisk);
                device.address = disk.address;
                device.keptNames = keptNamesAt(*disk.address);
                device.kernelState = disk.state;
                m_unattached.insert(name);
            }
        }
    }

    UnitNames keptNamesAt(const ScsiAddress& address) {
        return unitNames(m_kernel.scsiDevices().pageAt(address, guard::kIdentificationPage));
    }

    void take(const KernelMap& map) {
        Device& device = add(map.node, map.kind);
        device.kind = map.kind;
        device.kernelName = map.kernelName;
        device.paths = map.paths;
        device.sizeKb = map.sizeKb;
    }

    // What a recording does not hold of a disk, the disk does not have.
    SeenAnswer seenOf(const std::string& name) const {
        SeenAnswer seen = m_sighting.answers.seen(name);
        if (m_easel.view.isRecorded() && mayBeUnrecordedList(seen.missingPage)) {
            seen.missingPage.clear();
        }
        return seen;
    }

    void complete(Device& device) {
        const SeenAnswer seen = seenOf(device.name);
        device.state = stateOf(seen, device.kernelState, m_easel.deadline);
        if (!isAnswering(device.state.condition)) {
            device.state = stateOf(seen, device.kernelState,
                                   m_easel.view.secondsOf(device.name, m_easel.deadline));
        }
        if (device.kind == Kind::kOther && device.state.condition != Condition::kOk) {
            device.state = {Condition::kNoScsi, "no SCSI disk"};
        }
        if (device.state.condition == Condition::kNotAsked && m_unattached.count(device.name)) {
            device.state.text = "no block device";
        }
        takeLibrary(device);
        measure(device, seen);
        if (!isAnswering(device.state.condition) && identityOf(device).empty() && device.address) {
            const LastKnown known = lastKnown(
                m_kernel.scsiDevices(), *device.address,
                device.name.front() == '/' ? device.name : kDev + device.name, m_hostName);
            device.lastKnownUdid = known.udid;
            picture::complete(device.fields, known.fields);
        }
    }

    // One that answers says by its own names whose volume it is. For one that does not, the tool is
    // asked: the kernel does not know.
    void joinPowerPath() {
        std::optional<PowerPathMembers> members;
        for (auto& [name, device] : m_devices) {
            const bool isUnknown = device.kind == Kind::kPseudoDevice && device.paths.empty() &&
                                   !isAnswering(device.state.condition);
            if (isUnknown && !members) {
                members = askPowermt(m_easel.view.host);
            }
            if (isUnknown) {
                device.paths = (*members)[device.kernelName];
            }
        }
    }

    void takeLibrary(Device& device) {
        const auto entry = m_sighting.devices.find(device.name);
        if (entry != m_sighting.devices.end()) {
            device.claimLevel = entry->second.dmpClaimLevel;
            device.udid = entry->second.uid;
            device.isPathUdid = isPathUdid(device.udid, device.name, m_hostName);
        }
        const auto found = m_sighting.records.find(device.name);
        if (found == m_sighting.records.end()) {
            return;
        }
        const CScsiDeviceData& record = *found->second;
        device.vendor = record.m_vendorId;
        device.product = record.m_productId;
        device.revision = record.m_firmwareLevel;
        device.names = namesOf(record);
        if (m_easel.withFields) {
            device.fields = fieldsOf(record, m_sighting.identities != nullptr
                                                 ? m_sighting.identities->of(device.name)
                                                 : nullptr);
        }
        if (!device.sizeKb && record.m_sizeKb != 0) {
            device.sizeKb = record.m_sizeKb;
        }
        if (device.kind == Kind::kDisk && !device.address && record.m_port >= 0) {
            device.address = addressOf(record);
        }
    }

    // A device that does not answer is not opened once more.
    void measure(Device& device, const SeenAnswer& seen) {
        const bool isOpen = seen.openResult == 0;
        if (!device.sizeKb && isOpen) {
            device.sizeKb = askSize(device.name);
        }
        if (!device.sizeKb) {
            device.sizeKb = m_listedKb[device.name];
        }
    }

    // A size that cannot be had is no reason to tell nothing.
    std::optional<std::uint64_t> askSize(const std::string& name) {
        unsigned long size = 0;
        try {
            if (m_discovery.getDiskSize(name, size) == 0) {
                return size;
            }
        } catch (const std::exception&) {
            return std::nullopt;
        }
        return std::nullopt;
    }

    const Sighting& m_sighting;
    const Easel& m_easel;
    KernelView m_kernel;
    CLinuxDeviceDiscovery m_discovery;
    std::string m_hostName;
    std::map<std::string, Device> m_devices;
    std::set<std::string> m_unattached;
    std::map<std::string, std::optional<std::uint64_t>> m_listedKb;
};

}  // namespace

UnitNames namesOf(const CScsiDeviceData& record) {
    const auto page = record.m_pages.find(scsi::kDeviceIdentification);
    if (page == record.m_pages.end() || page->second.length <= scsi::kPageHeader) {
        return {};
    }
    const unsigned char* const bytes = page->second.bytes();
    return unitNames({bytes + scsi::kPageHeader, bytes + page->second.length});
}

std::vector<Device> drawDevices(const Sighting& sighting, const Easel& easel) {
    const host::Scope scope(easel.view.host);
    return Drawing(sighting, easel).draw();
}

}  // namespace cli::picture
