#include "cli/common/acting.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstring>

#include "cli/base/text.h"
#include "cli/common/packages.h"
#include "cli/output/printed_line.h"
#include "cli/prune/look.h"

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

constexpr const char* kScripts[] = {"/bin/rescan-scsi-bus.sh", "/usr/bin/rescan-scsi-bus.sh"};
// What has the driver of a 2.4 kernel's adapter look for targets.
constexpr const char* kAdapterScan = "scsi-qlascan\n";
const std::string kNotComplete = "the rescan is not complete: ";

bool isEffect(const CommandEffect& effect) {
    return !host::isReadCommand(effect.command);
}

bool isScript(const CommandEffect& effect) {
    return effect.command.find("/rescan-scsi-bus.sh ") != std::string::npos;
}

// By which the rescan of a 2.4 kernel finds the adapters: what is not listed is not rescanned.
bool isAdapterList(const CommandEffect& effect) {
    return effect.command.find("/bin/ls /proc/scsi") == 0;
}

bool scansByItself(const Context& context) {
    return context.hosts.aside().kernelRelease().compare(0, 4, "2.4.") == 0;
}

std::string whyNoScript(const Context& context) {
    const HostView view = context.view();
    for (const char* const script : kScripts) {
        if (view.isUntold(script)) {
            return noAnswerFor(script);
        }
    }
    return std::string("rescan-scsi-bus.sh is neither in /bin nor in /usr/bin; ") +
           howToInstall(kScripts[0]);
}

// The multipath layer of a host without maps and without its tools has nothing to refresh.
bool isWithoutMaps(const Context& context, const CommandEffect& effect) {
    constexpr const char* kMultipath = "/sbin/multipath";
    const HostView view = context.view();
    return effect.command.find(std::string(kMultipath) + " ") == 0 && couldNotStart(effect) &&
           !view.isUntoldCommand(effect.command) &&
           prune::findMaps({view.host, view.isRecorded()}).list.empty();
}

}  // namespace

void addEffects(Report& report, const Context& context) {
    if (context.options.dryRun) {
        return;
    }
    Json commands = Json::array();
    for (const CommandEffect& effect : context.host().commands()) {
        commands.push_back(commandJson(effect));
        if (!host::isReadCommand(effect.command) && !effect.isRefused) {
            for (const std::string& line : effect.result.lines) {
                if (const auto printed = printedLine(line)) {
                    report.text += visible(*printed, true) + "\n";
                }
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

std::string failureText(const Context& context, const CommandEffect& effect) {
    const HostView view = context.view();
    if (view.isUntoldCommand(effect.command)) {
        return noAnswerFor("the command " + visible(effect.command));
    }
    const std::string program = effect.command.substr(0, effect.command.find(' '));
    if (couldNotStart(effect) && !view.host.pathExists(program)) {
        const std::string remedy = howToInstall(program);
        return "there is no " + visible(program) + (remedy.empty() ? "" : "; " + remedy);
    }
    return endingText(effect);
}

std::string failedCommand(const Context& context) {
    for (const CommandEffect& effect : context.host().commands()) {
        if (!host::isReadCommand(effect.command) && !succeeded(effect)) {
            return failureText(context, effect);
        }
    }
    return {};
}

std::string scriptFailure(const Context& context) {
    const std::string failed = failedCommand(context);
    return failed.empty() ? whyNoScript(context) : failed;
}

void addRescanDoubts(Report& report, const Context& context) {
    const auto& commands = context.host().commands();
    for (const CommandEffect& effect : commands) {
        if (isAdapterList(effect) && !succeeded(effect)) {
            report.doubts.push_back(kNotComplete + failureText(context, effect));
        }
    }
    for (const AppendEffect& scan : context.host().appends()) {
        const int error =
            scan.result.openError != 0 ? scan.result.openError : scan.result.writeError;
        if (error != 0 && scan.data == kAdapterScan) {
            report.doubts.push_back(kNotComplete + visible(scan.path) + ": " +
                                    std::strerror(error));
        }
    }
    const bool hasRescanned = std::any_of(commands.begin(), commands.end(), isEffect);
    const bool hasRunScript = std::any_of(commands.begin(), commands.end(), isScript);
    if (context.options.dryRun || !hasRescanned) {
        return;
    }
    if (!hasRunScript && !scansByItself(context)) {
        report.doubts.push_back(kNotComplete + whyNoScript(context));
    }
    for (const CommandEffect& effect : commands) {
        if (isEffect(effect) && !succeeded(effect) && !effect.isRefused &&
            !isWithoutMaps(context, effect)) {
            report.doubts.push_back(kNotComplete + failureText(context, effect));
        }
    }
}

}  // namespace cli
