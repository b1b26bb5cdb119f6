#include "cli/base/failure.h"
#include "cli/common/command.h"
#include "cli/help/catalogue.h"

namespace cli {
namespace {

class Help : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        m_root = &parent;
        CLI::App* const app = parent.add_subcommand("help", "Show what a command is good for");
        app->add_option("COMMAND", m_names, "The command; all of them without one");
        return app;
    }

    Report run(Context& /*context*/) override {
        const CLI::App* app = m_root;
        std::string words = m_root->get_name();
        for (const std::string& name : m_names) {
            app = below(*app, name);
            words += " " + name;
        }
        Report report;
        report.data["help"] = help::catalogueOf(*m_root);
        // The one that was given on the command line, this one, would put itself forward in help().
        report.text = app->get_formatter()->make_help(app, words, CLI::AppFormatMode::Normal);
        return report;
    }

  private:
    static const CLI::App* below(const CLI::App& app, const std::string& name) {
        std::vector<std::string> names;
        for (const CLI::App* command : app.get_subcommands({})) {
            if (command->get_name() == name) {
                return command;
            }
            names.push_back(command->get_name());
        }
        throw UsageError("there is no command '" + name + "'" + help::suggestion(name, names) +
                         "; 'scsitool help' lists the commands");
    }

    const CLI::App* m_root = nullptr;
    std::vector<std::string> m_names;
};

}  // namespace

std::unique_ptr<Command> makeHelp() {
    return std::make_unique<Help>();
}

}  // namespace cli
