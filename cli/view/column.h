#ifndef SCSITOOL_CLI_VIEW_COLUMN_H
#define SCSITOOL_CLI_VIEW_COLUMN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/view/scene.h"

namespace cli::view {

/// What a row of a view is of: a volume with all that carries it, or one device.
struct Row {
    const Scene* scene = nullptr;
    std::vector<std::size_t> devices;  ///< places in the scene's list of devices
    std::size_t leader = 0;            ///< of these the one that stands for them
    std::size_t volume = kNoVolume;    ///< of the row, or that the device belongs to
    bool isVolume = false;
};

/// What a column shows of a row, and by what rows are sorted: by the number where there is one,
/// else by the text in natural order. An empty text is shown as "-" and goes last.
struct Cell {
    std::string text;
    std::optional<std::uint64_t> number;
};

/// One column that any view may have.
struct Column {
    const char* name;  ///< as -o and --sort take it
    const char* heading;
    const char* meaning;  ///< one line, for -o help
    bool isRightAligned;
    bool mayWrap;
    Cell (*cellOf)(const Row& row);
};

/// All columns, in the order in which -o help lists them.
const std::vector<Column>& allColumns();

/// The column of a name, whatever its case; null for none.
const Column* findColumn(const std::string& name);

/// The rows of a volume's disks, in natural order: its paths.
std::vector<Row> pathsOf(const Row& volume);

/// Tells whether something is wrong with a row's state.
bool isRemarkable(const Row& row);

/// Tells whether a row is in a contradiction that may cost data.
bool isAlarming(const Row& row);

}  // namespace cli::view

#endif
