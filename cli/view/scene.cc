#include "cli/view/scene.h"

#include <algorithm>

#include "cli/view/map_lines.h"
#include "cli/view/natural_order.h"
#include "recording/guard/kernel/kernel_tables.h"
#include "recording/guard/kernel/scsi_devices.h"

namespace cli::view {
namespace {

namespace guard = recording::guard;
using picture::Device;
using picture::Kind;

/// Gathers the facts of one picture's devices.
class Gathering {
  public:
    Gathering(Scene& scene, const HostView& view)
        : m_scene(scene),
          m_evidence(view.host, view.isRecorded()),
          m_scsi(m_evidence),
          m_ports(view.host),
          m_users(scene.details->users()),
          m_paths(scene.picture, view.host, m_users.blocks()) {}

    void gather() {
        if (!m_paths.doubt().empty()) {
            m_scene.doubts.push_back(m_paths.doubt());
        }
        for (const Device& device : m_scene.picture.devices) {
            m_scene.facts.push_back(factsOf(device));
        }
    }

  private:
    void addLife(DeviceFacts& facts, const Device& disk) {
        const PathState* const state = m_paths.of(disk);
        if (state != nullptr) {
            facts.mapperState = state->isActive ? "active" : "failed";
            facts.mapGroup = state->group;
            facts.mapGroupState = state->groupState;
        }
        facts.life = lifeOf(disk, state);
    }

    DeviceFacts factsOf(const Device& device) {
        DeviceFacts facts;
        facts.vendor = guard::trimmed(device.vendor);
        facts.product = guard::trimmed(device.product);
        facts.revision = guard::trimmed(device.revision);
        if (device.kind == Kind::kDisk) {
            addLife(facts, device);
            if (device.address) {
                addScsi(facts, *device.address);
            }
        }
        facts.users = m_users.usersOf(device.kernelName, device.name);
        return facts;
    }

    void addScsi(DeviceFacts& facts, const picture::ScsiAddress& address) {
        facts.genericNode = m_scsi.genericNodeAt(address);
        facts.ports = m_ports.portsOf(address);
        if (facts.vendor.empty() && facts.product.empty()) {
            facts.vendor = m_scsi.attributeAt(address, "vendor");
            facts.product = m_scsi.attributeAt(address, "model");
            facts.revision = m_scsi.attributeAt(address, "rev");
        }
    }

    Scene& m_scene;
    guard::Evidence m_evidence;
    guard::ScsiDevices m_scsi;
    PortBook m_ports;
    UserBook& m_users;
    PathStateBook m_paths;
};

}  // namespace

Scene sceneOf(picture::Picture picture, const HostView& view) {
    Scene scene;
    scene.picture = std::move(picture);
    scene.volumeOf.assign(scene.picture.devices.size(), kNoVolume);
    for (std::size_t i = 0; i < scene.picture.volumes.size(); ++i) {
        for (const std::size_t place : scene.picture.volumes[i].devices) {
            scene.volumeOf[place] = i;
        }
    }
    scene.details = std::make_shared<DetailBook>(view);
    Gathering(scene, view).gather();
    return scene;
}

std::vector<std::string> doubtsOf(const Scene& scene, const std::string& hint) {
    std::vector<std::string> doubts = picture::doubtsOf(scene.picture, hint);
    doubts.insert(doubts.end(), scene.doubts.begin(), scene.doubts.end());
    if (!scene.details->doubt().empty()) {
        doubts.push_back(scene.details->doubt());
    }
    return doubts;
}

std::size_t leaderOf(const Scene& scene, const std::vector<std::size_t>& devices) {
    const auto& all = scene.picture.devices;
    return *std::min_element(devices.begin(), devices.end(), [&](std::size_t a, std::size_t b) {
        const bool isDisk = all[a].kind == Kind::kDisk;
        return isDisk != (all[b].kind == Kind::kDisk) ? !isDisk
                                                      : goesBefore(all[a].name, all[b].name);
    });
}

std::optional<Users> usersOf(const Scene& scene, const std::vector<std::size_t>& devices) {
    Users users;
    std::set<std::string> own;
    bool isTold = true;
    for (const std::size_t place : devices) {
        const auto& found = scene.facts[place].users;
        isTold = isTold && found.has_value();
        if (found) {
            users.insert(found->begin(), found->end());
        }
        own.insert(mapNameOf(scene.picture.devices[place]));
    }
    for (auto user = users.begin(); user != users.end();) {
        const bool isOwn = user->kind == User::Kind::kMap && own.count(user->name) != 0;
        user = isOwn && devices.size() > 1 ? users.erase(user) : std::next(user);
    }
    return users.empty() && !isTold ? std::nullopt : std::optional<Users>(std::move(users));
}

std::optional<std::size_t> livingOf(const Scene& scene, const std::vector<std::size_t>& devices) {
    std::size_t living = 0;
    for (const std::size_t place : devices) {
        const Life life = scene.facts[place].life;
        if (scene.picture.devices[place].kind != Kind::kDisk) {
            continue;
        }
        if (life == Life::kUntold) {
            return std::nullopt;
        }
        living += life == Life::kLiving ? 1 : 0;
    }
    return living;
}

std::vector<std::size_t> disksOf(const Scene& scene, const std::vector<std::size_t>& devices) {
    const auto& all = scene.picture.devices;
    std::vector<std::size_t> disks;
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(disks),
                 [&](std::size_t place) { return all[place].kind == Kind::kDisk; });
    std::sort(disks.begin(), disks.end(),
              [&](std::size_t a, std::size_t b) { return goesBefore(all[a].name, all[b].name); });
    return disks;
}

}  // namespace cli::view
