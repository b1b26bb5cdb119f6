#include "recording/text/json_tree.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <system_error>

#include "recording/text/strict_json.h"
#include "recording/text/utf8.h"

namespace recording {
namespace {

using Kind = JsonValue::Kind;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// What ends a run of characters that stand for themselves: the closing quote, an escape, a control
// character, which has to be escaped, and what is not ASCII.
constexpr std::array<bool, 256> makeRunEnds() {
    std::array<bool, 256> ends = {};
    for (std::size_t byte = 0; byte < ends.size(); ++byte) {
        ends[byte] = byte < 0x20 || byte >= 0x80 || byte == '"' || byte == '\\';
    }
    return ends;
}
constexpr std::array<bool, 256> kRunEnds = makeRunEnds();

std::size_t endOfRun(std::string_view text, std::size_t place) {
    while (place < text.size() && !kRunEnds[static_cast<unsigned char>(text[place])]) {
        ++place;
    }
    return place;
}

std::size_t endOfBlanks(std::string_view text, std::size_t place) {
    while (place < text.size() && isBlank(text[place])) {
        ++place;
    }
    return place;
}

/// Writes what a string with escapes stands for.
class Unescaping {
  public:
    Unescaping(std::string_view raw, char* out) : m_raw(raw), m_begin(out), m_out(out) {}

    /// False for what is no escape.
    bool run() {
        while (m_at < m_raw.size()) {
            const char c = m_raw[m_at++];
            if (c != '\\') {
                *m_out++ = c;
            } else if (!takeEscape()) {
                return false;
            }
        }
        return true;
    }
    std::string_view text() const { return {m_begin, static_cast<std::size_t>(m_out - m_begin)}; }

  private:
    bool takeEscape() {
        constexpr std::string_view kLetters = "\"\\/bfnrt";
        constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
        const char letter = m_at < m_raw.size() ? m_raw[m_at++] : '\0';
        if (letter == 'u') {
            return takeCharacter();
        }
        const std::size_t place = letter == '\0' ? kLetters.npos : kLetters.find(letter);
        if (place == kLetters.npos) {
            return false;
        }
        *m_out++ = kMeanings[place];
        return true;
    }

    std::optional<unsigned> takeUnit() {
        constexpr std::size_t kDigits = 4;
        const std::string_view digits = m_raw.substr(m_at, kDigits);
        unsigned unit = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, unit, 16);
        if (digits.size() != kDigits || error != std::errc() || stop != end) {
            return std::nullopt;
        }
        m_at += kDigits;
        return unit;
    }

    // Beyond the first 65,536 characters it takes two, the one for the upper bits in front.
    bool takeCharacter() {
        constexpr unsigned kUpper = 0xD800;
        constexpr unsigned kLower = 0xDC00;
        constexpr unsigned kBehind = 0xE000;
        const auto first = takeUnit();
        if (!first || (*first >= kLower && *first < kBehind)) {
            return false;
        }
        if (*first < kUpper || *first >= kBehind) {
            put(*first);
            return true;
        }
        if (m_raw.substr(m_at, 2) != "\\u") {
            return false;
        }
        m_at += 2;
        const auto second = takeUnit();
        if (!second || *second < kLower || *second >= kBehind) {
            return false;
        }
        put(0x10000U + ((*first - kUpper) << 10U) + (*second - kLower));
        return true;
    }

    void putByte(unsigned byte) { *m_out++ = static_cast<char>(byte); }

    // As UTF-8, which is shorter than the escape.
    void put(unsigned character) {
        if (character < 0x80) {
            putByte(character);
            return;
        }
        if (character < 0x800) {
            putByte(0xC0U | character >> 6U);
        } else if (character < 0x10000) {
            putByte(0xE0U | character >> 12U);
            putByte(0x80U | (character >> 6U & 0x3FU));
        } else {
            putByte(0xF0U | character >> 18U);
            putByte(0x80U | (character >> 12U & 0x3FU));
            putByte(0x80U | (character >> 6U & 0x3FU));
        }
        putByte(0x80U | (character & 0x3FU));
    }

    std::string_view m_raw;
    std::size_t m_at = 0;
    char* m_begin;
    char* m_out;
};

}  // namespace

/// The members of one list while they are added.
class JsonMemberList {
  public:
    JsonMemberList(JsonMembers& members, JsonMemberStore& store)
        : m_members(members), m_store(store) {}

    JsonMember& add() {
        JsonMember* const member = m_store.add();
        if (m_last == nullptr) {
            m_members.m_first = member;
        } else {
            m_last->next = member;
        }
        m_last = member;
        return *member;
    }

    /// Puts them in the order of their names, in which most texts have them. False for a name that
    /// is there twice.
    bool sort() {
        if (areInOrder()) {
            return true;
        }
        std::vector<JsonMember*> all;
        for (JsonMember* member = first(); member != nullptr; member = member->next) {
            all.push_back(member);
        }
        std::sort(all.begin(), all.end(), [](const JsonMember* left, const JsonMember* right) {
            return left->name < right->name;
        });
        for (std::size_t i = 0; i < all.size(); ++i) {
            all[i]->next = i + 1 < all.size() ? all[i + 1] : nullptr;
        }
        m_members.m_first = all.front();
        return areInOrder();
    }

  private:
    // All of them come from the store, which hands them out to be written.
    JsonMember* first() const { return const_cast<JsonMember*>(m_members.m_first); }

    bool areInOrder() const {
        const JsonMember* former = first();
        while (former != nullptr && former->next != nullptr && former->name < former->next->name) {
            former = former->next;
        }
        return former == nullptr || former->next == nullptr;
    }

