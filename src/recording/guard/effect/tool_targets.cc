#include "recording/guard/effect/tool_targets.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace recording::guard {
namespace {

using Words = std::vector<std::string>;

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// Single-letter options: whether one of `wanted` is among them, before a letter that takes the rest
// of the word, or the next word, as its value.
struct Letters {
    bool wanted = false;
    bool takesNext = false;
};

Letters readLetters(const std::string& word, const char* wanted, const char* withValue) {
    Letters letters;
    for (std::size_t i = 1; i < word.size(); ++i) {
        letters.wanted = letters.wanted || std::strchr(wanted, word[i]) != nullptr;
        if (std::strchr(withValue, word[i]) != nullptr) {
            letters.takesNext = i + 1 == word.size();
            return letters;
        }
    }
    return letters;
}

bool isBundle(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && word[1] != '-';
}

bool isLongLogout(const std::string& word) {
    // getopt takes what no other option begins with; "logoutall" begins with "logout".
    const std::string name = word.substr(0, word.find('='));
    return name.size() > 2 && beginsWith("--logoutall", name);
}

}  // namespace

Targets dmsetupTargets(const Words& words) {
    const auto verb = std::find_if(words.begin(), words.end(),
                                   [](const std::string& word) { return word[0] != '-'; });
    if (verb == words.end() || !(beginsWith(*verb, "remove") || *verb == "wipe_table")) {
        return {};
    }
    static const std::array<const char*, 7> kPlain = {"-f",         "--force", "--retry",     "-y",
                                                      "--deferred", "--yes",   "--verifyudev"};
    Targets targets;
    for (auto word = words.begin(); word != words.end(); ++word) {
        const bool isOption = beginsWith(*word, "-");
        if (isOption && std::find(kPlain.begin(), kPlain.end(), *word) == kPlain.end()) {
            return {Untold{"which map dmsetup removes with " + *word + " is not told by a name"}};
        }
        if (!isOption && word != verb) {
            targets.push_back(MapNamed{*word});
        }
    }
    if (targets.empty()) {
        return {Untold{"dmsetup " + *verb + " names no map"}};
    }
    return targets;
}

Targets multipathTargets(const Words& words) {
    constexpr const char* kWithValue = "vbpRM";
    bool one = false;
    bool all = false;
    Targets named;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (isBundle(words[i])) {
            one = one || readLetters(words[i], "f", kWithValue).wanted;
            const Letters letters = readLetters(words[i], "F", kWithValue);
            all = all || letters.wanted;
            i += letters.takesNext ? 1 : 0;
        } else {
            named.push_back(MapNamed{words[i]});
        }
    }
    Targets targets = one ? named : Targets();
    if (one && named.empty()) {
        targets.push_back(Untold{"multipath -f names no map"});
    }
    if (all) {
        targets.push_back(UnusedMaps{});
    }
    return targets;
}

// -p narrows a logout to one portal of the target. All sessions of the target are looked at: what
// the kernel calls a portal need not be the text that was given.
Targets iscsiTargets(const Words& words) {
    constexpr const char* kWithValue = "mabpPTUHILdrnvoAC";
    const std::string kLongTarget = "--targetname=";
    bool logout = false;
    std::string target;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        logout = logout || isLongLogout(word);
        if (beginsWith(word, kLongTarget)) {
            target = word.substr(kLongTarget.size());
        }
        if (word == "--targetname" && i + 1 < words.size()) {
            target = words[++i];
        } else if (isBundle(word)) {
            const Letters letters = readLetters(word, "uU", kWithValue);
            logout = logout || letters.wanted;
            const std::size_t at = word.find('T');
            if (at != std::string::npos && at + 1 == word.size() && i + 1 < words.size()) {
                target = words[i + 1];
            } else if (at == 1) {
                target = word.substr(2);
            }
            i += letters.takesNext ? 1 : 0;
        }
    }
    return logout ? Targets{Sessions{target}} : Targets();
}

}  // namespace recording::guard
