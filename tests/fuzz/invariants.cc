#include "invariants.h"

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "output_schema.h"
#include "recording/text/json_tree.h"
#include "recording/text/strict_json.h"

namespace fuzz {
namespace {

constexpr std::size_t kShown = 4096;

// The code point at a place and how many bytes it takes; ends the run for what is no UTF-8.
std::uint32_t codePoint(const std::string& text, std::size_t at, std::size_t& length) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const std::uint32_t first = byte(at);
    length = first < 0x80   ? 1
             : first < 0xC2 ? 0
             : first < 0xE0 ? 2
             : first < 0xF0 ? 3
             : first < 0xF5 ? 4
                            : 0;
    demand(length != 0, "text for a terminal is UTF-8", text);
    std::uint32_t point = length == 1 ? first : first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        demand((byte(at + i) & 0xC0U) == 0x80U, "text for a terminal is UTF-8", text);
        point = point << 6U | (byte(at + i) & 0x3FU);
    }
    return point;
}

bool steers(std::uint32_t point) {
    const bool isControl =
        (point < 0x20 && point != '\n' && point != '\t') || (point >= 0x7F && point < 0xA0);
    const bool isDirection = point == 0x061C || point == 0x200E || point == 0x200F ||
                             (point >= 0x2028 && point <= 0x202E) ||
                             (point >= 0x2066 && point <= 0x2069);
    return isControl || isDirection;
}

}  // namespace

void fail(const std::string& what, const std::string& seen) {
    std::fprintf(stderr, "NOT MET: %s\n%s\n", what.c_str(), seen.substr(0, kShown).c_str());
    std::abort();
}

void demandTerminalText(const std::string& text) {
    std::size_t length = 0;
    for (std::size_t at = 0; at < text.size(); at += length) {
        demand(!steers(codePoint(text, at, length)), "nothing steers a terminal", text);
    }
}

void demandDocument(const std::string& text) {
    for (const char c : text) {
        demand(c == '\n' || (c >= ' ' && c <= '~'), "a document is ASCII", text);
    }
    try {
        const recording::JsonTree strict(text);
    } catch (const recording::JsonError& error) {
        fail("no member stands twice in a document", text);
    }
    const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    demand(!document.is_discarded(), "a document is JSON", text);
    const std::string wrong = outputSchema().complaint(document);
    demand(wrong.empty(), "a document is as the schema has it", wrong + "\n" + text);
}

}  // namespace fuzz
