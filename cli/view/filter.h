#ifndef SCSITOOL_CLI_VIEW_FILTER_H
#define SCSITOOL_CLI_VIEW_FILTER_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/view/column.h"

namespace cli::view {

/// The options that leave rows out of a view.
class Filter {
  public:
    void declare(CLI::App& app);

    bool takes(const Row& row) const;
    /// What was asked for, for a message: "--vendor EMC --unused"; empty without any.
    std::string text() const;

  private:
    struct Pattern {
        const char* option;
        const char* column;
        std::string glob;
    };
    static bool fits(const Pattern& pattern, const Row& row);

    // Not a vector: CLI11 keeps the addresses of the texts.
    Pattern m_patterns[5] = {{"--vendor", "vendor", {}},
                             {"--product", "product", {}},
                             {"--array", "array", {}},
                             {"--lun", "lun", {}},
                             {"--udid", "udid", {}}};
    bool m_isUsed = false;
    bool m_isUnused = false;
};

}  // namespace cli::view

#endif
