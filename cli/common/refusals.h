#ifndef SCSITOOL_CLI_COMMON_REFUSALS_H
#define SCSITOOL_CLI_COMMON_REFUSALS_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/common/context.h"
#include "cli/output/report.h"
#include "recording/guard/refusal.h"

namespace cli {

/// The option --force, which every command with effects takes.
class ForceOption {
  public:
    void declare(CLI::App& app);
    /// Takes the guard out when the option was given.
    void apply(const Context& context) const;
    bool isGiven() const { return m_isGiven; }

  private:
    bool m_isGiven = false;
};

/// Refusals as a list for the JSON document.
Json refusalsJson(const std::vector<recording::Refusal>& refusals);

/// Makes the report of a command say what the guard refused: the member "refused", a remark for
/// each device, and as failure what was done besides. A report without refusals stays as it is.
void addRefusals(Report& report, const Context& context);

/// Adds what an effect that was let pass left in place by itself, because it is in use: the member
/// "kept", and a line for each.
void addKept(Report& report, const Context& context);

}  // namespace cli

#endif
