#include "cli/view/path_life.h"

#include <set>

#include "cli/view/map_lines.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli::view {
namespace {

namespace guard = recording::guard;
using picture::Condition;
using picture::Device;

// Those of the picture, or the kernel's where it shows some of the devices alone.
std::set<std::string> mapsOf(const picture::Picture& picture, guard::BlockDevices& blocks) {
    std::set<std::string> names;
    for (const Device& device : picture.devices) {
        if (device.kind == picture::Kind::kMap) {
            names.insert(mapNameOf(device));
        }
    }
    for (const std::string& map : names.empty() ? blocks.maps() : std::vector<std::string>()) {
        if (guard::isMultipath(blocks.mapUuid(map))) {
            names.insert(blocks.mapName(map));
        }
    }
    return names;
}

}  // namespace

PathStateBook::PathStateBook(const picture::Picture& picture, host::Host& host,
                             guard::BlockDevices& blocks)
    : m_blocks(blocks) {
    const std::set<std::string> maps = mapsOf(picture, blocks);
    if (maps.empty()) {
        return;
    }
    std::string failure;
    for (const auto& [map, paths] : askMapStatus(host, failure)) {
        if (maps.count(map) != 0) {
            m_states.insert(paths.begin(), paths.end());
        }
    }
    if (!failure.empty()) {
        m_doubt = "what device-mapper holds of the paths is not known: " + failure;
    }
}

const PathState* PathStateBook::of(const Device& disk) const {
    if (m_states.empty() || disk.kernelName.empty()) {
        return nullptr;
    }
    const auto state = m_states.find(guard::numberText(m_blocks.number(disk.kernelName)));
    return state == m_states.end() ? nullptr : &state->second;
}

Life lifeOf(const Device& disk, const PathState* state) {
    const Condition condition = disk.state.condition;
    const bool isAsked = condition != Condition::kNotAsked;
    const std::string& kernel = disk.kernelState.state;
    if ((isAsked && !picture::isAnswering(condition)) || (state != nullptr && !state->isActive) ||
        (!kernel.empty() && kernel != "running")) {
        return Life::kDead;
    }
    return isAsked || !kernel.empty() || state != nullptr ? Life::kLiving : Life::kUntold;
}

}  // namespace cli::view
