#include "recording/redaction/pattern_set.h"

#include <algorithm>
#include <functional>

namespace recording {
namespace {

std::uint32_t beginning(std::string_view text) {
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < PatternSet::kShortest; ++index) {
        value = value << 8U | static_cast<unsigned char>(text[index]);
    }
    return value;
}

bool isWordCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

void PatternSet::add(const std::string& pattern, const std::string& replacement, bool isWord) {
    if (pattern.size() < kShortest ||
        !m_entries.emplace(pattern, Entry{replacement, isWord}).second) {
        return;
    }
    std::vector<std::size_t>& lengths = m_lengths[beginning(pattern)];
    const auto place =
        std::lower_bound(lengths.begin(), lengths.end(), pattern.size(), std::greater<>());
    if (place == lengths.end() || *place != pattern.size()) {
        lengths.insert(place, pattern.size());
    }
}

bool PatternSet::counts(std::string_view text, std::size_t begin, std::size_t length,
                        const Entry& entry, Place place) const {
    if (place == Place::kHexDigits) {
        constexpr std::size_t kLeastDigits = 8;
        return begin % 2 == 0 && length % 2 == 0 && length >= kLeastDigits;
    }
    const std::size_t end = begin + length;
    return !entry.isWord || ((begin == 0 || !isWordCharacter(text[begin - 1])) &&
                             (end == text.size() || !isWordCharacter(text[end])));
}

std::vector<PatternSet::Match> PatternSet::matches(std::string_view text, Place place) const {
    std::vector<Match> found;
    std::size_t begin = 0;
    while (begin + kShortest <= text.size()) {
        std::size_t step = 1;
        const auto lengths = m_lengths.find(beginning(text.substr(begin)));
        if (lengths != m_lengths.end()) {
            for (const std::size_t length : lengths->second) {
                if (length > text.size() - begin) {
                    continue;
                }
                const auto entry = m_entries.find(std::string(text.substr(begin, length)));
                if (entry != m_entries.end() && counts(text, begin, length, entry->second, place)) {
                    found.push_back({begin, length, &entry->second.replacement});
                    step = length;
                    break;
                }
            }
        }
        begin += step;
    }
    return found;
}

std::string PatternSet::replaced(const std::string& text) const {
    std::string result = text;
    for (const Match& match : matches(text)) {
        result.replace(match.begin, match.length, *match.replacement);
    }
    return result;
}

}  // namespace recording
