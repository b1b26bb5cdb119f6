#include "cli/common/refusals.h"

#include <algorithm>

#include "cli/base/text.h"
#include "recording/guard/effect/targets.h"

namespace cli {
namespace {

using recording::Refusal;

// The reasons for one device in one line, in the order in which they were found.
std::string remarkOn(const std::string& device, const std::vector<Refusal>& refusals) {
    std::vector<std::string> reasons;
    std::vector<std::string> risks;
    for (const Refusal& refusal : refusals) {
        if (refusal.device == device) {
            reasons.push_back(refusal.reason);
            if (std::find(risks.begin(), risks.end(), refusal.risk) == risks.end()) {
                risks.push_back(refusal.risk);
            }
        }
    }
    return device + " is " + joined(reasons, ", and ") + "; with --force " +
           joined(risks, ", and ");
}

std::vector<std::string> remarksOn(const std::vector<Refusal>& refusals) {
    std::vector<std::string> devices;
    std::vector<std::string> remarks;
    for (const Refusal& refusal : refusals) {
        if (std::find(devices.begin(), devices.end(), refusal.device) == devices.end()) {
            devices.push_back(refusal.device);
            remarks.push_back(remarkOn(refusal.device, refusals));
        }
    }
    return remarks;
}

// "removed H:C:T:L", whichever of the kernel's two files took the request; empty for other writes.
std::string removalBy(const AppendEffect& write) {
    if (write.result.openError != 0 || write.result.writeError != 0) {
        return {};
    }
    const auto targets = recording::guard::targetsOfAppend(write.path, write.data);
    const auto* const disk =
        targets.empty() ? nullptr : std::get_if<recording::guard::DiskAt>(&targets.front());
    return disk != nullptr ? "removed " + addressText(disk->address) : std::string();
}

// What was carried out all the same.
std::vector<std::string> doneBesides(const WatchedHost& host) {
    std::vector<std::string> done;
    for (const AppendEffect& write : host.appends()) {
        const std::string removal = removalBy(write);
        if (!removal.empty() && std::find(done.begin(), done.end(), removal) == done.end()) {
            done.push_back(removal);
        }
    }
    for (const CommandEffect& effect : host.commands()) {
        if (!host::isReadCommand(effect.command) && !effect.isRefused) {
            const std::size_t end = effect.command.find_last_not_of(' ') + 1;
            done.push_back("ran " + visible(effect.command.substr(0, end)));
        }
    }
    return done;
}

}  // namespace

void ForceOption::declare(CLI::App& app) {
    app.add_flag("--force", m_isGiven,
                 "Do it though a disk is in use or cannot be told to be free: the guard is off");
}

void ForceOption::apply(const Context& context) const {
    if (m_isGiven) {
        context.hosts.guard().takeOut();
    }
}

Json refusalsJson(const std::vector<Refusal>& refusals) {
    Json list = Json::array();
    for (const Refusal& refusal : refusals) {
        list.push_back({{"device", jsonText(refusal.device)},
                        {"reason", jsonText(refusal.reason)},
                        {"risk", jsonText(refusal.risk)}});
    }
    return list;
}

void addKept(Report& report, const Context& context) {
    const std::vector<Refusal> kept = context.hosts.guard().kept();
    if (!kept.empty()) {
        report.data["kept"] = refusalsJson(kept);
    }
    for (const Refusal& one : kept) {
        report.text += visible(one.device) + " stays: it is " + visible(one.reason) + "\n";
    }
    const std::vector<std::string> untold = context.hosts.guard().untoldKept();
    if (!untold.empty()) {
        const std::size_t more = untold.size() - 1;
        report.doubts.push_back("not known what else is in use and stays: " + untold.front() +
                                (more == 0 ? "" : " (and " + std::to_string(more) + " more)"));
    }
}

void addRefusals(Report& report, const Context& context) {
    const std::vector<Refusal> refusals = context.hosts.guard().refusals();
    if (refusals.empty()) {
        return;
    }
    report.data["refused"] = refusalsJson(refusals);
    const std::vector<std::string> remarks = remarksOn(refusals);
    report.remarks.insert(report.remarks.begin(), remarks.begin(), remarks.end());
    const std::vector<std::string> done =
        context.options.dryRun ? std::vector<std::string>() : doneBesides(context.host());
    const std::size_t kept = remarks.size();
    report.failure = (kept == 1 ? "1 removal" : std::to_string(kept) + " removals") + " refused, " +
                     (done.empty() ? "nothing was done" : "besides: " + joined(done, ", ")) +
                     "; --force does it all the same";
}

}  // namespace cli
