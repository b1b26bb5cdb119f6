#include "cli/view/path_life.h"

#include <algorithm>

#include "recording/guard/kernel/kernel_tables.h"

namespace cli::view {
namespace {

namespace guard = recording::guard;
using picture::Condition;
using picture::Device;

bool hasMultipathMap(const picture::Picture& picture, guard::BlockDevices& blocks) {
    const bool isShown =
        std::any_of(picture.devices.begin(), picture.devices.end(),
                    [](const Device& device) { return device.kind == picture::Kind::kMap; });
    if (isShown) {
        return true;
    }
    const std::vector<std::string> maps = blocks.maps();
    return std::any_of(maps.begin(), maps.end(), [&](const std::string& map) {
        return guard::isMultipath(blocks.mapUuid(map));
    });
}

}  // namespace

PathStateBook::PathStateBook(const picture::Picture& picture, host::Host& host,
                             guard::BlockDevices& blocks)
    : m_blocks(blocks) {
    if (!hasMultipathMap(picture, blocks)) {
        return;
    }
    std::string failure;
    for (const auto& [map, paths] : askMapStatus(host, failure)) {
        m_states.insert(paths.begin(), paths.end());
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
