#ifndef SCSITOOL_CLI_COMMON_LINES_OPTION_H
#define SCSITOOL_CLI_COMMON_LINES_OPTION_H

#include <CLI/CLI.hpp>
#include <string>

#include "cli/base/options.h"
#include "cli/common/context.h"
#include "cli/output/report.h"

namespace cli {

/// A JSON value on a line of its own.
std::string lineOf(const Json& value);

/// The option --ndjson: a list as one object a line, for programs that read hosts by the thousand.
class LinesOption {
  public:
    void declare(CLI::App& app);
    bool isWanted() const { return m_isWanted; }

    /// Throws UsageError where one document is wanted, too.
    void demandAlone(const Options& options) const;

    /// Adds the host's name to a report's document and, where lines are wanted, puts lists of the
    /// document in the place of the text: each entry with the host and the time in front of its
    /// members.
    void finish(Report& report, const Context& context,
                const std::vector<std::string>& lists) const;

  private:
    bool m_isWanted = false;
};

}  // namespace cli

#endif
