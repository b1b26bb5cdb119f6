#include "recording/guard/effect/rescan_options.h"

#include <algorithm>
#include <optional>

#include "recording/guard/effect/scsi_address.h"

namespace recording::guard {
namespace {

using Range = std::pair<std::uint64_t, std::uint64_t>;

constexpr const char* kHosts = "--hosts=";

bool isAbbreviationOf(const std::string& name, const std::string& option) {
    return !name.empty() && option.compare(0, name.size(), name) == 0;
}

void readLong(const std::string& name, RescanOptions& options) {
    const bool all = isAbbreviationOf(name, "forceremove") || isAbbreviationOf(name, "forcerescan");
    options.takesAll |= all;
    options.removes |= all || isAbbreviationOf(name, "remove");
    options.flushesMaps |= isAbbreviationOf(name, "flush") || isAbbreviationOf(name, "update") ||
                           isAbbreviationOf(name, "multipath");
    options.ignoresRevision |= name == "ignore-rev";
}

void readBundle(const std::string& letters, RescanOptions& options) {
    for (const char letter : letters) {
        options.removes |= letter == 'r';
        options.flushesMaps |= letter == 'f' || letter == 'u' || letter == 'm';
    }
}

std::optional<Range> readRange(const std::string& text) {
    const std::size_t dash = text.find('-');
    const auto first = parseDecimal(text.substr(0, dash));
    const auto last = dash == std::string::npos ? first : parseDecimal(text.substr(dash + 1));
    if (!first || !last) {
        return std::nullopt;
    }
    return Range(*first, *last);
}

// "A[-B][,C[-D]]..."; anything else makes no promise about which hosts are left alone.
std::optional<std::vector<Range>> readRanges(const std::string& text) {
    std::vector<Range> ranges;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const auto range = readRange(text.substr(start, end - start));
        if (!range) {
            return std::nullopt;
        }
        ranges.push_back(*range);
        start = end + 1;
    }
    return ranges;
}

}  // namespace

bool RescanOptions::looksAtHost(std::uint64_t host) const {
    return hosts.empty() || std::any_of(hosts.begin(), hosts.end(), [host](const Range& range) {
               return range.first <= host && host <= range.second;
           });
}

RescanOptions parseRescanOptions(const std::vector<std::string>& words) {
    const std::string hostsOption = kHosts;
    RescanOptions options;
    bool hostsAreKnown = true;
    for (const std::string& word : words) {
        if (word.compare(0, 2, "--") == 0) {
            readLong(word.substr(2, word.find('=') - 2), options);
        } else if (word.size() > 1 && word[0] == '-') {
            readBundle(word.substr(1), options);
        }
        if (word.compare(0, hostsOption.size(), hostsOption) == 0) {
            const auto ranges = readRanges(word.substr(hostsOption.size()));
            hostsAreKnown = hostsAreKnown && ranges;
            if (ranges) {
                options.hosts.insert(options.hosts.end(), ranges->begin(), ranges->end());
            }
        }
    }
    if (!hostsAreKnown) {
        options.hosts.clear();
    }
    return options;
}

}  // namespace recording::guard
