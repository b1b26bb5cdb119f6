#include "cli/command_line.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

#include "cli/base/failure.h"
#include "cli/help/catalogue.h"
#include "cli/help/examples.h"

namespace cli {
namespace {

constexpr unsigned kHighestLevel = 9;
constexpr unsigned kMostJobs = 1024;
constexpr unsigned kLongestDeadline = 3600;
// The kernel's ways for a command, by the names of its ioctls.
constexpr char kSendCommand[] = "send_command";
constexpr char kSgIo[] = "sg_io";

// The option's own message would not say all that is wrong with "x", "-1" or "1.5".
CLI::Validator numberFrom(unsigned lowest, unsigned highest, const std::string& option) {
    const auto refuse = [=](const std::string& text) {
        unsigned number = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, number);
        if (error != std::errc() || stop != end || number < lowest || number > highest) {
            throw UsageError(option + " " + text + ": expected a number from " +
                             std::to_string(lowest) + " to " + std::to_string(highest));
        }
        return std::string();
    };
    return CLI::Validator(refuse, "");
}

std::string refuseUnknownWay(const std::string& way) {
    if (way != kSendCommand && way != kSgIo) {
        throw UsageError("--transport " + way + ": expected " + kSendCommand + " or " + kSgIo);
    }
    return {};
}

void declareOptions(CLI::App& app, Request& request) {
    Options& options = request.options;
    app.add_option("--host", options.hostFile,
                   "Work on a recorded host instead of this machine (- is standard "
                   "input)")
        ->type_name("FILE");
    app.add_option("--journal", options.journalFile,
                   "Append every effect on the host to FILE, one JSON object a line (- is "
                   "standard error)")
        ->type_name("FILE");
    app.add_flag("--dry-run", options.dryRun, "Show the effects in order, carry out none");
    CLI::Option* const trace =
        app.add_option("--trace", options.traceLevel,
                       "Write trace lines up to LEVEL (1 errors ... 6 detail, 8 operator)")
            ->type_name("LEVEL")
            ->check(numberFrom(1, kHighestLevel, "--trace"));
    app.add_option("--trace-file", options.traceFile,
                   "Where trace lines go (default - is standard error)")
        ->type_name("FILE")
        ->needs(trace);
    app.add_flag("--trace-time", options.traceTime, "Put time and process in front of trace lines")
        ->needs(trace);
    app.add_option("--jobs", options.jobs, "Ask N disks side by side (1 to 1024, default 16)")
        ->type_name("N")
        ->check(numberFrom(1, kMostJobs, "--jobs"));
    app.add_option("--deadline", options.deadline,
                   "Give up a disk that has not answered in SECONDS (default 10; 0 never)")
        ->type_name("SECONDS")
        ->check(numberFrom(0, kLongestDeadline, "--deadline"));
    app.add_option_function<std::string>(
           "--transport",
           [&request](const std::string& way) { request.sendsBySgIo = way == kSgIo; },
           "Send INQUIRY by WAY on this machine: send_command (the ioctl, default) or sg_io")
        ->type_name("WAY")
        ->check(CLI::Validator(refuseUnknownWay, ""));
    app.add_flag("--json", options.json, "Print one JSON document");
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) {
        if (!command->get_group().empty()) {
            names.push_back(command->get_name());
        }
    }
    return names;
}

void addLongNames(std::vector<std::string>& names, const CLI::App& app) {
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
}

// A word that nothing of the command line takes, and what it may have been meant for.
std::string unexpected(const std::string& word, const CLI::App& app,
                       const std::vector<CLI::App*>& chosen) {
    if (word[0] != '-') {
        return "unexpected argument '" + word + "'";
    }
    std::vector<std::string> names;
    addLongNames(names, app);
    for (const CLI::App* command : chosen) {
        addLongNames(names, *command);
    }
    return "unknown option '" + word + "'" +
           help::suggestion(word.substr(0, word.find('=')), names);
}

// What takes no argument has a result too, which is never empty.
void demandArguments(const CLI::App& app) {
    if (app.get_group().empty()) {
        return;  // asked by a shell: nobody has typed that word yet
    }
    for (const CLI::Option* const option : app.get_options()) {
        for (const std::string& argument : option->results()) {
            if (argument.empty()) {
                throw UsageError(
                    "the argument " + option->get_name() + " is empty; see 'scsitool " +
                    (app.get_parent() == nullptr ? "" : app.get_name() + " ") + "--help'");
            }
        }
    }
    for (const CLI::App* const chosen : app.get_subcommands()) {
        demandArguments(*chosen);
    }
}

// A message of the parser speaks of its own terms; what a user gets wrong most is said plainly.
std::string explained(const CLI::ParseError& error, const CLI::App& app) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    if (chosen.empty()) {
        const std::vector<std::string> unknown = app.remaining();
        const auto word = std::find_if(unknown.begin(), unknown.end(),
                                       [](const std::string& text) { return text[0] != '-'; });
        if (word != unknown.end()) {
            return "unknown command '" + *word + "'" + help::suggestion(*word, commandNames(app)) +
                   "; 'scsitool help' lists the commands";
        }
        if (error.get_name() == "RequiredError") {
            return unknown.empty() ? "no command given; 'scsitool help' lists the commands"
                                   : unexpected(unknown.front(), app, chosen) +
                                         "; 'scsitool help' lists the options";
        }
    }
    const std::vector<std::string> left = app.remaining(true);
    const bool isExtra = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    std::string text =
        isExtra && !left.empty() ? unexpected(left.front(), app, chosen) : error.what();
    text.erase(text.find_last_not_of(" \n.") + 1);
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text + "; see 'scsitool " + (chosen.empty() ? "" : chosen.front()->get_name() + " ") +
           "--help'";
}

}  // namespace

std::string versionText() {
    return SCSITOOL_VERSION;
}

Request readCommandLine(const CommandList& commands, const std::vector<std::string>& arguments) {
    Request request;
    request.app = std::make_unique<CLI::App>(
        "Shows a host's SCSI disks under identifiers that stay the same across hosts, "
        "paths and reboots, and makes the host see or forget disks.",
        "scsitool");
    CLI::App& app = *request.app;
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("-V,--version", "scsitool " + versionText());
    declareOptions(app, request);
    app.footer("Example:\n  scsitool volumes");
    std::vector<std::pair<CLI::App*, Command*>> declared;
    for (const auto& command : commands) {
        CLI::App* const added = command->declare(app);
        const std::string example = help::exampleOf(added->get_name());
        if (!example.empty()) {
            added->footer("Example:\n  " + example);
        }
        declared.emplace_back(added, command.get());
    }
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        request.text = app.help();
        return request;
    } catch (const CLI::CallForVersion& version) {
        request.text = std::string(version.what()) + "\n";
        return request;
    } catch (const CLI::ParseError& error) {
        throw UsageError(explained(error, app));
    }
    demandArguments(app);
    for (const auto& [parsed, command] : declared) {
        if (parsed->parsed()) {
            request.command = command;
            command->prepare(request.options);
        }
    }
    return request;
}

}  // namespace cli
