#include <algorithm>
#include <utility>

#include "cli/help/catalogue.h"

namespace cli::help {
namespace {

constexpr std::size_t kMostWrong = 2;
// A word of a terminal that is longer is none of ours.
constexpr std::size_t kLongestWord = 64;

// How many letters have to be added, taken out, changed or swapped with their neighbour.
std::size_t distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> before;
    std::vector<std::size_t> above;
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t column = 0; column <= to.size(); ++column) {
        row[column] = column;
    }
    for (std::size_t line = 1; line <= from.size(); ++line) {
        before = std::exchange(above, row);
        row[0] = line;
        for (std::size_t column = 1; column <= to.size(); ++column) {
            const std::size_t change = from[line - 1] == to[column - 1] ? 0 : 1;
            row[column] =
                std::min({above[column] + 1, row[column - 1] + 1, above[column - 1] + change});
            const bool isSwap = line > 1 && column > 1 && from[line - 1] == to[column - 2] &&
                                from[line - 2] == to[column - 1];
            if (isSwap) {
                row[column] = std::min(row[column], before[column - 2] + 1);
            }
        }
    }
    return row.back();
}

}  // namespace

std::vector<std::string> meantBy(const std::string& word, const std::vector<std::string>& known) {
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& one : known) {
        const bool isBeginning = word.size() >= 2 && one.compare(0, word.size(), word) == 0;
        const std::size_t wrong =
            isBeginning || word.size() > kLongestWord ? 0 : distance(word, one);
        // Of a short word two letters are most of it.
        if (isBeginning ||
            (word.size() <= kLongestWord && wrong <= std::min(kMostWrong, one.size() / 3))) {
            near.emplace_back(wrong, one);
        }
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::vector<std::string> words;
    words.reserve(near.size());
    for (auto& [wrong, one] : near) {
        words.push_back(std::move(one));
    }
    return words;
}

std::string suggestion(const std::string& word, const std::vector<std::string>& known) {
    const std::vector<std::string> words = meantBy(word, known);
    std::string text;
    for (const std::string& one : words) {
        text += (text.empty() ? " (did you mean '" : " or '") + one + "'";
    }
    return text.empty() ? text : text + "?)";
}

}  // namespace cli::help
