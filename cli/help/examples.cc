#include "cli/help/examples.h"

#include <algorithm>
#include <iterator>

namespace cli::help {
namespace {

struct Example {
    const char* command;
    const char* line;
};

constexpr Example kExamples[] = {
#include "command_examples.inc"
};

}  // namespace

std::string exampleOf(const std::string& command) {
    const auto* const found =
        std::find_if(std::begin(kExamples), std::end(kExamples),
                     [&command](const Example& example) { return command == example.command; });
    return found == std::end(kExamples) ? "" : found->line;
}

}  // namespace cli::help
