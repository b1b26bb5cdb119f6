#include "cli/comparison/json_reader.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <system_error>

namespace cli::comparison {
namespace {

constexpr std::string_view kEndsOfScalar = ",]} \t\r\n";

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::size_t nextStructure(std::string_view text, std::size_t place) {
    const auto isStructure = [](char c) {
        return c == '"' || c == '{' || c == '}' || c == '[' || c == ']';
    };
    while (place < text.size() && !isStructure(text[place])) {
        ++place;
    }
    return place;
}

}  // namespace

void JsonReader::refuse(const std::string& expected) const {
    throw UnexpectedJson(m_place, expected);
}

// The character that comes next, blanks left out; NUL at the end.
char JsonReader::next() {
    while (m_place < m_text.size() && isBlank(m_text[m_place])) {
        ++m_place;
    }
    return m_place < m_text.size() ? m_text[m_place] : '\0';
}

bool JsonReader::isAtEnd() {
    next();
    return m_place == m_text.size();
}

bool JsonReader::takes(char wanted) {
    const bool isThere = next() == wanted && m_place < m_text.size();
    m_place += isThere ? 1 : 0;
    return isThere;
}

void JsonReader::demand(char wanted, const char* expected) {
    if (!takes(wanted)) {
        refuse(expected);
    }
}

bool JsonReader::takesWord(std::string_view word) {
    next();
    const bool isThere = m_text.substr(m_place, word.size()) == word;
    m_place += isThere ? word.size() : 0;
    return isThere;
}

// Behind the closing quote of the string that begins here: the first without an escape in front,
// which is one backslash, or three.
std::size_t JsonReader::endOfString() const {
    const std::size_t start = m_place + 1;
    for (std::size_t quote = m_text.find('"', start); quote != std::string_view::npos;
         quote = m_text.find('"', quote + 1)) {
        std::size_t escapes = quote;
        while (escapes > start && m_text[escapes - 1] == '\\') {
            --escapes;
        }
        if ((quote - escapes) % 2 == 0) {
            return quote + 1;
        }
    }
    refuse("an end of the string");
}

std::string JsonReader::readText() {
    if (takesWord("null")) {
        return {};
    }
    if (next() != '"') {
        refuse("a string");
    }
    const std::size_t end = endOfString();
    const std::string_view token = m_text.substr(m_place, end - m_place);
    const std::string_view content = token.substr(1, token.size() - 2);
    std::string text(content);
    if (content.find('\\') != std::string_view::npos) {
        const nlohmann::json parsed = nlohmann::json::parse(token, nullptr, false);
        if (!parsed.is_string()) {
            refuse("a string without wrong escapes");
        }
        text = parsed.get<std::string>();
    }
    m_place = end;
    return text;
}

std::optional<std::uint64_t> JsonReader::readNumber() {
    if (takesWord("null")) {
        return std::nullopt;
    }
    next();
    const char* const end = m_text.data() + m_text.size();
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(m_text.data() + m_place, end, number);
    if (error != std::errc()) {
        refuse("a whole number");
    }
    m_place = static_cast<std::size_t>(stop - m_text.data());
    return number;
}

std::optional<bool> JsonReader::readFlag() {
    for (const bool flag : {true, false}) {
        if (takesWord(flag ? "true" : "false")) {
            return flag;
        }
    }
    if (!takesWord("null")) {
        refuse("true or false");
    }
    return std::nullopt;
}

bool JsonReader::finds(std::string_view name) {
    demand('{', "an object");
    if (takes('}')) {
        return false;
    }
    do {
        const bool isWanted = readText() == name;
        demand(':', "':'");
        if (isWanted) {
            return true;
        }
        skip();
    } while (takes(','));
    demand('}', "',' or '}'");
    return false;
}

void JsonReader::skip() {
    switch (next()) {
        case '"':
            m_place = endOfString();
            break;
        case '{':
        case '[':
            skipContainer();
            break;
        default:
            const std::size_t end =
                std::min(m_text.find_first_of(kEndsOfScalar, m_place), m_text.size());
            if (end == m_place) {
                refuse("a value");
            }
            m_place = end;
    }
}

// However deep the values in it go.
void JsonReader::skipContainer() {
    std::size_t depth = 0;
    do {
        m_place = nextStructure(m_text, m_place);
        if (m_place == m_text.size()) {
            refuse("an end of what is open");
        }
        const char found = m_text[m_place];
        if (found == '"') {
            m_place = endOfString();
            continue;
        }
        depth += found == '{' || found == '[' ? 1 : 0;
        depth -= found == '}' || found == ']' ? 1 : 0;
        ++m_place;
    } while (depth > 0);
}

}  // namespace cli::comparison
