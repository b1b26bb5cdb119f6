#include <set>

#include "cli/base/text.h"
#include "cli/common/command.h"
#include "cli/help/catalogue.h"
#include "cli/help/completion.h"
#include "cli/names/catalogue.h"
#include "cli/view/column.h"

namespace cli {
namespace {

using help::Wanted;
using help::Word;

/// What the shells ask while a command line is being typed: a line a word, its summary behind a
/// tab; ":files" where a file is to be named. No disk is asked and nothing is said of what is
/// wrong.
class Complete : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        m_root = &parent;
        CLI::App* const app = parent.add_subcommand("__complete", "For the completion of shells");
        app->add_option("WORDS", m_words, "The words typed so far");
        app->group("");  // not for people
        return app;
    }

    void prepare(Options& options) override {
        m_completion = help::completionOf(help::catalogueOf(*m_root), m_words);
        options.hostFile = m_completion.hostFile;
    }

    Report run(Context& context) override {
        Report report;
        report.data["words"] = Json::array();
        if (m_completion.wanted == Wanted::kFile) {
            report.text = ":files\n";
            return report;
        }
        for (const Word& word : candidates(context)) {
            if (word.text.compare(0, m_completion.typed.size(), m_completion.typed) == 0) {
                report.data["words"].push_back(jsonText(m_completion.prefix + word.text));
                report.text += visible(m_completion.prefix + word.text) +
                               (word.summary.empty() ? "" : "\t" + visible(word.summary)) + "\n";
            }
        }
        return report;
    }

  private:
    std::vector<Word> candidates(const Context& context) const {
        switch (m_completion.wanted) {
            case Wanted::kWords:
                return m_completion.words;
            case Wanted::kColumn:
                return columns();
            case Wanted::kDevice:
            case Wanted::kAddress:
                return devices(context);
            default:
                return {};
        }
    }

    static std::vector<Word> columns() {
        std::vector<Word> words;
        for (const view::Column& column : view::allColumns()) {
            words.push_back({column.name, column.meaning});
        }
        return words;
    }

    // The names that people type: addresses behind a digit, nodes behind a slash or nothing, and
    // what the kernel calls them.
    std::vector<Word> devices(const Context& context) const {
        const names::Catalogue catalogue(context.view());
        const bool withNodes = m_completion.wanted == Wanted::kDevice;
        std::vector<Word> words;
        for (const names::Entry& entry : catalogue.entries()) {
            const std::string address =
                entry.address ? recording::guard::addressText(*entry.address) : std::string();
            if (withNodes) {
                words.push_back({entry.node, address});
                if (!m_completion.typed.empty() && !entry.kernelName.empty()) {
                    words.push_back({entry.kernelName, address});
                }
            }
            if (!address.empty() && (!withNodes || !m_completion.typed.empty())) {
                words.push_back({address, entry.node});
            }
        }
        return words;
    }

    const CLI::App* m_root = nullptr;
    std::vector<std::string> m_words;
    help::Completion m_completion;
};

}  // namespace

std::unique_ptr<Command> makeComplete() {
    return std::make_unique<Complete>();
}

}  // namespace cli
