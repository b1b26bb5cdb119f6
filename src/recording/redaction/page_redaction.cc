#include "recording/redaction/page_redaction.h"

#include <algorithm>

#include "recording/redaction/page_fields.h"
#include "recording/redaction/text_scan.h"
#include "recording/redaction/words.h"
#include "recording/text/hex.h"

namespace recording {
namespace {

using Kind = PageField::Kind;

constexpr std::size_t kShortestRun = 5;  // shorter ones are as likely lengths and flags
constexpr std::size_t kIdentity = 8;     // vendor, product and firmware of the INQUIRY data
constexpr std::size_t kIdentityEnd = 36;

std::vector<PageField> fieldsOf(PageCode code, const Bytes& bytes, const SecretTable& table) {
    return code ? fieldsOfPage(*code, bytes,
                               [&](const std::string& word) { return table.isKnownWord(word); })
                : fieldsOfInquiry(bytes);
}

Bytes part(const Bytes& bytes, const PageField& field) {
    const auto begin = bytes.begin() + static_cast<long>(field.offset);
    return {begin, begin + static_cast<long>(field.length)};
}

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

bool isPrintable(char c) {
    return c > ' ' && c < 0x7F;
}

// Calls `use(begin, end)` for the runs of printable characters that are long enough to be text.
template <class Use>
void forEachPrintable(const std::string& text, Use use) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t end = begin;
        while (end < text.size() && isPrintable(text[end])) {
            ++end;
        }
        if (end - begin >= kShortestRun) {
            use(begin, end);
        }
        begin = end + 1;
    }
}

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? ""
                                      : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

// The pieces of a text between NULs; each with its place.
template <class Use>
void forEachPiece(const std::string& text, Use use) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\0', begin), text.size());
        if (end > begin) {
            use(begin, text.substr(begin, end - begin));
        }
        begin = end + 1;
    }
}

// A SCSI name string says in front what it is.
std::size_t formatCharacters(const std::string& text) {
    constexpr std::size_t kIqn = 12;  // with its date
    constexpr std::size_t kOther = 4;
    const std::string start = text.substr(0, kOther);
    return start == "iqn." ? kIqn : start == "naa." || start == "eui." ? kOther : 0;
}

void collectText(const std::string& field, SecretTable& table) {
    scanText(field, table);
    forEachPiece(field, [&](std::size_t, const std::string& piece) {
        if (formatCharacters(piece) == 0) {
            table.addText(trimmed(piece));
            scanIdentifier(piece, table);
        }
    });
}

std::string redactedText(const std::string& field, const SecretTable& table) {
    std::string result = field;
    forEachPiece(field, [&](std::size_t begin, const std::string& piece) {
        const std::size_t kept = formatCharacters(piece);
        // A name that is known as a whole is replaced as one.
        const std::string whole = table.replaced(piece);
        result.replace(begin, piece.size(),
                       kept != 0 && whole != piece
                           ? whole
                           : piece.substr(0, kept) + table.wholly(piece.substr(kept)));
    });
    return result;
}

// The page that an INQUIRY asks for; nothing for other commands.
bool isInquiry(const Bytes& block, PageCode& code) {
    constexpr std::uint8_t kInquiry = 0x12;
    constexpr std::size_t kLength = 6;
    if (block.size() != kLength || block[0] != kInquiry) {
        return false;
    }
    code = (block[1] & 1U) != 0 ? PageCode(block[2]) : PageCode();
    return true;
}

// Fixed format has 18 bytes of fields, descriptor format a header of 8.
std::size_t namelessSense(const Bytes& sense) {
    constexpr std::size_t kFixed = 18;
    constexpr std::size_t kDescriptors = 8;
    const bool hasDescriptors = !sense.empty() && (sense[0] & 0x7FU) >= 0x72;
    return std::min(sense.size(), hasDescriptors ? kDescriptors : kFixed);
}

}  // namespace

void learnProduct(const Bytes& inquiry, SecretTable& table) {
    std::string text;
    for (std::size_t index = kIdentity; index < std::min(kIdentityEnd, inquiry.size()); ++index) {
        // Vendor, product and firmware are words of their own without a blank between them.
        text += index == 16 || index == 32 ? " " : "";
        text += static_cast<char>(inquiry[index]);
    }
    forEachPrintable(text + "     ", [&](std::size_t begin, std::size_t end) {
        table.addKnownWord(text.substr(begin, end - begin));
    });
    for (const std::string& word : wordsOf(text)) {
        table.addKnownWord(word);
    }
}

void collectRegion(const Bytes& bytes, SecretTable& table) {
    const std::string text = textOf(bytes);
    scanText(text, table);
    forEachPrintable(text, [&](std::size_t begin, std::size_t end) {
        const std::string run = text.substr(begin, end - begin);
        if (hasDigit(run) && run.size() > kShortestRun) {
            table.addText(run);
        }
    });
}

void redactRegion(Bytes& bytes, const SecretTable& table) {
    std::string text = table.replaced(textOf(bytes));
    const std::string original = textOf(bytes);
    forEachPrintable(original, [&](std::size_t begin, std::size_t end) {
        const std::string run = original.substr(begin, end - begin);
        text.replace(begin, run.size(), table.wholly(run));
    });
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == original[index]) {
            const auto byte = static_cast<std::uint8_t>(text[index]);
            text[index] = static_cast<char>(table.scrambler().byte(byte, index));
        }
    }
    bytes = bytesOf(text);
}

void collectPage(PageCode code, const Bytes& bytes, SecretTable& table) {
    for (const PageField& field : fieldsOf(code, bytes, table)) {
        const Bytes here = part(bytes, field);
        switch (field.kind) {
            case Kind::kText:
                collectText(textOf(here), table);
                break;
            case Kind::kBinary:
                table.addHex(toHex(here));
                break;
            case Kind::kRegion:
                collectRegion(here, table);
                break;
        }
    }
}

void redactPage(PageCode code, Bytes& bytes, const SecretTable& table) {
    for (const PageField& field : fieldsOf(code, bytes, table)) {
        Bytes here = part(bytes, field);
        switch (field.kind) {
            case Kind::kText:
                here = bytesOf(redactedText(textOf(here), table));
                break;
            case Kind::kBinary:
                here = table.wholly(here);
                break;
            case Kind::kRegion:
                redactRegion(here, table);
                break;
        }
        std::copy(here.begin(), here.end(), bytes.begin() + static_cast<long>(field.offset));
    }
}

void collectAnswer(const Bytes& block, const RecordedPage& answer, SecretTable& table) {
    PageCode code;
    if (isInquiry(block, code)) {
        collectPage(code, answer.bytes, table);
    } else {
        collectRegion(answer.bytes, table);
    }
    collectSense(answer.sense, table);
}

void redactAnswer(const Bytes& block, RecordedPage& answer, const SecretTable& table) {
    PageCode code;
    if (isInquiry(block, code)) {
        redactPage(code, answer.bytes, table);
    } else {
        redactRegion(answer.bytes, table);
    }
    redactSense(answer.sense, table);
}

void collectSense(const Bytes& sense, SecretTable& table) {
    const auto fields = static_cast<std::ptrdiff_t>(namelessSense(sense));
    collectRegion({sense.begin() + fields, sense.end()}, table);
}

void redactSense(Bytes& sense, const SecretTable& table) {
    const auto fields = static_cast<std::ptrdiff_t>(namelessSense(sense));
    Bytes rest(sense.begin() + fields, sense.end());
    redactRegion(rest, table);
    std::copy(rest.begin(), rest.end(), sense.begin() + fields);
}

}  // namespace recording
