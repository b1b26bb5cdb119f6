#include "cli/view/natural_order.h"

#include <cstddef>
#include <tuple>
#include <vector>

namespace cli::view {
namespace {

// What names are made of. The letters behind a driver's prefix count as a number to the base 26.
struct Token {
    enum class Kind { kText, kNumber, kLetters };
    Kind kind;
    std::size_t length;  // of a number without zeros in front and of counting letters, else 0
    std::string text;

    bool operator<(const Token& other) const {
        return std::tie(kind, length, text) < std::tie(other.kind, other.length, other.text);
    }
};

constexpr const char* kCounted[] = {"sd", "vd", "xvd", "hd", "emcpower", "mpath"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return c >= 'a' && c <= 'z';
}

// How long the prefix is that counting letters follow; 0 for none.
std::size_t prefixAt(const std::string& name, std::size_t at) {
    for (const std::string prefix : kCounted) {
        const std::size_t end = at + prefix.size();
        if (name.compare(at, prefix.size(), prefix) == 0 && end < name.size() &&
            isLetter(name[end])) {
            return prefix.size();
        }
    }
    return 0;
}

/// Cuts a name into tokens.
class Tokens {
  public:
    explicit Tokens(const std::string& name) : m_name(name) {
        while (m_at < name.size()) {
            if (isDigit(name[m_at])) {
                take(Token::Kind::kNumber, isDigit);
            } else if (!takeCounted()) {
                m_text += name[m_at++];
            }
        }
        endText();
    }

    const std::vector<Token>& list() const { return m_tokens; }

  private:
    bool takeCounted() {
        const bool isStart = m_at == 0 || m_name[m_at - 1] == '/';
        const std::size_t prefix = isStart ? prefixAt(m_name, m_at) : 0;
        if (prefix == 0) {
            return false;
        }
        m_text += m_name.substr(m_at, prefix);
        m_at += prefix;
        take(Token::Kind::kLetters, isLetter);
        return true;
    }

    void take(Token::Kind kind, bool (*belongs)(char)) {
        endText();
        std::string text;
        while (m_at < m_name.size() && belongs(m_name[m_at])) {
            text += m_name[m_at++];
        }
        if (kind == Token::Kind::kNumber) {
            text.erase(0, text.find_first_not_of('0'));
        }
        const std::size_t length = text.size();
        m_tokens.push_back({kind, length, std::move(text)});
    }

    void endText() {
        if (!m_text.empty()) {
            m_tokens.push_back({Token::Kind::kText, 0, m_text});
            m_text.clear();
        }
    }

    const std::string& m_name;
    std::size_t m_at = 0;
    std::string m_text;
    std::vector<Token> m_tokens;
};

}  // namespace

bool goesBefore(const std::string& left, const std::string& right) {
    const Tokens one(left);
    const Tokens other(right);
    if (one.list() < other.list()) {
        return true;
    }
    // "1" and "01" count alike.
    return !(other.list() < one.list()) && left < right;
}

}  // namespace cli::view
