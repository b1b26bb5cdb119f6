#ifndef SCSITOOL_CLI_COMMON_WAIT_OPTION_H
#define SCSITOOL_CLI_COMMON_WAIT_OPTION_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/common/context.h"
#include "cli/output/report.h"

namespace cli {

/// The options --wait and --timeout of commands behind which a volume is to be there: for scripts
/// that go on with it.
class WaitOption {
  public:
    void declare(CLI::App& app);

    /// Waits for the volume, where one is waited for, and adds what came of it to a report: a
    /// failure when it did not appear. Between two looks the process sleeps and holds nothing, the
    /// rescan lock neither. There is nothing to wait for in a dry run.
    void addTo(Report& report, const Context& context) const;

  private:
    std::vector<std::string> waitFor(const Context& context) const;

    std::string m_udid;
    unsigned m_seconds = 30;
};

}  // namespace cli

#endif
