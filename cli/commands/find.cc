#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/names/all_names.h"
#include "cli/names/resolver.h"
#include "cli/picture/enumeration.h"

namespace cli {
namespace {

class Find : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("find", "Show every name that a device has, by any of them");
        app->add_option("NAME", m_word,
                        "A node, kernel name, map, address, link, WWN, mount point, or a part of "
                        "a UDID")
            ->required();
        return app;
    }

    Report run(Context& context) override {
        const std::string node = names::deviceNamed(context, m_word);
        picture::Enumeration enumeration(context);
        askAhead(context, node, interviews::udid());
        enumeration.run(false, node, "");
        const picture::Picture picture = enumeration.picture();
        names::Catalogue catalogue(context.view());
        Report report;
        report.data["name"] = jsonText(node);
        report.data["names"] = Json::array();
        if (picture.devices.empty() && catalogue.entryOf(node) == nullptr) {
            report.failure = whyNotFound(context, node);
            return report;
        }
        Table table({{"KIND"}, {"NAME"}});
        for (const names::Name& name : names::allNames(catalogue, picture, node)) {
            table.addRow({name.kind, name.text});
            report.data["names"].push_back({{"kind", name.kind}, {"name", jsonText(name.text)}});
        }
        report.text = table.str(context.layout);
        report.doubts = picture::doubtsOf(picture, enumeration.hint());
        return report;
    }

  private:
    std::string m_word;
};

}  // namespace

std::unique_ptr<Command> makeFind() {
    return std::make_unique<Find>();
}

}  // namespace cli
