#include "cli/common/interrupted.h"

#include <fmt/format.h>

#include <csignal>
#include <string>
#include <vector>

#include "cli/base/text.h"
#include "cli/common/acting.h"

namespace cli {
namespace {

std::string nameOf(int signal) {
    switch (signal) {
        case SIGINT:
            return "SIGINT";
        case SIGTERM:
            return "SIGTERM";
        case SIGHUP:
            return "SIGHUP";
        default:
            return "signal " + std::to_string(signal);
    }
}

std::string writeText(const AppendEffect& effect) {
    const bool failed = effect.result.openError != 0 || effect.result.writeError != 0;
    return std::string(failed ? "failed to write \"" : "wrote \"") + visible(effect.data) +
           "\" to " + visible(effect.path);
}

std::string doneUntilThen(const Context& context) {
    std::vector<std::string> effects;
    if (!context.options.dryRun) {
        for (const AppendEffect& effect : context.host().appends()) {
            effects.push_back(writeText(effect));
        }
        for (const CommandEffect& effect : context.host().commands()) {
            if (!host::isReadCommand(effect.command)) {
                effects.push_back(endingText(effect));
            }
        }
    }
    return effects.empty() ? "nothing had been done"
                           : fmt::format("done until then: {}", fmt::join(effects, "; "));
}

}  // namespace

Report interruptedReport(int signal, const Context& context) {
    Report report;
    addEffects(report, context);
    report.text.clear();
    report.failure = "interrupted by " + nameOf(signal) + "; " + doneUntilThen(context);
    return report;
}

}  // namespace cli