    JsonMembers& m_members;
    JsonMemberStore& m_store;
    JsonMember* m_last = nullptr;
};

namespace {

/// Takes a text to pieces. Every step gives false for what is not JSON.
class Parser {
  public:
    // `unescaped` is as long as the text.
    Parser(std::string_view text, char* unescaped, JsonMemberStore& members)
        : m_text(text), m_unescaped(unescaped), m_members(members) {}

    bool parse(JsonValue& root) {
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        m_at =
            m_text.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0;
        // As in strict JSON's parser a NUL ends the text, too.
        return takeValue(root, 0) && next() == '\0';
    }

  private:
    // The character that comes next, blanks left out; NUL at the end.
    char next() {
        m_at = endOfBlanks(m_text, m_at);
        return current();
    }

    char current() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

    bool takes(char wanted) {
        const bool isThere = next() == wanted;
        m_at += isThere ? 1U : 0U;
        return isThere;
    }

    bool takeValue(JsonValue& value, std::size_t depth) {
        switch (next()) {
            case '{':
                value.kind = Kind::kObject;
                return takeList('}', value, depth + 1);
            case '[':
                value.kind = Kind::kArray;
                return takeList(']', value, depth + 1);
            case '"':
                value.kind = Kind::kString;
                return takeString(value.text);
            case 't':
                return takeLiteral("true", Kind::kBoolean, value);
            case 'f':
                return takeLiteral("false", Kind::kBoolean, value);
            case 'n':
                return takeLiteral("null", Kind::kNull, value);
            default:
                value.kind = Kind::kNumber;
                return takeNumber(value.text);
        }
    }

    bool takeLiteral(std::string_view literal, Kind kind, JsonValue& value) {
        value.kind = kind;
        value.text = m_text.substr(m_at, literal.size());
        m_at += value.text.size();
        return value.text == literal;
    }

    bool takeList(char last, JsonValue& list, std::size_t depth) {
        ++m_at;
        if (depth > kDeepestJson) {
            return false;
        }
        if (takes(last)) {
            return true;
        }
        JsonMemberList members(list.members, m_members);
        do {
            JsonMember& member = members.add();
            const bool isNamed =
                !list.isObject() || (next() == '"' && takeString(member.name) && takes(':'));
            if (!isNamed || !takeValue(member.value, depth)) {
                return false;
            }
        } while (takes(','));
        return takes(last) && (!list.isObject() || members.sort());
    }

    bool takeString(std::string_view& content) {
        const std::size_t start = ++m_at;
        bool isAscii = true;
        bool isPlain = true;
        for (;;) {
            m_at = endOfRun(m_text, m_at);
            const auto end = static_cast<unsigned char>(current());
            if (end < 0x20) {
                return false;  // the end of the text, too
            }
            if (end == '"') {
                break;
            }
            isAscii = isAscii && end < 0x80;
            isPlain = isPlain && end != '\\';
            m_at += end == '\\' ? 2U : 1U;
        }
        content = m_text.substr(start, m_at - start);
        ++m_at;
        return (isAscii || isUtf8(std::string(content))) && (isPlain || unescape(content));
    }

    // No string becomes longer, so that there is room for all.
    bool unescape(std::string_view& content) {
        Unescaping unescaping(content, m_unescaped);
        if (!unescaping.run()) {
            return false;
        }
        content = unescaping.text();
        m_unescaped += content.size();
        return true;
    }

    bool takeDigits() {
        const std::size_t start = m_at;
        while (isDigit(current())) {
            ++m_at;
        }
        return m_at > start;
    }

    bool takeNumber(std::string_view& number) {
        const std::size_t start = m_at;
        m_at += current() == '-' ? 1U : 0U;
        const bool isZero = current() == '0';
        m_at += isZero ? 1U : 0U;
        if (!isZero && !takeDigits()) {
            return false;
        }
        if (current() == '.') {
            ++m_at;
            if (!takeDigits()) {
                return false;
            }
        }
        if (current() == 'e' || current() == 'E') {
            ++m_at;
            m_at += current() == '+' || current() == '-' ? 1U : 0U;
            if (!takeDigits()) {
                return false;
            }
        }
        number = m_text.substr(start, m_at - start);
        return isInRange(number);
    }

    static bool isInRange(std::string_view number) {
        constexpr std::size_t kAlwaysFits = 19;  // digits
        const bool isShort =
            number.size() <= kAlwaysFits && number.find_first_of("eE") == number.npos;
        return isShort || std::isfinite(std::strtod(std::string(number).c_str(), nullptr));
    }

    const std::string_view m_text;
    std::size_t m_at = 0;
    char* m_unescaped;
    JsonMemberStore& m_members;
};

}  // namespace

JsonMember* JsonMemberStore::add() {
    if (m_used == kInABlock) {
        m_blocks.push_back(std::make_unique<JsonMember[]>(kInABlock));
        m_used = 0;
    }
    return &m_blocks.back()[m_used++];
}

const JsonValue* JsonValue::find(std::string_view name) const {
    if (!isObject()) {
        return nullptr;
    }
    for (const JsonMember& member : members) {
        if (member.name == name) {
            return &member.value;
        }
    }
    return nullptr;
}

JsonTree::JsonTree(const std::string& text) : m_unescaped(new char[text.size() + 1]) {
    if (!Parser(text, m_unescaped.get(), m_members).parse(m_root)) {
        parseStrictJson(text);  // goes more slowly and says where it is wrong, and why
        throw JsonError("", "not JSON");
    }
}

}  // namespace recording
