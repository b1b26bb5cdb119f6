#include "cli/view/condition.h"

#include <algorithm>
#include <utility>

#include "cli/base/text.h"

namespace cli::view {
namespace {

using picture::Device;
using Texts = std::vector<std::string>;

const Device& deviceAt(const Row& row, std::size_t place) {
    return row.scene->picture.devices[place];
}

// The state and what is remarkable, each once; what is remarkable goes before "ok".
Texts textsOf(const Device& device, const DeviceFacts& facts) {
    Texts texts = device.marks;
    if (facts.mapperState == "failed") {
        texts.insert(texts.begin(), "failed in device-mapper");
    }
    if (texts.empty() || device.state.condition != picture::Condition::kOk) {
        texts.insert(texts.begin(), device.state.text);
    }
    return texts;
}

}  // namespace

std::string udidText(const std::string& udid, bool isLastKnown, bool isPathUdid) {
    return udid.empty() ? udid
                        : udid + (isLastKnown  ? " (last known)"
                                  : isPathUdid ? " (this path at this host only)"
                                               : "");
}

std::string conditionOf(const Row& row) {
    std::vector<std::pair<std::string, Texts>> said;
    for (const std::size_t place : row.devices) {
        for (const std::string& text : textsOf(deviceAt(row, place), row.scene->facts[place])) {
            auto known = std::find_if(said.begin(), said.end(),
                                      [&](const auto& one) { return one.first == text; });
            if (known == said.end()) {
                known = said.insert(said.end(), {text, {}});
            }
            known->second.push_back(deviceAt(row, place).name);
        }
    }
    Texts parts;
    for (const auto& [text, names] : said) {
        if (names.size() == row.devices.size()) {
            parts.push_back(text);
        } else if (text != picture::State().text) {
            parts.push_back(text + ": " + joined(names, " "));
        }
    }
    return joined(parts, "; ");
}

std::string identityText(const Row& row) {
    if (row.isVolume) {
        const picture::Volume& volume = row.scene->picture.volumes[row.volume];
        return udidText(volume.udid, volume.isLastKnown, volume.isPathUdid);
    }
    const Device& device = deviceAt(row, row.devices.front());
    const bool isLastKnown = !device.lastKnownUdid.empty();
    return udidText(isLastKnown ? device.lastKnownUdid : device.udid, isLastKnown,
                    device.isPathUdid);
}

bool isRemarkable(const Row& row) {
    return conditionOf(row) != picture::State().text;
}

bool isAlarming(const Row& row) {
    return std::any_of(row.devices.begin(), row.devices.end(),
                       [&](std::size_t place) { return deviceAt(row, place).isAlarming; });
}

}  // namespace cli::view
