#include "cli/output/table.h"

#include <algorithm>
#include <numeric>

#include "cli/base/text.h"

namespace cli {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 12;  // a wrapped column narrower than this reads worse than none

// Each line on its own: a pager shows one without those before it.
std::string reddened(const std::string& lines) {
    std::string text;
    std::size_t start = 0;
    while (start < lines.size()) {
        const std::size_t end = lines.find('\n', start);
        text += "\033[31m" + lines.substr(start, end - start) + "\033[0m\n";
        start = end + 1;
    }
    return text;
}

}  // namespace

void Table::addRow(const std::vector<std::string>& cells, Tone tone) {
    std::vector<std::string> row;
    for (const std::string& cell : cells) {
        row.push_back(visible(cell));
    }
    row.resize(m_columns.size());
    m_rows.push_back(std::move(row));
    m_tones.push_back(tone);
}

std::vector<std::size_t> Table::widthsFor(std::size_t total) const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        std::size_t widest = columnsOf(m_columns[i].title);
        for (const auto& row : m_rows) {
            widest = std::max(widest, columnsOf(row[i]));
        }
        widths.push_back(widest);
    }
    const std::size_t gaps = kGap * (m_columns.size() - 1);
    std::size_t sum = std::accumulate(widths.begin(), widths.end(), gaps);
    // The widest of the columns that may wrap gives way, one column at a time.
    while (total != 0 && sum > total) {
        std::size_t widest = m_columns.size();
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            if (m_columns[i].wraps && widths[i] > kNarrowest &&
                (widest == m_columns.size() || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        if (widest == m_columns.size()) {
            break;
        }
        --widths[widest];
        --sum;
    }
    return widths;
}

std::string Table::line(const std::vector<std::string>& cells,
                        const std::vector<std::size_t>& widths) const {
    std::vector<std::vector<std::string>> pieces;
    std::size_t height = 1;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        pieces.push_back(wrapped(cells[i], m_columns[i].wraps ? widths[i] : columnsOf(cells[i])));
        height = std::max(height, pieces.back().size());
    }
    std::string text;
    for (std::size_t row = 0; row < height; ++row) {
        std::string one;
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const std::string cell = row < pieces[i].size() ? pieces[i][row] : std::string();
            const std::size_t used = columnsOf(cell);
            const std::string fill(widths[i] > used ? widths[i] - used : 0, ' ');
            one += m_columns[i].rightAligned ? fill + cell : cell + fill;
            one.append(kGap, ' ');
        }
        one.erase(one.find_last_not_of(' ') + 1);
        text += one + "\n";
    }
    return text;
}

std::string Table::str(const Layout& layout) const {
    std::vector<std::string> titles;
    for (const Column& column : m_columns) {
        titles.push_back(column.title);
    }
    const std::vector<std::size_t> widths = widthsFor(layout.width);
    std::string text = line(titles, widths);
    if (layout.colour) {
        text = "\033[1m" + text.substr(0, text.size() - 1) + "\033[0m\n";
    }
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        const std::string lines = line(m_rows[i], widths);
        text += layout.colour && m_tones[i] == Tone::kAlarm ? reddened(lines) : lines;
    }
    return text;
}

}  // namespace cli
