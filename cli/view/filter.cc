#include "cli/view/filter.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "cli/base/glob.h"
#include "cli/base/text.h"

namespace cli::view {
namespace {

constexpr const char* kUdid = "udid";

// Without what the column says of it besides.
std::string udidOf(const Row& row) {
    if (row.isVolume) {
        return row.scene->picture.volumes[row.volume].udid;
    }
    const picture::Device& device = row.scene->picture.devices[row.devices.front()];
    return device.lastKnownUdid.empty() ? device.udid : device.lastKnownUdid;
}

}  // namespace

void Filter::declare(CLI::App& app) {
    app.add_option("--vendor", m_patterns[0].glob, "Only of this vendor; * and ? stand for others")
        ->type_name("GLOB");
    app.add_option("--product", m_patterns[1].glob, "Only of this product")->type_name("GLOB");
    app.add_option("--array", m_patterns[2].glob, "Only of the array of this serial")
        ->type_name("GLOB");
    app.add_option("--lun", m_patterns[3].glob, "Only with this LUN")->type_name("GLOB");
    app.add_option("--udid", m_patterns[4].glob, "Only with this UDID")->type_name("GLOB");
    CLI::Option* const used = app.add_flag("--used", m_isUsed, "Only what somebody uses");
    app.add_flag("--unused", m_isUnused, "Only what nobody uses, as far as the kernel tells")
        ->excludes(used);
}

// One of several LUNs that a volume has is enough.
bool Filter::fits(const Pattern& pattern, const Row& row) {
    if (pattern.column == std::string(kUdid)) {
        return fitsGlob(pattern.glob, udidOf(row));
    }
    const Column* const column = findColumn(pattern.column);
    const std::string text = column == nullptr ? std::string() : column->cellOf(row).text;
    if (pattern.column != std::string("lun")) {
        return fitsGlob(pattern.glob, text);
    }
    std::istringstream luns(text);
    return std::any_of(std::istream_iterator<std::string>(luns), {},
                       [&](const std::string& lun) { return fitsGlob(pattern.glob, lun); });
}

bool Filter::takes(const Row& row) const {
    const auto users = m_isUsed || m_isUnused ? usersOf(*row.scene, row.devices) : std::nullopt;
    if ((m_isUsed && (!users || users->empty())) || (m_isUnused && (!users || !users->empty()))) {
        return false;
    }
    return std::all_of(std::begin(m_patterns), std::end(m_patterns), [&](const Pattern& pattern) {
        return pattern.glob.empty() || fits(pattern, row);
    });
}

std::string Filter::text() const {
    std::vector<std::string> words;
    for (const Pattern& pattern : m_patterns) {
        if (!pattern.glob.empty()) {
            words.push_back(std::string(pattern.option) + " " + pattern.glob);
        }
    }
    if (m_isUsed || m_isUnused) {
        words.emplace_back(m_isUsed ? "--used" : "--unused");
    }
    return joined(words, " ");
}

}  // namespace cli::view
