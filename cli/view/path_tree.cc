#include "cli/view/path_tree.h"

#include <sstream>

namespace cli::view {
namespace {

constexpr const char* kColumns[] = {"address", "device", "state", "initiator",
                                    "target",  "group",  "driver"};
constexpr std::size_t kBranch = 3;  // columns that the lines of the tree take

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> cellsOf(const Row& path) {
    std::vector<std::string> cells;
    for (const char* const name : kColumns) {
        std::string text = findColumn(name)->cellOf(path).text;
        cells.push_back(text.empty() ? "-" : std::move(text));
    }
    return cells;
}

cli::Table emptyTable() {
    std::vector<cli::Column> titles;
    for (const char* const name : kColumns) {
        const Column& column = *findColumn(name);
        titles.push_back({column.heading, column.isRightAligned, column.mayWrap});
    }
    return cli::Table(std::move(titles));
}

// A path with what continues it below.
void addBranch(std::vector<std::string>& lines, const std::string& block, bool isLast) {
    const char* start = isLast ? "`- " : "|- ";
    for (const std::string& line : linesOf(block)) {
        lines.push_back(start + line);
        start = isLast ? "   " : "|  ";
    }
}

}  // namespace

// One table of all paths, so that they stand below each other throughout.
PathTree::PathTree(const std::vector<Row>& rows, const Layout& layout) {
    cli::Table table = emptyTable();
    std::vector<std::size_t> counts;
    for (const Row& row : rows) {
        const std::vector<Row> paths = pathsOf(row);
        counts.push_back(paths.size());
        for (const Row& path : paths) {
            table.addRow(cellsOf(path));
        }
    }
    const Layout narrower = {layout.width > kBranch ? layout.width - kBranch : 0, false};
    const std::vector<std::string> blocks = table.blocks(narrower);
    for (const std::string& line : linesOf(blocks.front())) {
        m_titles.push_back(std::string(kBranch, ' ') + line);
    }
    std::size_t next = 1;
    for (const std::size_t count : counts) {
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < count; ++i) {
            addBranch(lines, blocks[next++], i + 1 == count);
        }
        m_below.push_back(std::move(lines));
    }
}

const std::vector<std::string>& PathTree::below(std::size_t row) const {
    static const std::vector<std::string> kNothing;
    return m_below.empty() ? kNothing : m_below[row];
}

}  // namespace cli::view
