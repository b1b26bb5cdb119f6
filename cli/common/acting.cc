#include "cli/common/acting.h"

#include <sys/wait.h>

#include "cli/base/text.h"

namespace cli {
namespace {

Json commandJson(const CommandEffect& effect) {
    Json json = {{"command", jsonText(effect.command)}};
    const host::CommandResult& result = effect.result;
    if (result.timedOut) {
        json["timed_out"] = true;
    } else if (WIFSIGNALED(result.waitStatus)) {
        json["signal"] = WTERMSIG(result.waitStatus);
    } else {
        json["exit_status"] = WEXITSTATUS(result.waitStatus);
    }
    json["output"] = Json::array();
    for (const std::string& line : result.lines) {
        json["output"].push_back(jsonText(line));
    }
    if (effect.linesLeftOut != 0) {
        json["lines_left_out"] = effect.linesLeftOut;
    }
    return json;
}

}  // namespace

void addEffects(Report& report, const Context& context) {
    if (context.options.dryRun) {
        return;
    }
    Json commands = Json::array();
    for (const CommandEffect& effect : context.host().commands()) {
        commands.push_back(commandJson(effect));
        if (!host::isReadCommand(effect.command) && !isRefused(effect)) {
            for (const std::string& line : effect.result.lines) {
                report.text += visible(line, true) + "\n";
            }
            if (effect.linesLeftOut != 0) {
                report.text += "(" + std::to_string(effect.linesLeftOut) + " more lines)\n";
            }
        }
    }
    Json writes = Json::array();
    for (const AppendEffect& effect : context.host().appends()) {
        const int error =
            effect.result.openError != 0 ? effect.result.openError : effect.result.writeError;
        writes.push_back(
            {{"path", jsonText(effect.path)}, {"data", jsonText(effect.data)}, {"errno", error}});
    }
    report.data["commands"] = commands;
    report.data["writes"] = writes;
}

std::string failedCommand(const WatchedHost& host) {
    for (const CommandEffect& effect : host.commands()) {
        if (!host::isReadCommand(effect.command) && !succeeded(effect)) {
            return endingText(effect);
        }
    }
    return {};
}

std::string scriptFailure(const WatchedHost& host) {
    const std::string failed = failedCommand(host);
    return !failed.empty()
               ? failed
               : "rescan-scsi-bus.sh is neither in /bin nor in /usr/bin: install sg3-utils";
}

}  // namespace cli
