#ifndef SCSITOOL_CLI_VIEW_CELLS_H
#define SCSITOOL_CLI_VIEW_CELLS_H

#include <string>
#include <utility>
#include <vector>

#include "cli/view/column.h"

/// What the columns make their cells with.
namespace cli::view {

inline const picture::Device& deviceAt(const Row& row, std::size_t place) {
    return row.scene->picture.devices[place];
}

inline const DeviceFacts& factsAt(const Row& row, std::size_t place) {
    return row.scene->facts[place];
}

inline const picture::Device& leader(const Row& row) {
    return deviceAt(row, row.leader);
}

/// Each of the texts once, in natural order.
Cell together(std::vector<std::string> texts);

/// What each device tells.
template <class Text>
Cell ofEach(const Row& row, Text textOf) {
    std::vector<std::string> texts;
    for (const std::size_t place : row.devices) {
        texts.push_back(textOf(deviceAt(row, place), factsAt(row, place)));
    }
    return together(std::move(texts));
}

/// What holds for the volume is told by its leading device that tells it.
template <class Text>
Cell ofFirst(const Row& row, Text textOf) {
    std::string text = textOf(leader(row), factsAt(row, row.leader));
    for (std::size_t i = 0; text.empty() && i < row.devices.size(); ++i) {
        text = textOf(deviceAt(row, row.devices[i]), factsAt(row, row.devices[i]));
    }
    return {std::move(text), {}};
}

/// The columns of what is read only when it is shown.
const std::vector<Column>& detailColumns();

}  // namespace cli::view

#endif
