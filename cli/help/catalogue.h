#ifndef SCSITOOL_CLI_HELP_CATALOGUE_H
#define SCSITOOL_CLI_HELP_CATALOGUE_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/output/report.h"

namespace cli::help {

/// What the command line knows of itself, for manuals and for the completion of shells: `options`
/// of every command, and `commands`, each with `name`, `summary`, `options`, `arguments`, `example`
/// and the `commands` below it.
Json catalogueOf(const CLI::App& app);

/// The words of `known` that a user may have meant by `word`: at most two letters are missing, too
/// many, wrong or swapped, or it is their beginning. The nearest first.
std::vector<std::string> meantBy(const std::string& word, const std::vector<std::string>& known);

/// " (did you mean 'devices'?)", or nothing.
std::string suggestion(const std::string& word, const std::vector<std::string>& known);

}  // namespace cli::help

#endif
