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
};

/// How a row is set off on a terminal with colour.
enum class Tone { kPlain, kAlarm };

/// A table of text: one line of titles, then the rows. Nothing is cut: what does not fit the width
/// is continued below, in the columns that may wrap. A cell's control characters are escaped.
class Table {
  public:
    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    /// One cell a column.
    void addRow(const std::vector<std::string>& cells, Tone tone = Tone::kPlain);
    std::string str(const Layout& layout) const;

  private:
    std::vector<std::size_t> widthsFor(std::size_t total) const;
    std::string line(const std::vector<std::string>& cells,
                     const std::vector<std::size_t>& widths) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
    std::vector<Tone> m_tones;  // of the rows
};

}  // namespace cli

#endif
