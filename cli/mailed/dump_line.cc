#include "cli/mailed/dump_line.h"

#include <algorithm>
#include <cctype>

namespace cli::mailed {
namespace {

using Kind = DumpLine::Kind;

constexpr std::size_t kMostBytes = 32;      // of a line with blanks between its bytes
constexpr std::size_t kLongestOffset = 16;  // digits
constexpr std::size_t kLeastOffset = 2;
constexpr std::size_t kMiddle = 8;  // bytes, behind which a dump has two blanks

struct Word {
    std::string_view text;
    std::size_t gap = 0;  // blanks in front of it
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '[' || c == ']' || c == '(' || c == ')' || c == ',';
}

bool isHex(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return std::isxdigit(static_cast<unsigned char>(c)) != 0;
    });
}

std::uint8_t valueOf(char digit) {
    return static_cast<std::uint8_t>(digit <= '9' ? digit - '0' : (digit | ('a' - 'A')) - 'a' + 10);
}

// A page has no more bytes than this, should they all stand in one line.
std::vector<Word> wordsOf(std::string_view line) {
    constexpr std::size_t kMostWords = 70000;
    std::vector<Word> words;
    std::size_t place = 0;
    while (place < line.size() && words.size() < kMostWords) {
        const std::size_t begin = place;
        while (place < line.size() && isBlank(line[place])) {
            ++place;
        }
        const std::size_t start = place;
        while (place < line.size() && !isBlank(line[place])) {
            ++place;
        }
        if (place > start) {
            words.push_back({line.substr(start, place - start), start - begin});
        }
    }
    return words;
}

bool isOffset(std::string_view text) {
    return text.size() >= kLeastOffset && text.size() <= kLongestOffset && isHex(text);
}

void addBytes(std::string_view digits, std::vector<std::uint8_t>& bytes) {
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(
            static_cast<std::uint8_t>(valueOf(digits[i]) << 4 | valueOf(digits[i + 1])));
    }
}

// Digits that are bytes, whether one byte or more stand together; "0x" may stand in front.
bool takeBytes(std::string_view text, std::vector<std::uint8_t>& bytes) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
    }
    if (text.size() % 2 != 0 || !isHex(text)) {
        return false;
    }
    addBytes(text, bytes);
    return true;
}

// The bytes behind an offset, up to the characters at the line's end.
std::vector<std::uint8_t> dumpedBytes(const std::vector<Word>& words) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 1; i < words.size() && bytes.size() < kMostBytes; ++i) {
        const bool isBehindGap = i > 1 && words[i].gap > 1;
        if (isBehindGap && (words[i].gap > 2 || bytes.size() != kMiddle)) {
            break;
        }
        if (!takeBytes(words[i].text, bytes)) {
            break;
        }
    }
    return bytes;
}

// Whether the first word is the place of the others: it ends in ":", it is longer than they are, or
// it stands apart from them.
bool startsWithOffset(const std::vector<Word>& words) {
    const std::string_view first = words.front().text;
    if (first.back() == ':') {
        return isOffset(first.substr(0, first.size() - 1));
    }
    if (words.size() < 2 || !isOffset(first)) {
        return false;
    }
    const bool isLonger = first.size() > 2 && words[1].text.size() < first.size();
    return isLonger || (words[1].gap > 1 && words[1].text.size() == 2);
}

DumpLine withOffset(const std::vector<Word>& words) {
    DumpLine line;
    const std::string_view first = words.front().text;
    const bool isXxd = first.back() == ':';
    line.offset = std::string(first.substr(0, first.size() - (isXxd ? 1 : 0)));
    line.bytes = dumpedBytes(words);
    if (line.bytes.empty()) {
        return {};
    }
    const bool areWords = !isXxd && words[1].text.size() > 2 && isHex(words[1].text);
    line.kind = areWords ? Kind::kWords : Kind::kBytes;
    return line;
}

// Bytes alone: every word is one, or one is a long row of digits.
DumpLine withoutOffset(const std::vector<Word>& words) {
    DumpLine line;
    for (const Word& word : words) {
        const std::size_t before = line.bytes.size();
        if (!takeBytes(word.text, line.bytes) ||
            (line.bytes.size() - before > 1 && words.size() > 1 && word.text.size() < 8 &&
             word.text.substr(0, 2) != "0x")) {
            return {};
        }
    }
    line.kind = Kind::kBytes;
    return line;
}

}  // namespace

std::string_view withoutQuotes(std::string_view line) {
    std::size_t start = 0;
    std::size_t quoted = 0;
    while (start < line.size() &&
           (line[start] == '>' || line[start] == ' ' || line[start] == '\t')) {
        ++start;
        quoted = line[start - 1] == '>' ? start : quoted;
    }
    line.remove_prefix(quoted);
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) {
        line.remove_suffix(1);
    }
    return line;
}

DumpLine readDumpLine(std::string_view line) {
    line = withoutQuotes(line);
    const std::vector<Word> words = wordsOf(line);
    if (words.empty()) {
        return {};
    }
    DumpLine read;
    if (words.size() == 1 && words.front().text == "*") {
        read.kind = Kind::kRepeat;
        return read;
    }
    const std::string_view first = words.front().text;
    if (words.size() == 1 && first.size() >= 6 && first.size() <= 8 && isHex(first)) {
        read.kind = Kind::kEnd;
        read.offset = std::string(first);
        takeBytes(first, read.bytes);
        return read;
    }
    return startsWithOffset(words) ? withOffset(words) : withoutOffset(words);
}

}  // namespace cli::mailed
