#include "cli/report/page.h"

#include <string_view>

namespace cli::page {
namespace {

constexpr std::string_view kPage =
#include "page.html.inc"
    ;
constexpr std::string_view kPlace = "@DATA@";

}  // namespace

std::string pageOf(const Json& data) {
    // JSON in ASCII, without what HTML would take for a tag or a comment.
    std::string text = data.dump(-1, ' ', true);
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
        text.replace(at, 1, "\\u003c");
    }
    const std::size_t place = kPage.find(kPlace);
    std::string page(kPage.substr(0, place));
    page += text;
    page += kPage.substr(place + kPlace.size());
    return page;
}

}  // namespace cli::page
