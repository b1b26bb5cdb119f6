#include "recording/redaction/text_scan.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "recording/redaction/words.h"

namespace recording {
namespace {

constexpr std::size_t kIqnDate = 12;  // "iqn.1994-05."

template <class Test>
std::size_t endOfRun(std::string_view text, std::size_t begin, Test test) {
    while (begin < text.size() && test(text[begin])) {
        ++begin;
    }
    return begin;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

bool isIpv4(std::string_view text) {
    const std::vector<std::string_view> parts = split(text, '.');
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](std::string_view part) {
               return !part.empty() && part.size() <= 3 &&
                      std::all_of(part.begin(), part.end(), isDigit) &&
                      (part.size() == 1 || part.front() != '0') &&
                      std::stoi(std::string(part)) <= 255;
           });
}

// Those that name no machine: "this host", loopback and broadcast.
bool isGeneralIpv4(std::string_view text) {
    return text.substr(0, 4) == "127." || text == "0.0.0.0" || text == "255.255.255.255";
}

bool areGroups(const std::vector<std::string_view>& parts, std::size_t count, std::size_t width) {
    return parts.size() == count && std::all_of(parts.begin(), parts.end(), [=](auto part) {
               return part.size() == width && isHex(part);
           });
}

std::string joined(const std::vector<std::string_view>& parts) {
    std::string digits;
    for (const std::string_view part : parts) {
        digits += part;
    }
    return digits;
}

// Digits in pairs (MAC address, port name) or in fours (IPv6). SCSI addresses and device numbers
// are shorter.
void addColons(std::string_view text, SecretTable& table) {
    constexpr std::size_t kIpv6Groups = 8;
    const std::vector<std::string_view> parts = split(text, ':');
    if (areGroups(parts, 6, 2) || areGroups(parts, 8, 2) || areGroups(parts, 16, 2)) {
        table.addHex(joined(parts));
        return;
    }
    const bool isShortened = text.find("::") != std::string_view::npos;
    const bool isLong = std::any_of(parts.begin(), parts.end(),
                                    [](std::string_view part) { return part.size() >= 3; });
    const bool fits = std::all_of(parts.begin(), parts.end(),
                                  [](std::string_view part) { return part.size() <= 4; });
    if (isLong && fits && (parts.size() == kIpv6Groups || isShortened)) {
        table.addWhole(std::string(text));
    }
}

// "123e4567-e89b-12d3-a456-426614174000"; a file system's short one ("A1B2-C3D4") is too short to
// be told from anything else.
void addDashes(std::string_view text, SecretTable& table) {
    const std::vector<std::string_view> parts = split(text, '-');
    constexpr std::size_t kWidths[] = {8, 4, 4, 4, 12};
    for (std::size_t first = 0; first + 5 <= parts.size(); ++first) {
        bool fits = true;
        for (std::size_t index = 0; index < 5; ++index) {
            const std::string_view part = parts[first + index];
            fits = fits && part.size() == kWidths[index] && isHex(part);
        }
        if (fits) {
            const char* const begin = parts[first].data();
            const std::string_view last = parts[first + 4];
            table.addWhole(std::string(begin, last.data() + last.size()));
        }
    }
}

void addWord(std::string_view word, SecretTable& table) {
    constexpr std::size_t kShort = 16;
    constexpr std::size_t kLong = 32;
    constexpr std::size_t kLvm = 64;
    constexpr std::size_t kUnique = 20;
    const bool hasPrefix = word.substr(0, 2) == "0x";
    std::string_view digits = hasPrefix ? word.substr(2) : word;
    if (digits.size() == kShort + 1 || digits.size() == kLong + 1) {
        // scsi_id puts the designator type of page 0x83 in front.
        digits.remove_prefix(digits.front() == '1' || digits.front() == '2' ||
                                     digits.front() == '3' || digits.front() == '8'
                                 ? 1
                                 : 0);
    }
    if ((digits.size() == kShort || digits.size() == kLong) && isHex(digits)) {
        table.addHex(std::string(digits));
    } else if (word.size() == kLvm) {
        table.addText(std::string(word.substr(0, kLong)));
        table.addText(std::string(word.substr(kLong)));
    } else if (word.size() >= kUnique && hasDigit(word)) {
        table.addText(std::string(word));
    }
}

bool isIqnCharacter(char c) {
    return isAlphanumeric(c) || c == '.' || c == '-' || c == ':' || c == '_';
}

// The names of udev's links go on behind an iSCSI name.
void addIqn(std::string_view text, SecretTable& table) {
    const std::string_view name = text.substr(0, text.find("-lun-"));
    if (name.size() > kIqnDate) {
        table.addWhole(std::string(name), kIqnDate);
    }
}

void scanIqns(std::string_view text, SecretTable& table) {
    std::size_t begin = 0;
    while ((begin = text.find("iqn.", begin)) != std::string_view::npos) {
        const std::size_t end = endOfRun(text, begin, isIqnCharacter);
        addIqn(text.substr(begin, end - begin), table);
        begin = end;
    }
}

template <class Test, class Use>
void forEachRun(std::string_view text, Test test, Use use) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = endOfRun(text, begin, test);
        if (end > begin) {
            use(text.substr(begin, end - begin));
        }
        begin = end + 1;
    }
}

}  // namespace

void scanText(const std::string& text, SecretTable& table) {
    scanIqns(text, table);
    forEachRun(text, isAlphanumeric, [&](std::string_view run) { addWord(run, table); });
    forEachRun(
        text, [](char c) { return isDigit(c) || c == '.'; },
        [&](std::string_view run) {
            while (!run.empty() && run.back() == '.') {
                run.remove_suffix(1);
            }
            if (isIpv4(run) && !isGeneralIpv4(run)) {
                table.addIpv4(std::string(run));
            }
        });
    forEachRun(
        text, [](char c) { return isHexDigit(c) || c == ':'; },
        [&](std::string_view run) { addColons(run, table); });
    forEachRun(
        text, [](char c) { return isAlphanumeric(c) || c == '-'; },
        [&](std::string_view run) { addDashes(run, table); });
}

void scanIdentifier(const std::string& text, SecretTable& table) {
    for (const std::string& word : wordsOf(text)) {
        if (hasDigit(word) && !table.isKnownWord(word)) {
            table.addText(word);
        }
    }
}

void scanNames(const std::string& text, SecretTable& table) {
    for (const std::string& word : wordsOf(text)) {
        table.addName(word);
    }
}

}  // namespace recording
