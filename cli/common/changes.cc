#include "cli/common/changes.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "cli/base/text.h"
#include "cli/common/asking.h"
#include "cli/common/udev.h"
#include "cli/comparison/changes_text.h"
#include "cli/picture/enumeration.h"
#include "cli/picture/rows.h"
#include "cli/view/condition.h"

namespace cli {
namespace {

using VolumeChanges = std::vector<comparison::VolumeChange>;
using NamesByUdid = std::map<std::string, std::set<std::string>>;

NamesByUdid byUdid(const DeviceMap& devices) {
    NamesByUdid names;
    for (const auto& [name, info] : devices) {
        names[info.uid].insert(name);
    }
    return names;
}

// What is in `these` and not in `those`.
std::vector<Change> onlyIn(const NamesByUdid& these, const NamesByUdid& those) {
    std::vector<Change> changes;
    for (const auto& [udid, names] : these) {
        const auto other = those.find(udid);
        Change change = {udid, {}, other == those.end()};
        const std::set<std::string> present =
            other == those.end() ? std::set<std::string>() : other->second;
        std::set_difference(names.begin(), names.end(), present.begin(), present.end(),
                            std::back_inserter(change.devices));
        if (!change.devices.empty()) {
            changes.push_back(std::move(change));
        }
    }
    return changes;
}

Json listJson(const std::vector<Change>& changes) {
    Json list = Json::array();
    for (const Change& change : changes) {
        Json devices = Json::array();
        for (const std::string& name : change.devices) {
            devices.push_back(jsonText(name));
        }
        list.push_back({{"udid", jsonText(change.udid)},
                        {"devices", devices},
                        {"identity", picture::identityJson(change.udid, change.isPathUdid)},
                        {"whole_volume", change.wholeVolume}});
    }
    return list;
}

// What appeared and disappeared, path by path, is told by itself.
VolumeChanges ofThoseThatStayed(const VolumeChanges& changes) {
    using Kind = comparison::VolumeChange::Kind;
    VolumeChanges others;
    std::copy_if(changes.begin(), changes.end(), std::back_inserter(others),
                 [](const comparison::VolumeChange& change) {
                     return change.kind != Kind::kNew && change.kind != Kind::kGone &&
                            change.kind != Kind::kMorePaths && change.kind != Kind::kFewerPaths;
                 });
    return others;
}

void markPathUdids(std::vector<Change>& changes, const std::set<std::string>& pathUdids) {
    for (Change& change : changes) {
        change.isPathUdid = pathUdids.count(change.udid) != 0;
    }
}

void addRows(Table& table, const char* what, const std::vector<Change>& changes) {
    for (const Change& change : changes) {
        table.addRow(
            {what, change.wholeVolume ? "volume" : "path",
             change.udid.empty() ? "-" : view::udidText(change.udid, false, change.isPathUdid),
             joined(change.devices, " ")});
    }
}

}  // namespace

Changes compareMaps(const DeviceMap& before, const DeviceMap& after) {
    const NamesByUdid former = byUdid(before);
    const NamesByUdid present = byUdid(after);
    return {onlyIn(present, former), onlyIn(former, present)};
}

Json changesJson(const Changes& changes) {
    return {{"appeared", listJson(changes.appeared)},
            {"disappeared", listJson(changes.disappeared)}};
}

std::string changesText(const Changes& changes, const Layout& layout) {
    if (changes.appeared.empty() && changes.disappeared.empty()) {
        return "no change\n";
    }
    Table table({{"CHANGE"}, {"OF"}, {"UDID", false, true}, {"DEVICES", false, true}});
    addRows(table, "appeared", changes.appeared);
    addRows(table, "disappeared", changes.disappeared);
    return table.str(layout);
}

ChangeWatch::ChangeWatch(const Context& context, bool wanted) : m_isWanted(wanted) {
    if (wanted) {
        askAhead(context, "", interviews::volume());
        m_before = look(context);
    }
}

ChangeWatch::Look ChangeWatch::look(const Context& context) {
    picture::Enumeration enumeration(context);
    Look look;
    look.devices = enumeration.run(false, "", "");
    const picture::Picture picture = enumeration.pictureWithoutFields();
    for (const picture::Device& device : picture.devices) {
        if (!picture::isAnswering(device.state.condition)) {
            look.silent.insert(device.name);
        }
        if (device.isPathUdid) {
            look.pathUdids.insert(device.udid);
        }
    }
    for (const picture::Contradiction& found : picture.contradictions) {
        look.doubts.push_back(found.text);
    }
    look.toldOfThem = picture::doubtsOf(picture, enumeration.hint());
    look.volumes.volumes = comparison::volumesOf(picture, context.view(), look.doubts);
    return look;
}

void ChangeWatch::addTo(Report& report, const Context& context) {
    if (!m_isWanted) {
        return;
    }
    settleUdev(context);
    const Look after = look(context);
    // What did not answer at one of the two looks seems to have come or gone. What answered at
    // neither is told once.
    const bool isToldByTheSecond = std::includes(after.silent.begin(), after.silent.end(),
                                                 m_before.silent.begin(), m_before.silent.end());
    if (isToldByTheSecond) {
        m_before.toldOfThem.clear();
    }
    const std::vector<const std::vector<std::string>*> told = {
        &m_before.toldOfThem, &m_before.doubts, &after.toldOfThem, &after.doubts};
    for (const auto* const doubts : told) {
        std::copy_if(doubts->begin(), doubts->end(), std::back_inserter(report.doubts),
                     [&](const std::string& doubt) {
                         return std::find(report.doubts.begin(), report.doubts.end(), doubt) ==
                                report.doubts.end();
                     });
    }
    Changes changes = compareMaps(m_before.devices, after.devices);
    markPathUdids(changes.appeared, after.pathUdids);
    markPathUdids(changes.disappeared, m_before.pathUdids);
    const VolumeChanges all = comparison::compare(m_before.volumes, after.volumes);
    report.data["changes"] = changesJson(changes);
    report.data["changes"]["differences"] = comparison::changesJson(all);
    const VolumeChanges others = ofThoseThatStayed(all);
    const bool hasOnlyOthers =
        changes.appeared.empty() && changes.disappeared.empty() && !others.empty();
    report.text += report.text.empty() ? "" : "\n";
    report.text += hasOnlyOthers ? "" : changesText(changes, context.layout);
    if (!others.empty()) {
        report.text += hasOnlyOthers ? "" : "\n";
        report.text += comparison::changesText(others, context.layout);
    }
}

}  // namespace cli
