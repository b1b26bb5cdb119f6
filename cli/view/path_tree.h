#ifndef SCSITOOL_CLI_VIEW_PATH_TREE_H
#define SCSITOOL_CLI_VIEW_PATH_TREE_H

#include <string>
#include <vector>

#include "cli/output/table.h"
#include "cli/view/column.h"

namespace cli::view {

/// The paths below the rows of a view, as lines of a tree with columns of their own.
class PathTree {
  public:
    /// Nothing below any row.
    PathTree() = default;
    PathTree(const std::vector<Row>& rows, const Layout& layout);

    const std::vector<std::string>& titles() const { return m_titles; }
    /// The lines below a row, by its place.
    const std::vector<std::string>& below(std::size_t row) const;

  private:
    std::vector<std::string> m_titles;
    std::vector<std::vector<std::string>> m_below;
};

}  // namespace cli::view

#endif
