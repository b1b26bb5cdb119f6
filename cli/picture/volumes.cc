#include <algorithm>
#include <unordered_map>

#include "cli/picture/picture.h"

namespace cli::picture {
namespace {

using Places = std::vector<std::size_t>;

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

bool isStorage(const Device& device) {
    return device.kind != Kind::kOther || device.sizeKb || device.state.condition == Condition::kOk;
}

// What tells that two devices of one UDID are different volumes: their names, or where neither has
// one their sizes.
bool areApart(const Device& left, const Device& right) {
    const UnitNames& some = namesOf(left);
    const UnitNames& others = namesOf(right);
    if (!some.empty() || !others.empty()) {
        return agreement(some, others) == Agreement::kDifferent;
    }
    const bool areMeasured = left.kind == Kind::kDisk && right.kind == Kind::kDisk &&
                             left.sizeKb.value_or(0) != 0 && right.sizeKb.value_or(0) != 0;
    return areMeasured && left.sizeKb != right.sizeKb;
}

/// Groups of devices, by their places.
class Grouping {
  public:
    explicit Grouping(const std::vector<Device>& devices)
        : m_devices(devices), m_groupOf(devices.size(), kNone) {
        for (std::size_t place = 0; place < devices.size(); ++place) {
            m_places[devices[place].kernelName] = place;
        }
        // What names itself goes first, and disks go before maps: a group is what began it, and
        // what is silent cannot tell two volumes apart.
        for (const bool named : {true, false}) {
            for (const bool disks : {true, false}) {
                addByIdentity(named, disks);
            }
        }
        for (std::size_t place = 0; place < devices.size(); ++place) {
            if (!devices[place].paths.empty()) {
                addWithPaths(place);
            }
        }
        for (std::size_t place = 0; place < devices.size(); ++place) {
            if (m_groupOf[place] == kNone && isStorage(devices[place])) {
                put(place, newGroup());
            }
        }
    }

    std::vector<Places> groups() const {
        std::vector<Places> groups(m_count);
        for (std::size_t place = 0; place < m_devices.size(); ++place) {
            if (m_groupOf[place] != kNone) {
                groups[m_groupOf[place]].push_back(place);
            }
        }
        std::sort(groups.begin(), groups.end());
        return groups;
    }

  private:
    std::size_t newGroup() {
        m_first.push_back(kNone);
        return m_count++;
    }

    void put(std::size_t place, std::size_t group) {
        m_groupOf[place] = group;
        m_first[group] = m_first[group] == kNone ? place : m_first[group];
    }

    void addByIdentity(bool named, bool disks) {
        for (std::size_t place = 0; place < m_devices.size(); ++place) {
            const Device& device = m_devices[place];
            const bool isTurn =
                namesOf(device).empty() != named && (device.kind == Kind::kDisk) == disks;
            if (isTurn && !identityOf(device).empty()) {
                addTo(m_byIdentity[identityOf(device)], place);
            }
        }
    }

    // What fits several of the groups is left to what the kernel relates it to.
    void addTo(std::vector<std::size_t>& groups, std::size_t place) {
        std::vector<std::size_t> fitting;
        std::copy_if(groups.begin(), groups.end(), std::back_inserter(fitting),
                     [&](std::size_t group) {
                         return !areApart(m_devices[m_first[group]], m_devices[place]);
                     });
        if (fitting.size() > 1) {
            return;
        }
        if (fitting.empty()) {
            groups.push_back(newGroup());
        }
        put(place, fitting.empty() ? groups.back() : fitting.front());
    }

    Places pathsOf(const Device& map) const {
        Places paths;
        for (const std::string& name : map.paths) {
            const auto found = m_places.find(name);
            if (found != m_places.end()) {
                paths.push_back(found->second);
            }
        }
        return paths;
    }

    // The volume of a map that does not tell it: that of a living path before that of a dead one.
    std::size_t groupOfPaths(const Places& paths) const {
        std::size_t group = kNone;
        for (const std::size_t path : paths) {
            if (m_groupOf[path] == kNone) {
                continue;
            }
            if (isAnswering(m_devices[path].state.condition)) {
                return m_groupOf[path];
            }
            group = group == kNone ? m_groupOf[path] : group;
        }
        return group;
    }

    void addWithPaths(std::size_t map) {
        const Places paths = pathsOf(m_devices[map]);
        std::size_t group = m_groupOf[map] != kNone ? m_groupOf[map] : groupOfPaths(paths);
        group = group == kNone ? newGroup() : group;
        put(map, group);
        for (const std::size_t path : paths) {
            if (m_groupOf[path] == kNone) {
                put(path, group);
            }
        }
    }

    const std::vector<Device>& m_devices;
    std::unordered_map<std::string, std::size_t> m_places;  // by kernel name
    std::unordered_map<std::string, std::vector<std::size_t>> m_byIdentity;
    std::vector<std::size_t> m_groupOf;  // by place
    std::vector<std::size_t> m_first;    // by group: the device that it began with
    std::size_t m_count = 0;
};

// A UDID that is told now before one that was, and any identity before a path.
void nameVolume(Volume& volume, const std::vector<Device>& devices) {
    for (const std::size_t place : volume.devices) {
        const Device& device = devices[place];
        if (!device.udid.empty() && !device.isPathUdid) {
            volume.udid = device.udid;
            return;
        }
    }
    for (const std::size_t place : volume.devices) {
        if (!devices[place].lastKnownUdid.empty()) {
            volume.udid = devices[place].lastKnownUdid;
            volume.isLastKnown = true;
            return;
        }
    }
    for (const std::size_t place : volume.devices) {
        if (!devices[place].udid.empty()) {
            volume.udid = devices[place].udid;
            volume.isPathUdid = true;
            return;
        }
    }
}

// As the first says that answers; else as any says.
std::optional<std::uint64_t> sizeOf(const Volume& volume, const std::vector<Device>& devices) {
    std::optional<std::uint64_t> size;
    for (const std::size_t place : volume.devices) {
        const Device& device = devices[place];
        const bool isBetter = isAnswering(device.state.condition);
        if (device.sizeKb && isBetter) {
            return device.sizeKb;
        }
        size = size ? size : device.sizeKb;
    }
    return size;
}

}  // namespace

std::vector<Volume> volumesOf(const std::vector<Device>& devices) {
    std::vector<Volume> volumes;
    for (Places& places : Grouping(devices).groups()) {
        Volume volume;
        volume.devices = std::move(places);
        nameVolume(volume, devices);
        volume.sizeKb = sizeOf(volume, devices);
        volumes.push_back(std::move(volume));
    }
    return volumes;
}

}  // namespace cli::picture
