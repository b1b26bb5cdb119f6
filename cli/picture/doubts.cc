#include <algorithm>
#include <cerrno>

#include "cli/base/text.h"
#include "cli/picture/picture.h"

namespace cli::picture {
namespace {

constexpr std::size_t kMostNames = 16;

/// Devices that a line speaks of: disks, or maps and pseudo-devices.
struct Sort {
    bool isDisk;
    const char* one;
    const char* many;
};

bool isOf(const Sort& sort, const Device& device) {
    return device.kind != Kind::kOther && (device.kind == Kind::kDisk) == sort.isDisk;
}

std::string listed(const std::vector<std::string>& names) {
    const std::size_t shown = std::min(names.size(), kMostNames);
    std::string text =
        joined({names.begin(), names.begin() + static_cast<std::ptrdiff_t>(shown)}, " ");
    if (shown < names.size()) {
        text += " and " + std::to_string(names.size() - shown) + " more";
    }
    return text;
}

// "2 of 6 disks did not answer: /dev/sdc /dev/sdd", empty for none.
template <class Which>
std::string line(const Picture& picture, const Sort& sort, const std::string& what, Which which) {
    std::vector<std::string> names;
    std::size_t all = 0;
    for (const Device& device : picture.devices) {
        all += isOf(sort, device) ? 1U : 0U;
        if (isOf(sort, device) && which(device.state)) {
            names.push_back(device.name);
        }
    }
    return names.empty()
               ? std::string()
               : std::to_string(names.size()) + " of " + std::to_string(all) + " " +
                     (all == 1 ? sort.one : sort.many) + " " + what + ": " + listed(names);
}

void addLine(std::vector<std::string>& doubts, std::string text) {
    if (!text.empty()) {
        doubts.push_back(std::move(text));
    }
}

// One line for each reason that devices did not open for.
void addNotOpened(const Picture& picture, const Sort& sort, const std::string& hint,
                  std::vector<std::string>& doubts) {
    std::vector<std::string> reasons;
    for (const Device& device : picture.devices) {
        const std::string& reason = device.state.text;
        if (device.state.condition == Condition::kNotOpened && isOf(sort, device) &&
            std::find(reasons.begin(), reasons.end(), reason) == reasons.end()) {
            reasons.push_back(reason);
        }
    }
    for (const std::string& reason : reasons) {
        const bool isDenied = reason.find(errorText(EACCES)) != std::string::npos ||
                              reason.find(errorText(EPERM)) != std::string::npos;
        addLine(doubts, line(picture, sort, reason, [&](const State& state) {
                            return state.text == reason;
                        }) + (isDenied ? hint : ""));
    }
}

}  // namespace

std::vector<std::string> doubtsOf(const Picture& picture, const std::string& hint) {
    static constexpr Sort kSorts[] = {{true, "disk", "disks"},
                                      {false, "multipath device", "multipath devices"}};
    std::vector<std::string> doubts;
    for (const Contradiction& found : picture.contradictions) {
        doubts.push_back(found.text);
    }
    for (const Sort& sort : kSorts) {
        addLine(doubts, line(picture, sort, "did not answer", [](const State& state) {
                    return !isAnswering(state.condition) && state.condition != Condition::kInPart &&
                           state.condition != Condition::kNotOpened &&
                           state.condition != Condition::kNotAsked;
                }));
        addLine(doubts, line(picture, sort, "answered in part", [](const State& state) {
                    return state.condition == Condition::kInPart;
                }));
        addNotOpened(picture, sort, hint, doubts);
    }
    // A map that the enumeration leaves out for its name is known by its paths.
    addLine(doubts, line(picture, kSorts[0], "were not asked", [](const State& state) {
                return state.condition == Condition::kNotAsked;
            }));
    return doubts;
}

}  // namespace cli::picture
