#include "cli/output/hex_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "recording/text/hex.h"

namespace cli {
namespace {

constexpr std::size_t kBytesADumpLine = 16;
constexpr std::size_t kGapBehindOffset = 2;      // bytes have one blank between them
constexpr std::size_t kGapBeforeCharacters = 3;  // the bytes of a line have two in its middle
constexpr std::size_t kHighestOffsetDigits = 8;
constexpr std::size_t kWordInMessage = 16;

struct Word {
    std::string text;
    std::size_t column;  // of its first character, counted from 0
    std::size_t gap;     // blanks in front of it
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == ',';
}

std::vector<Word> wordsOf(const std::string& line) {
    std::vector<Word> words;
    std::size_t position = 0;
    while (position < line.size()) {
        std::size_t start = position;
        while (start < line.size() && isBlank(line[start])) {
            ++start;
        }
        std::size_t end = start;
        while (end < line.size() && !isBlank(line[end])) {
            ++end;
        }
        if (end > start) {
            words.push_back({line.substr(start, end - start), start, start - position});
        }
        position = end;
    }
    return words;
}

bool isOffset(const Word& word, std::size_t offset) {
    return word.text.size() >= 2 && word.text.size() <= kHighestOffsetDigits &&
           word.text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos &&
           std::stoul(word.text, nullptr, 16) == offset;
}

std::string quoted(const std::string& word) {
    return "'" + word.substr(0, kWordInMessage) + (word.size() > kWordInMessage ? "..." : "") + "'";
}

class Reader {
  public:
    explicit Reader(const std::string& name) : m_name(name) {}

    void readLine(std::string line) {
        ++m_line;
        line.erase(std::min(line.find('#'), line.size()));
        std::vector<Word> words = wordsOf(line);
        if (words.empty() || isTitle(words)) {
            return;
        }
        if (!m_started) {
            m_started = true;
            m_isDump =
                words.size() > 1 && words[1].gap >= kGapBehindOffset && isOffset(words[0], 0);
        }
        if (m_isDump) {
            keepDumpedBytes(words);
        }
        for (const Word& word : words) {
            add(word);
        }
    }

    const std::vector<std::uint8_t>& bytes() const { return m_bytes; }

  private:
    bool isTitle(const std::vector<Word>& words) const {
        return !m_started && words.back().text.back() == ':';
    }

    // Leaves the words that are bytes; what is no offset in the place of one is refused.
    void keepDumpedBytes(std::vector<Word>& words) const {
        if (!isOffset(words.front(), m_bytes.size())) {
            fail(words.front().column,
                 fmt::format("expected the offset {:02x} of this line's first byte, found {}",
                             m_bytes.size(), quoted(words.front().text)));
        }
        words.erase(words.begin());
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (i == kBytesADumpLine || (i > 0 && words[i].gap >= kGapBeforeCharacters)) {
                words.resize(i);
            }
        }
    }

    void add(const Word& word) {
        std::vector<std::uint8_t> bytes;
        std::size_t bad = 0;
        switch (recording::fromHex(word.text, bytes, bad)) {
            case recording::HexError::kNone:
                break;
            case recording::HexError::kOddCount:
                fail(word.column, "an odd number of hexadecimal digits in " + quoted(word.text) +
                                      ", write two digits a byte");
            case recording::HexError::kBadDigit:
                fail(word.column + bad,
                     fmt::format("'{}' is no hexadecimal digit, expected bytes as 'sg_vpd --hex' "
                                 "prints them",
                                 word.text[bad]));
        }
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }

    [[noreturn]] void fail(std::size_t column, const std::string& message) const {
        throw UsageError(fmt::format("{}:{}:{}: {}", m_name, m_line, column + 1, message));
    }

    const std::string& m_name;
    std::size_t m_line = 0;
    bool m_started = false;
    bool m_isDump = false;
    std::vector<std::uint8_t> m_bytes;
};

}  // namespace

std::vector<std::uint8_t> readHexText(const std::string& text, const std::string& name) {
    Reader reader(name);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        reader.readLine(text.substr(start, end - start));
        start = end + 1;
    }
    if (reader.bytes().empty()) {
        throw UsageError(name + ": no bytes in it, expected a page as 'sg_vpd --hex' prints it");
    }
    return reader.bytes();
}

}  // namespace cli
