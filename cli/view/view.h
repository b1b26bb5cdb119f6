#ifndef SCSITOOL_CLI_VIEW_VIEW_H
#define SCSITOOL_CLI_VIEW_VIEW_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/output/report.h"
#include "cli/output/table.h"
#include "cli/view/filter.h"

namespace cli::view {

using Rows = std::vector<Row>;

/// One row a volume.
Rows volumeRows(const Scene& scene);
/// One row a device; nodes that hold nothing are left out.
Rows deviceRows(const Scene& scene);

/// How a person wants a table: the options that all views take, and what they make of rows.
class View {
  public:
    /// The columns that are shown without -o. `state` among those of `whereRemarkable` is left out
    /// where nothing is wrong with any row.
    View(std::vector<std::string> columns, bool hidesStateThatIsWell);

    void declare(CLI::App& app);

    /// Throws UsageError for a column that there is not. To be called before a host is asked.
    void demandColumns() const;
    /// -o help was given: `columnHelp` is all that is wanted.
    bool wantsHelp() const;
    static Report columnHelp();

    /// Leaves out what the filters do not take, and sorts the rest.
    Rows chosen(Rows rows) const;
    /// Adds the facts to the entries of a list of devices in JSON, and takes out those that the
    /// filters left out.
    void addFacts(Json& devices, const Scene& scene, const Rows& rows) const;
    /// The rows as a table; with `withPaths` each with the paths below it.
    std::string text(const Rows& rows, const Layout& layout, bool withPaths = false) const;
    /// Why there is no row, where the filters left none of some: a failure. Empty otherwise.
    std::string whyEmpty(const Rows& all, const Rows& taken, const std::string& what) const;

  private:
    std::vector<const Column*> columnsFor(const Rows& rows) const;

    std::vector<std::string> m_default;
    bool m_hidesStateThatIsWell;
    std::string m_wanted;
    std::string m_sort;
    bool m_isReversed = false;
    bool m_hasNoTitles = false;
    Filter m_filter;
};

}  // namespace cli::view

#endif
