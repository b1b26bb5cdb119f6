#ifndef SCSITOOL_CLI_OUTPUT_TABLE_H
#define SCSITOOL_CLI_OUTPUT_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

namespace cli {

/// What output for people is laid out for.
struct Layout {
    std::size_t width = 0;  ///< columns of the terminal, 0 for no limit
    bool colour = false;
};

/// One column of a table.
struct Column {
    std::string title;
    bool rightAligned = false;
    bool wraps = false;  ///< its cells may be continued on further lines when the width is short
    /// Of the last column: its cells stay whole, so that a person can copy them. Where the width is
    /// short each stands on a line of its own, and what else does not fit on lines before it.
    bool isWhole = false;
};

/// How a row is set off on a terminal with colour.
enum class Tone { kPlain, kAlarm };

/// A table of text: one line of titles, then the rows. Nothing is cut: what does not fit the width
/// is continued below, in the columns that may wrap. A cell's control characters are escaped.
class Table {
  public:
    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)), m_below(1) {}

    /// One cell a column.
    void addRow(const std::vector<std::string>& cells, Tone tone = Tone::kPlain);
    /// Lines that belong to the last row, or to the titles where there is no row yet. They stand
    /// below it as they are.
    void addBelow(const std::vector<std::string>& lines);
    std::string str(const Layout& layout, bool hasTitles = true) const;
    /// The same without what stands below: the lines of the titles, then those of each row.
    std::vector<std::string> blocks(const Layout& layout) const;

  private:
    /// The columns of one line of a row: the first and the one behind the last.
    struct Line {
        std::size_t first;
        std::size_t end;
    };

    std::vector<std::size_t> widthsFor(std::size_t total) const;
    std::vector<Line> linesFor(const std::vector<std::size_t>& widths, std::size_t total) const;
    std::string line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths,
                     Line columns) const;
    std::string block(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths,
                      const std::vector<Line>& lines) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
    std::vector<Tone> m_tones;         // of the rows
    std::vector<std::string> m_below;  // of the titles, then of the rows
};

}  // namespace cli

#endif
