#include "cli/comparison/volume_changes.h"

#include <algorithm>
#include <functional>
#include <map>
#include <unordered_map>

namespace cli::comparison {
namespace {

using Kind = VolumeChange::Kind;
using Key = std::function<std::string(const HostVolume&)>;

std::string udidAndName(const HostVolume& volume) {
    return identityOf(volume).empty() ? std::string() : volume.udid + '\n' + volume.unitName;
}

std::string nameWithoutIdentity(const HostVolume& volume) {
    return identityOf(volume).empty() && ownNameOf(volume).empty() ? nameOf(volume) : std::string();
}

// Two volumes may have one UDID: then their names tell them apart.
bool mayBeOne(const HostVolume& left, const HostVolume& right) {
    return left.unitName.empty() || right.unitName.empty() || left.unitName == right.unitName;
}

/// Which volume of one snapshot is which of the other.
class Matching {
  public:
    Matching(const HostVolumes& before, const HostVolumes& after)
        : m_before(before), m_after(after) {
        match(udidAndName);
        match([](const HostVolume& volume) { return identityOf(volume); });
        match([](const HostVolume& volume) { return ownNameOf(volume); });
        match(nameWithoutIdentity);
    }

    const HostVolume* after(const HostVolume& before) const { return at(m_forward, before); }
    const HostVolume* before(const HostVolume& after) const { return at(m_backward, after); }

  private:
    using Links = std::unordered_map<const HostVolume*, const HostVolume*>;

    static const HostVolume* at(const Links& links, const HostVolume& volume) {
        const auto found = links.find(&volume);
        return found == links.end() ? nullptr : found->second;
    }

    void match(const Key& keyOf) {
        std::unordered_map<std::string, std::vector<const HostVolume*>> waiting;
        for (const HostVolume& volume : m_after.volumes) {
            const std::string key = before(volume) == nullptr ? keyOf(volume) : std::string();
            if (!key.empty()) {
                waiting[key].push_back(&volume);
            }
        }
        for (const HostVolume& volume : m_before.volumes) {
            const auto found =
                after(volume) != nullptr ? waiting.end() : waiting.find(keyOf(volume));
            if (found != waiting.end()) {
                take(volume, found->second);
            }
        }
    }

    void take(const HostVolume& volume, std::vector<const HostVolume*>& candidates) {
        const auto fitting =
            std::find_if(candidates.begin(), candidates.end(),
                         [&](const HostVolume* other) { return mayBeOne(volume, *other); });
        if (fitting != candidates.end()) {
            m_forward[&volume] = *fitting;
            m_backward[*fitting] = &volume;
            candidates.erase(fitting);
        }
    }

    const HostVolumes& m_before;
    const HostVolumes& m_after;
    Links m_forward;
    Links m_backward;
};

bool isRenamed(const HostVolume& before, const HostVolume& after) {
    const std::vector<std::string> former = namesOf(before);
    const std::vector<std::string> present = namesOf(after);
    return std::find_first_of(former.begin(), former.end(), present.begin(), present.end()) ==
           former.end();
}

// Negative for fewer: a path that is there and does not answer counts less than one that does.
int pathsGained(const HostVolume& before, const HostVolume& after) {
    const auto compared = [](std::size_t left, std::size_t right) {
        return left == right ? 0 : left < right ? 1 : -1;
    };
    const int all = compared(before.paths.size(), after.paths.size());
    return all != 0 ? all : compared(wellPathsOf(before), wellPathsOf(after));
}

std::vector<Kind> differences(const HostVolume& before, const HostVolume& after) {
    std::vector<Kind> kinds;
    if (!identityOf(before).empty() && !identityOf(after).empty() && before.udid != after.udid) {
        kinds.push_back(Kind::kOtherUdid);
    }
    if (before.sizeKb && after.sizeKb && before.sizeKb != after.sizeKb) {
        kinds.push_back(*before.sizeKb < *after.sizeKb ? Kind::kGrown : Kind::kShrunk);
    }
    const int gained = pathsGained(before, after);
    if (gained != 0) {
        kinds.push_back(gained > 0 ? Kind::kMorePaths : Kind::kFewerPaths);
    }
    if (isRenamed(before, after)) {
        kinds.push_back(Kind::kRenamed);
    }
    // A device that did not answer told no revision.
    if (!before.revision.empty() && !after.revision.empty() && before.revision != after.revision) {
        kinds.push_back(Kind::kOtherRevision);
    }
    return kinds;
}

bool isKnown(const HostVolume& volume) {
    return !identityOf(volume).empty() || !ownNameOf(volume).empty();
}

void addRemapped(const HostVolumes& before, const HostVolumes& after, const Matching& matching,
                 std::vector<VolumeChange>& changes) {
    std::unordered_map<std::string, const HostVolume*> present;
    for (const HostVolume& volume : after.volumes) {
        for (const Path& path : volume.paths) {
            present.emplace(path.address, &volume);
        }
    }
    for (const HostVolume& former : before.volumes) {
        for (const Path& path : former.paths) {
            const auto found = path.address.empty() ? present.end() : present.find(path.address);
            if (found != present.end() && isKnown(former) && isKnown(*found->second) &&
                matching.after(former) != found->second) {
                changes.push_back({Kind::kRemapped, &former, found->second, path.address});
            }
        }
    }
}

}  // namespace

const char* nameOf(Kind kind) {
    static const std::map<Kind, const char*> kNames = {
        {Kind::kGone, "gone"},
        {Kind::kNew, "new"},
        {Kind::kRemapped, "remapped"},
        {Kind::kOtherUdid, "other-udid"},
        {Kind::kShrunk, "shrunk"},
        {Kind::kGrown, "grown"},
        {Kind::kFewerPaths, "fewer-paths"},
        {Kind::kMorePaths, "more-paths"},
        {Kind::kRenamed, "renamed"},
        {Kind::kOtherRevision, "other-revision"},
    };
    return kNames.at(kind);
}

std::vector<VolumeChange> compare(const HostVolumes& before, const HostVolumes& after) {
    const Matching matching(before, after);
    std::vector<VolumeChange> changes;
    for (const HostVolume& volume : before.volumes) {
        const HostVolume* const present = matching.after(volume);
        if (present == nullptr) {
            changes.push_back({Kind::kGone, &volume, nullptr, {}});
            continue;
        }
        for (const Kind kind : differences(volume, *present)) {
            changes.push_back({kind, &volume, present, {}});
        }
    }
    for (const HostVolume& volume : after.volumes) {
        if (matching.before(volume) == nullptr) {
            changes.push_back({Kind::kNew, nullptr, &volume, {}});
        }
    }
    if (before.host == after.host) {
        addRemapped(before, after, matching, changes);
    }
    std::stable_sort(
        changes.begin(), changes.end(),
        [](const VolumeChange& left, const VolumeChange& right) { return left.kind < right.kind; });
    return changes;
}

}  // namespace cli::comparison
