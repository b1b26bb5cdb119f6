#ifndef SCSITOOL_CLI_COMPARISON_JSON_READER_H
#define SCSITOOL_CLI_COMPARISON_JSON_READER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace cli::comparison {

/// What stands in a text where something else was expected.
class UnexpectedJson : public std::runtime_error {
  public:
    UnexpectedJson(std::size_t offset, const std::string& expected)
        : std::runtime_error("expected " + expected), m_offset(offset) {}
    std::size_t offset() const { return m_offset; }

  private:
    std::size_t m_offset;
};

/// Goes through JSON values in a text, one behind the other. What the reader does not want is
/// passed over without being looked into, so that a few members of documents of hundreds of
/// megabytes are had in the time in which these are read. Throws UnexpectedJson.
class JsonReader {
  public:
    /// The text must outlive the object.
    explicit JsonReader(std::string_view text) : m_text(text) {}

    /// Tells whether nothing but blanks is left.
    bool isAtEnd();

    /// Calls `use(key)` for each member, which has to read or to skip the value.
    template <class Use>
    void readObject(Use use) {
        readList('{', '}', "an object", [&] {
            const std::string key = readText();
            demand(':', "':'");
            use(key);
        });
    }

    /// Tells whether the object that comes next has a member of this name, and reads no further
    /// than to that name.
    bool finds(std::string_view name);

    /// Calls `use()` for each element, which has to read or to skip it.
    template <class Use>
    void readArray(Use use) {
        readList('[', ']', "an array", use);
    }

    /// A string's text, or an empty one for null.
    std::string readText();
    /// A whole number; none for null.
    std::optional<std::uint64_t> readNumber();
    /// True or false; none for null.
    std::optional<bool> readFlag();
    void skip();

  private:
    template <class Use>
    void readList(char first, char last, const char* what, Use use) {
        demand(first, what);
        if (takes(last)) {
            return;
        }
        do {
            use();
        } while (takes(','));
        demand(last, last == '}' ? "',' or '}'" : "',' or ']'");
    }

    char next();
    bool takes(char wanted);
    void demand(char wanted, const char* expected);
    bool takesWord(std::string_view word);
    std::size_t endOfString() const;
    void skipContainer();
    [[noreturn]] void refuse(const std::string& expected) const;

    std::string_view m_text;
    std::size_t m_place = 0;
};

}  // namespace cli::comparison

#endif
