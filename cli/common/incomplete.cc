#include "cli/common/incomplete.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

#include "cli/base/text.h"
#include "cli/hosts/page_answer.h"
#include "cli/output/report.h"

namespace cli {
namespace {

// More than these are counted in a message of one line.
constexpr std::size_t kMostNamed = 16;

Json pagesJson(const MissingPages::Pages& pages) {
    Json list = Json::array();
    for (const auto& [page, why] : pages) {
        list.push_back({{"page", pageCode(page)}, {"why", jsonText(why)}});
    }
    return list;
}

std::string firstOf(const MissingPages::Pages& pages) {
    return missingText(pages.begin()->first, pages.begin()->second);
}

// By the name of the device. The list of pages has the lowest code.
std::map<std::string, MissingPages::Pages> missingOf(const Context& context) {
    std::map<std::string, MissingPages::Pages> missing = context.hosts.missingPages().missing();
    for (auto one = missing.begin(); one != missing.end() && !context.isLive();) {
        if (mayBeUnrecordedList(firstOf(one->second))) {
            one->second.erase(one->second.begin());
        }
        one = one->second.empty() ? missing.erase(one) : std::next(one);
    }
    return missing;
}

}  // namespace

void addIncomplete(Report& report, const Context& context) {
    const recording::GivenUp givenUp = context.givenUp();
    std::vector<std::string> named;
    Json list = Json::array();
    for (const auto& [name, pages] : missingOf(context)) {
        if (givenUp.count(name) == 0) {
            named.push_back(name + " (" + firstOf(pages) + ")");
            list.push_back({{"name", jsonText(name)}, {"pages", pagesJson(pages)}});
        }
    }
    if (named.empty()) {
        return;
    }
    report.data["missing_pages"] = std::move(list);
    // A picture of the host has told of all that answered in part.
    if (report.data.contains("unidentified") || !report.failure.empty()) {
        return;
    }
    const std::size_t more = named.size() - std::min(named.size(), kMostNamed);
    named.resize(named.size() - more);
    report.doubts.push_back(
        "answered in part, so that a UDID may lack what did not come: " + joined(named, ", ") +
        (more != 0 ? " and " + std::to_string(more) + " more" : ""));
}

std::string whyIncomplete(const Context& context, const std::string& name) {
    const auto missing = missingOf(context);
    const auto found = missing.find(name);
    return found != missing.end() ? firstOf(found->second) : "";
}

}  // namespace cli
