#include "recording/redaction/secret_table.h"

#include <algorithm>
#include <tuple>

#include "recording/redaction/words.h"
#include "recording/text/hex.h"

namespace recording {
namespace {

constexpr std::size_t kShortestText = 5;
constexpr std::size_t kShortestName = 3;
constexpr std::size_t kShortestHex = 8;
constexpr std::size_t kCertain = 10;     // characters that do not come about by chance
constexpr std::size_t kFreeText = 8;     // from here on found within a word
constexpr std::size_t kFreeNumber = 12;  // the same for decimal digits alone
constexpr std::size_t kFreeHex = 16;

bool isNumber(const std::string& text) {
    return std::all_of(text.begin(), text.end(), isDigit);
}

std::string withUnderscores(std::string text) {
    std::replace(text.begin(), text.end(), ' ', '_');
    return text;
}

// "600a0b80..." as "60:0a:0b:80" (two digits) or "600a-0b80" (four).
std::string grouped(const std::string& digits, std::size_t width, char separator) {
    std::string result;
    for (std::size_t index = 0; index < digits.size(); ++index) {
        if (index > 0 && index % width == 0) {
            result += separator;
        }
        result += digits[index];
    }
    return result;
}

std::string hexOf(const std::string& text) {
    return toHex(Bytes(text.begin(), text.end()));
}

std::string rawOf(const std::string& digits) {
    Bytes bytes;
    std::size_t badOffset = 0;
    fromHex(digits, bytes, badOffset);
    return {bytes.begin(), bytes.end()};
}

}  // namespace

std::size_t formatDigits(const std::string& digits) {
    constexpr std::size_t kEui48 = 12;
    constexpr std::size_t kNaaLong = 32;
    constexpr std::size_t kNaaShort = 16;
    constexpr std::size_t kCompany = 6;
    if (digits.size() == kEui48) {
        return kCompany;
    }
    if (digits.size() != kNaaShort && digits.size() != kNaaLong) {
        return 0;
    }
    switch (digits.front()) {
        case '1':
        case '2':
            return 4 + kCompany;  // IEEE extended: twelve bits stand before the company
        case '5':
        case '6':
            return 1 + kCompany;
        case '0':
            return kCompany;  // EUI-64
        default:
            return 1;
    }
}

bool SecretTable::Secret::operator<(const Secret& other) const {
    const auto key = [](const Secret& secret) {
        // In bytes, so that a serial number comes before the name whose bytes hold its characters.
        const std::size_t size =
            secret.kind == Kind::kHex ? secret.text.size() / 2 : secret.text.size();
        return std::make_tuple(size, secret.kind, std::cref(secret.text), secret.keep);
    };
    return key(*this) < key(other);
}

void SecretTable::addKnownWord(const std::string& word) {
    m_knownWords.insert(lowerCase(word));
}

bool SecretTable::isKnownWord(const std::string& word) const {
    return m_knownWords.count(lowerCase(word)) != 0 || isCommonWord(word);
}

void SecretTable::addText(const std::string& text) {
    if (text.size() < kShortestText || isKnownWord(text)) {
        return;
    }
    const bool isName = isHex(text) && (text.size() == 16 || text.size() == 32) && hasDigit(text);
    if (isName) {
        addHex(text);
    } else {
        m_secrets.insert({text, Kind::kText, 0});
    }
}

void SecretTable::addName(const std::string& name) {
    if (name.size() >= kShortestName && !isKnownWord(name) && !isNumber(name)) {
        m_secrets.insert({name, Kind::kName, 0});
    }
}

void SecretTable::addHex(const std::string& digits) {
    const bool isEmpty = digits.find_first_not_of('0') == std::string::npos;
    if (digits.size() >= kShortestHex && digits.size() % 2 == 0 && isHex(digits) && !isEmpty) {
        m_secrets.insert({lowerCase(digits), Kind::kHex, formatDigits(lowerCase(digits))});
    }
}

void SecretTable::addIpv4(const std::string& address) {
    m_secrets.insert({address, Kind::kIpv4, 0});
}

void SecretTable::addWhole(const std::string& text, std::size_t keep) {
    m_secrets.insert({text, Kind::kWhole, keep});
}

void SecretTable::settle() {
    // The shorter ones first: the longer ones are put together of them.
    for (const Secret& secret : m_secrets) {
        addPatterns(secret, replacementOf(secret));
    }
}

std::string SecretTable::replacementOf(const Secret& secret) const {
    switch (secret.kind) {
        case Kind::kIpv4:
            return m_scrambler.ipv4(secret.text);
        case Kind::kHex:
            return composed(secret.text, secret.keep, PatternSet::Place::kHexDigits,
                            Scrambler::Alphabet::kAll);
        case Kind::kName:
            return composed(secret.text, 0, PatternSet::Place::kText,
                            Scrambler::Alphabet::kWithoutP);
        case Kind::kText:
        case Kind::kWhole:
            break;
    }
    return composed(secret.text, secret.keep, PatternSet::Place::kText, Scrambler::Alphabet::kAll);
}

std::string SecretTable::composed(const std::string& text, std::size_t keep,
                                  PatternSet::Place place, Scrambler::Alphabet alphabet) const {
    std::string result = text;
    std::size_t done = 0;
    const auto scramble = [&](std::size_t end) {
        const std::size_t kept = std::min(end - done, keep > done ? keep - done : 0);
        result.replace(done, end - done,
                       m_scrambler.text(text.substr(done, end - done), kept, alphabet));
    };
    for (const PatternSet::Match& match : m_patterns.matches(text, place)) {
        if (match.begin >= keep) {
            scramble(match.begin);
            result.replace(match.begin, match.length, *match.replacement);
            done = match.begin + match.length;
        }
    }
    scramble(text.size());
    return result;
}

void SecretTable::addPatterns(const Secret& secret, const std::string& replacement) {
    switch (secret.kind) {
        case Kind::kHex:
            addHexPatterns(secret.text, replacement);
            return;
        case Kind::kText:
            addTextPatterns(secret.text, replacement);
            return;
        case Kind::kName: {
            const bool isWord = secret.text.size() < kFreeText;
            m_patterns.add(secret.text, replacement, isWord);
            m_patterns.add(lowerCase(secret.text), lowerCase(replacement), isWord);
            m_patterns.add(upperCase(secret.text), upperCase(replacement), isWord);
            return;
        }
        case Kind::kIpv4:
        case Kind::kWhole:
            m_patterns.add(secret.text, replacement, true);
            m_certain.add(secret.text, replacement, true);
    }
}

void SecretTable::addTextPatterns(const std::string& text, const std::string& replacement) {
    const bool isWord = text.size() < (isNumber(text) ? kFreeNumber : kFreeText);
    const auto add = [&](const std::string& form, const std::string& with, bool word) {
        m_patterns.add(form, with, word);
        if (text.size() >= kCertain) {
            m_certain.add(form, with, word);
        }
    };
    add(text, replacement, isWord);
    add(withUnderscores(text), withUnderscores(replacement), isWord);
    add(lowerCase(text), lowerCase(replacement), isWord);
    add(upperCase(text), upperCase(replacement), isWord);
    add(hexOf(text), hexOf(replacement), false);
    add(upperCase(hexOf(text)), upperCase(hexOf(replacement)), false);
}

void SecretTable::addHexPatterns(const std::string& digits, const std::string& replacement) {
    constexpr std::size_t kPair = 2;
    constexpr std::size_t kQuad = 4;
    const bool isWord = digits.size() < kFreeHex;
    const auto add = [&](const std::string& form, const std::string& with, bool word) {
        m_patterns.add(form, with, word);
        m_patterns.add(upperCase(form), upperCase(with), word);
        if (digits.size() >= kCertain) {
            m_certain.add(form, with, word);
            m_certain.add(upperCase(form), upperCase(with), word);
        }
    };
    add(digits, replacement, isWord);
    for (const char separator : {':', '-', ' '}) {
        add(grouped(digits, kPair, separator), grouped(replacement, kPair, separator), true);
    }
    add(grouped(digits, kQuad, '-'), grouped(replacement, kQuad, '-'), true);
    m_patterns.add(rawOf(digits), rawOf(replacement), false);
}

std::string SecretTable::wholly(const std::string& field) const {
    return composed(field, 0, PatternSet::Place::kText, Scrambler::Alphabet::kAll);
}

Bytes SecretTable::wholly(const Bytes& name) const {
    const std::string digits = toHex(name);
    const std::string raw = rawOf(composed(
        digits, formatDigits(digits), PatternSet::Place::kHexDigits, Scrambler::Alphabet::kAll));
    return {raw.begin(), raw.end()};
}

std::string SecretTable::foundIn(const std::string& text) const {
    const std::vector<PatternSet::Match> found = m_certain.matches(text);
    return found.empty() ? std::string() : text.substr(found.front().begin, found.front().length);
}

}  // namespace recording
