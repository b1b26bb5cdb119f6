#include "cli/help/completion.h"

#include <algorithm>

namespace cli::help {
namespace {

// What a value or an argument is by the word that stands for it in the help.
Wanted kindOf(const std::string& name) {
    if (name.find("FILE") != std::string::npos) {
        return Wanted::kFile;
    }
    if (name.find("COLUMN") != std::string::npos) {
        return Wanted::kColumn;
    }
    if (name == "ADDRESS") {
        return Wanted::kAddress;
    }
    return name == "NAME" || name == "PATH" ? Wanted::kDevice : Wanted::kNothing;
}

const Json* findNamed(const Json& list, const std::string& name) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&name](const Json& one) { return one.at("name") == name; });
    return found == list.end() ? nullptr : &*found;
}

bool hasName(const Json& option, const std::string& name) {
    const Json& names = option.at("names");
    return std::find(names.begin(), names.end(), name) != names.end();
}

class Reader {
  public:
    explicit Reader(const Json& catalogue) : m_root(catalogue), m_node(&catalogue) {}

    void read(const std::vector<std::string>& words) {
        for (std::size_t i = 0; i + 1 < words.size(); ++i) {
            pass(words[i]);
        }
        const std::string last = words.empty() ? std::string() : words.back();
        const std::size_t equals = last.find('=');
        if (m_option != nullptr) {
            wantValue(*m_option, "", last);
        } else if (last.compare(0, 1, "-") == 0 && equals != std::string::npos) {
            const Json* const option = optionOf(last.substr(0, equals));
            if (option != nullptr) {
                wantValue(*option, last.substr(0, equals + 1), last.substr(equals + 1));
            }
        } else if (last.compare(0, 1, "-") == 0 && !m_onlyArguments) {
            want(Wanted::kWords, "", last);
            addOptions(*m_node);
            if (m_node != &m_root) {
                addOptions(m_root);
            }
        } else {
            wantArgument(last);
        }
    }

    Completion take() { return std::move(m_completion); }

  private:
    // A word that stands already.
    void pass(const std::string& word) {
        if (m_option != nullptr) {
            keepHost(*m_option, word);
            m_option = nullptr;
        } else if (word == "--") {
            m_onlyArguments = true;
        } else if (word.size() > 1 && word[0] == '-' && !m_onlyArguments) {
            const std::size_t equals = word.find('=');
            const Json* const option = optionOf(word.substr(0, equals));
            if (option != nullptr && equals != std::string::npos) {
                keepHost(*option, word.substr(equals + 1));
            } else if (option != nullptr && !option->at("value").is_null()) {
                m_option = option;
            }
        } else {
            passArgument(word);
        }
    }

    void passArgument(const std::string& word) {
        const Json* const below = findNamed(m_node->at("commands"), word);
        if (below == nullptr) {
            ++m_arguments;
            return;
        }
        m_completion.command = m_node == &m_root ? word : m_completion.command;
        m_node = below;
    }

    void keepHost(const Json& option, const std::string& value) {
        if (hasName(option, "--host")) {
            m_completion.hostFile = value;
        }
    }

    const Json* optionOf(const std::string& name) const {
        for (const Json* node : {m_node, &m_root}) {
            for (const Json& option : node->at("options")) {
                if (hasName(option, name)) {
                    return &option;
                }
            }
        }
        return nullptr;
    }

    void want(Wanted wanted, const std::string& prefix, const std::string& typed) {
        m_completion.wanted = wanted;
        m_completion.prefix = prefix;
        m_completion.typed = typed;
    }

    void wantValue(const Json& option, const std::string& prefix, const std::string& typed) {
        const Json& value = option.at("value");
        const Wanted wanted = value.is_null() ? Wanted::kNothing : kindOf(value.get<std::string>());
        // Of a list the last one is being typed.
        const std::size_t comma = wanted == Wanted::kColumn ? typed.rfind(',') : std::string::npos;
        const std::size_t kept = comma == std::string::npos ? 0 : comma + 1;
        want(wanted, prefix + typed.substr(0, kept), typed.substr(kept));
    }

    void wantArgument(const std::string& typed) {
        want(Wanted::kWords, "", typed);
        const Json& commands = m_node->at("commands");
        if (!commands.empty()) {
            addNamed(commands);
            return;
        }
        const Json& arguments = m_node->at("arguments");
        if (arguments.empty()) {
            return;
        }
        const Json& argument = arguments.at(std::min(m_arguments, arguments.size() - 1));
        if (m_arguments >= arguments.size() && !argument.at("many").get<bool>()) {
            want(Wanted::kNothing, "", typed);
        } else if (argument.at("name") == "COMMAND") {
            addNamed(m_root.at("commands"));
        } else {
            want(kindOf(argument.at("name").get<std::string>()), "", typed);
        }
    }

    void addNamed(const Json& list) {
        for (const Json& one : list) {
            add(one.at("name").get<std::string>(), one.at("summary").get<std::string>());
        }
    }

    void addOptions(const Json& node) {
        for (const Json& option : node.at("options")) {
            for (const Json& name : option.at("names")) {
                add(name.get<std::string>(), option.at("summary").get<std::string>());
            }
        }
    }

    void add(const std::string& text, const std::string& summary) {
        const bool isKnown = std::any_of(m_completion.words.begin(), m_completion.words.end(),
                                         [&text](const Word& word) { return word.text == text; });
        if (!isKnown && text.compare(0, m_completion.typed.size(), m_completion.typed) == 0) {
            m_completion.words.push_back({text, summary});
        }
    }

    const Json& m_root;
    const Json* m_node;
    const Json* m_option = nullptr;  // whose value comes next
    std::size_t m_arguments = 0;     // of the command that stand already
    bool m_onlyArguments = false;
    Completion m_completion;
};

}  // namespace

Completion completionOf(const Json& catalogue, const std::vector<std::string>& words) {
    Reader reader(catalogue);
    reader.read(words);
    return reader.take();
}

}  // namespace cli::help
