#include "cli/output/table.h"

#include <algorithm>
#include <numeric>

#include "cli/base/text.h"

namespace cli {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 12;  // a wrapped column narrower than this reads worse than none
constexpr std::size_t kIndent = 2;      // of the lines of a row behind its first

// Each line on its own: a pager shows one without those before it.
std::string setOff(const std::string& lines, const char* colour) {
    std::string text;
    std::size_t start = 0;
    while (start < lines.size()) {
        const std::size_t end = lines.find('\n', start);
        text += colour + lines.substr(start, end - start) + "\033[0m\n";
        start = end + 1;
    }
    return text;
}

std::size_t totalOf(const std::vector<std::size_t>& widths) {
    const std::size_t gaps = widths.empty() ? 0 : kGap * (widths.size() - 1);
    return std::accumulate(widths.begin(), widths.end(), gaps);
}

// The widest of the columns that may wrap gives way, one column at a time.
void narrow(std::vector<std::size_t>& widths, const std::vector<Column>& columns,
            std::size_t total) {
    for (std::size_t sum = totalOf(widths); sum > total; --sum) {
        std::size_t widest = widths.size();
        for (std::size_t i = 0; i < widths.size(); ++i) {
            if (columns[i].wraps && widths[i] > kNarrowest &&
                (widest == widths.size() || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        if (widest == widths.size()) {
            return;
        }
        --widths[widest];
    }
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
    m_below.emplace_back();
}

void Table::addBelow(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        m_below.back() += line + "\n";
    }
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
    if (total == 0) {
        return widths;
    }
    if (!m_columns.back().isWhole) {
        narrow(widths, m_columns, total);
        return widths;
    }
    // A column that may wrap has a line of its own at worst.
    const std::size_t longest = total > kIndent ? total - kIndent : total;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        widths[i] = m_columns[i].wraps ? std::min(widths[i], longest) : widths[i];
    }
    return widths;
}

// As many columns on a line as it takes; a last one that stays whole alone, unless all are on one.
std::vector<Table::Line> Table::linesFor(const std::vector<std::size_t>& widths,
                                         std::size_t total) const {
    const std::size_t count = widths.size();
    if (total == 0 || count < 2 || !m_columns.back().isWhole || totalOf(widths) <= total) {
        return {{0, count}};
    }
    std::vector<Line> lines = {{0, 1}};
    std::size_t used = widths[0];
    for (std::size_t i = 1; i + 1 < count; ++i) {
        if (used + kGap + widths[i] > total) {
            lines.push_back({i, i});
            used = kIndent - kGap;
        }
        used += kGap + widths[i];
        lines.back().end = i + 1;
    }
    lines.push_back({count - 1, count});
    return lines;
}

std::string Table::line(const std::vector<std::string>& cells,
                        const std::vector<std::size_t>& widths, Line columns) const {
    std::vector<std::vector<std::string>> pieces;
    std::size_t height = 1;
    for (std::size_t i = columns.first; i < columns.end; ++i) {
        pieces.push_back(wrapped(cells[i], m_columns[i].wraps ? widths[i] : columnsOf(cells[i])));
        height = std::max(height, pieces.back().size());
    }
    std::string text;
    for (std::size_t row = 0; row < height; ++row) {
        std::string one(columns.first == 0 ? 0 : kIndent, ' ');
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const std::string cell = row < pieces[i].size() ? pieces[i][row] : std::string();
            const std::size_t width = widths[columns.first + i];
            const std::size_t used = columnsOf(cell);
            const std::string fill(width > used ? width - used : 0, ' ');
            one += m_columns[columns.first + i].rightAligned ? fill + cell : cell + fill;
            one.append(kGap, ' ');
        }
        one.erase(one.find_last_not_of(' ') + 1);
        text += one + "\n";
    }
    return text;
}

std::string Table::block(const std::vector<std::string>& cells,
                         const std::vector<std::size_t>& widths,
                         const std::vector<Line>& lines) const {
    std::string text;
    for (const Line& columns : lines) {
        text += line(cells, widths, columns);
    }
    return text;
}

std::vector<std::string> Table::blocks(const Layout& layout) const {
    const std::vector<std::size_t> widths = widthsFor(layout.width);
    const std::vector<Line> lines = linesFor(widths, layout.width);
    std::vector<std::string> titles;
    for (const Column& column : m_columns) {
        titles.push_back(column.title);
    }
    std::vector<std::string> blocks = {block(titles, widths, lines)};
    for (const auto& row : m_rows) {
        blocks.push_back(block(row, widths, lines));
    }
    return blocks;
}

std::string Table::str(const Layout& layout, bool hasTitles) const {
    const std::vector<std::string> blocks = this->blocks(layout);
    const std::string titles = blocks.front() + m_below.front();
    std::string text = !hasTitles ? "" : layout.colour ? setOff(titles, "\033[1m") : titles;
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        const bool isSetOff = layout.colour && m_tones[i] == Tone::kAlarm;
        text += isSetOff ? setOff(blocks[i + 1], "\033[31m") : blocks[i + 1];
        text += m_below[i + 1];
    }
    return text;
}

}  // namespace cli
