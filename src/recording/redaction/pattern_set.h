#ifndef SCSITOOL_RECORDING_REDACTION_PATTERN_SET_H
#define SCSITOOL_RECORDING_REDACTION_PATTERN_SET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace recording {

/// Texts with what stands in their place, found in other texts at a cost that hardly depends on
/// their number.
class PatternSet {
  public:
    static constexpr std::size_t kShortest = 3;

    struct Match {
        std::size_t begin;
        std::size_t length;
        const std::string* replacement;
    };
    /// Where a pattern counts.
    enum class Place {
        kText,       ///< one that is a word of its own only as such, any other anywhere
        kHexDigits,  ///< in the digits of bytes: at whole bytes, and only patterns of four or more
    };

    /// A pattern of fewer than three characters is left out; the first replacement of one holds.
    void add(const std::string& pattern, const std::string& replacement, bool isWord);
    /// From the left, the longest first; none overlaps another.
    std::vector<Match> matches(std::string_view text, Place place = Place::kText) const;
    std::string replaced(const std::string& text) const;

  private:
    struct Entry {
        std::string replacement;
        bool isWord;
    };
    bool counts(std::string_view text, std::size_t begin, std::size_t length, const Entry& entry,
                Place place) const;

    std::unordered_map<std::string, Entry> m_entries;
    std::unordered_map<std::uint32_t, std::vector<std::size_t>> m_lengths;  // by the first three
};

}  // namespace recording

#endif
