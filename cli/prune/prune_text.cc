#include "cli/prune/prune_text.h"

#include "cli/base/text.h"

namespace cli::prune {
namespace {

std::string shownOutcome(const Row& row, bool isDryRun) {
    switch (row.outcome) {
        case Outcome::kRefused:
            return "refused";
        case Outcome::kFailed:
            return "failed: " + row.message;
        case Outcome::kStays:
            return "stays: " + row.message;
        default:
            return std::string(isDryRun ? "would be " : "") + (row.address ? "removed" : "flushed");
    }
}

const char* nameOf(Outcome outcome, bool isDryRun) {
    switch (outcome) {
        case Outcome::kRefused:
            return "refused";
        case Outcome::kFailed:
            return "failed";
        case Outcome::kStays:
            return "stays";
        default:
            return isDryRun ? "planned" : "done";
    }
}

Json addressJson(const std::optional<recording::guard::ScsiAddress>& address) {
    return address ? Json::array({address->host, address->channel, address->target, address->lun})
                   : Json();
}

Json rowJson(const Row& row, bool isDryRun) {
    Json users = Json::array();
    for (const std::string& user : row.users) {
        users.push_back(jsonText(user));
    }
    Json json = {{"device", jsonText(row.device)},
                 {"address", addressJson(row.address)},
                 {"finding", prune::nameOf(row.verdict.finding)},
                 {"reason", jsonText(row.verdict.reason)},
                 {"users", users},
                 {"outcome", nameOf(row.outcome, isDryRun)}};
    if (!row.message.empty()) {
        json["message"] = jsonText(row.message);
    }
    return json;
}

}  // namespace

Json pruneJson(const Pruning& pruning, bool isDryRun) {
    Json rows = Json::array();
    for (const Row& row : pruning.rows()) {
        rows.push_back(rowJson(row, isDryRun));
    }
    Json untold = Json::array();
    for (const Untold& one : pruning.untold()) {
        untold.push_back({{"device", jsonText(one.device)}, {"reason", jsonText(one.reason)}});
    }
    return {{"devices", rows}, {"untold", untold}};
}

std::string pruneTable(const Pruning& pruning, bool isDryRun, const Layout& layout) {
    Table table({{"DEVICE"},
                 {"ADDRESS"},
                 {"WHY", false, true},
                 {"USED", false, true},
                 {"OUTCOME", false, true}});
    for (const Row& row : pruning.rows()) {
        table.addRow({row.device, row.address ? addressText(*row.address) : "-", row.verdict.reason,
                      row.users.empty() ? "-" : joined(row.users, ", and "),
                      shownOutcome(row, isDryRun)});
    }
    return table.str(layout);
}

void addTrouble(Report& report, const Pruning& pruning, bool isRoot) {
    for (const Row& row : pruning.rows()) {
        if (row.outcome == Outcome::kFailed) {
            report.remarks.push_back(row.device + " was not removed: " + row.message);
        }
    }
    const std::size_t failed = report.remarks.size();
    if (failed > 0) {
        report.failure =
            (failed == 1 ? "1 removal" : std::to_string(failed) + " removals") + " failed";
    }
    for (const Untold& one : pruning.untold()) {
        report.doubts.push_back(one.device + " stays, it cannot be told whether it is gone: " +
                                one.reason + (isRoot ? "" : "; run it as root"));
    }
}

}  // namespace cli::prune
