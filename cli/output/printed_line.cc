#include "cli/output/printed_line.h"

#include <vector>

namespace cli {
namespace {

constexpr char kEscape = '\x1b';
constexpr char kBell = '\a';

bool isBetween(char c, char first, char last) {
    return c >= first && c <= last;
}

// Behind the sequence that begins at a place with ESC (ECMA-48): CSI with its parameters, a string
// of OSC, or a sequence of two characters or more.
std::size_t behindSequence(const std::string& line, std::size_t at) {
    ++at;
    if (at < line.size() && line[at] == ']') {
        const std::size_t end = line.find_first_of({kBell, kEscape}, at);
        return end == std::string::npos ? line.size() : end + (line[end] == kBell ? 1 : 2);
    }
    const bool isControl = at < line.size() && line[at] == '[';
    at += isControl ? 1 : 0;
    while (at < line.size() && isBetween(line[at], ' ', isControl ? '?' : '/')) {
        ++at;
    }
    return at + 1;
}

/// A line of a terminal: characters, each with the bytes that continue it, and the cursor.
class Screen {
  public:
    void put(char c) {
        const bool continues = (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
        if (continues && m_cursor > 0) {
            m_cells[m_cursor - 1] += c;
            return;
        }
        if (m_cursor == m_cells.size()) {
            m_cells.emplace_back();
        }
        m_cells[m_cursor++] = c;
    }
    void home() { m_cursor = 0; }
    void back() { m_cursor -= m_cursor > 0 ? 1 : 0; }

    std::string text() const {
        std::string text;
        for (const std::string& cell : m_cells) {
            text += cell;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        return text;
    }

  private:
    std::vector<std::string> m_cells;
    std::size_t m_cursor = 0;
};

}  // namespace

std::optional<std::string> printedLine(const std::string& line) {
    Screen screen;
    bool isSteered = false;
    for (std::size_t at = 0; at < line.size();) {
        const char c = line[at];
        if (c != kEscape && c != '\r' && c != '\b' && c != kBell) {
            screen.put(c);
            ++at;
            continue;
        }
        isSteered = true;
        if (c == '\r') {
            screen.home();
        } else if (c == '\b') {
            screen.back();
        }
        at = c == kEscape ? behindSequence(line, at) : at + 1;
    }
    std::string text = screen.text();
    return isSteered && text.empty() ? std::nullopt : std::optional<std::string>(std::move(text));
}

}  // namespace cli
