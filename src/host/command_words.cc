#include "scsitool/host/command_words.h"

namespace host {
namespace {

constexpr char kNoQuote = '\0';

class WordSplitter {
  public:
    void take(char c) {
        if (m_quote != kNoQuote && c == m_quote) {
            m_quote = kNoQuote;
        } else if (m_quote == kNoQuote && (c == '\'' || c == '"')) {
            m_quote = c;
            m_inWord = true;
        } else if (m_quote == kNoQuote && c == ' ') {
            endWord();
        } else {
            m_word += c;
            m_inWord = true;
        }
    }

    void endWord() {
        if (m_inWord) {
            m_words.push_back(m_word);
        }
        m_word.clear();
        m_inWord = false;
    }

    const std::vector<std::string>& words() const { return m_words; }

  private:
    std::vector<std::string> m_words;
    std::string m_word;
    // Quotes around nothing are a word too.
    bool m_inWord = false;
    char m_quote = kNoQuote;
};

}  // namespace

std::vector<std::string> splitCommand(const std::string& command) {
    WordSplitter splitter;
    for (const char c : command) {
        splitter.take(c);
    }
    splitter.endWord();
    return splitter.words();
}

}  // namespace host
