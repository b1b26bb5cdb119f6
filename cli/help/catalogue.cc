#include "cli/help/catalogue.h"

#include "cli/help/examples.h"

namespace cli::help {
namespace {

Json namesOf(const CLI::Option& option) {
    Json names = Json::array();
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

// An option's value by the word that stands for it; null for a flag.
Json valueOf(const CLI::Option& option) {
    return option.get_items_expected_max() == 0 ? Json(nullptr) : Json(option.get_type_name());
}

Json optionsOf(const CLI::App& app) {
    Json options = Json::array();
    for (const CLI::Option* option : app.get_options()) {
        if (option->nonpositional()) {
            options.push_back({{"names", namesOf(*option)},
                               {"value", valueOf(*option)},
                               {"summary", option->get_description()}});
        }
    }
    return options;
}

Json argumentsOf(const CLI::App& app) {
    Json arguments = Json::array();
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) {
            arguments.push_back({{"name", option->get_name(true)},
                                 {"required", option->get_required()},
                                 {"many", option->get_items_expected_max() > 1},
                                 {"summary", option->get_description()}});
        }
    }
    return arguments;
}

Json commandsOf(const CLI::App& app);

Json commandOf(const CLI::App& app) {
    // Of those below another command the document shows none by name.
    const bool isBelow = app.get_parent()->get_parent() != nullptr;
    const std::string example = isBelow ? "" : exampleOf(app.get_name());
    return {{"name", app.get_name()},
            {"summary", app.get_description()},
            {"options", optionsOf(app)},
            {"arguments", argumentsOf(app)},
            {"example", example.empty() ? Json(nullptr) : Json(example)},
            {"commands", commandsOf(app)}};
}

Json commandsOf(const CLI::App& app) {
    Json commands = Json::array();
    for (const CLI::App* command : app.get_subcommands({})) {
        if (!command->get_group().empty()) {  // else it is not for people
            commands.push_back(commandOf(*command));
        }
    }
    return commands;
}

}  // namespace

Json catalogueOf(const CLI::App& app) {
    return {{"summary", app.get_description()},
            {"options", optionsOf(app)},
            {"commands", commandsOf(app)}};
}

}  // namespace cli::help
