#include "cli/mailed/dump_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "cli/mailed/dump_line.h"

namespace cli::mailed {
namespace {

using Kind = DumpLine::Kind;

constexpr std::size_t kMostRemarks = 20;
constexpr std::size_t kLongestTitle = 200;
// A few characters stand for a megabyte: those of one text must not stand for all of the memory.
constexpr std::size_t kMostRepeated = 4U << 20;
constexpr std::size_t kLeastBytes = 4;  // of the first line of bytes without offsets
constexpr int kBases[] = {16, 8, 10};   // sg_vpd, xxd and hexdump; od; od -A d

std::optional<std::size_t> valueOf(const std::string& digits, int base) {
    std::size_t value = 0;
    for (const char c : digits) {
        const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
        if (digit >= base || value > kLongestDump) {
            return std::nullopt;
        }
        value = value * static_cast<std::size_t>(base) + static_cast<std::size_t>(digit);
    }
    return value;
}

// "/dev/sdb" in a line; the last one where several stand.
std::string deviceIn(std::string_view line) {
    constexpr std::string_view kFolder = "/dev/";
    const std::size_t start = line.rfind(kFolder);
    if (start == std::string_view::npos) {
        return {};
    }
    std::size_t end = start + kFolder.size();
    const auto isOfName = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("/_.:+-").find(c) != std::string_view::npos;
    };
    while (end < line.size() && end - start < kLongestTitle && isOfName(line[end])) {
        ++end;
    }
    while (std::string_view(".:-").find(line[end - 1]) != std::string_view::npos) {
        --end;
    }
    return end > start + kFolder.size() ? std::string(line.substr(start, end - start))
                                        : std::string();
}

class Finder {
  public:
    explicit Finder(const std::string& name) : m_name(name) {}

    void readLine(std::string_view text) {
        ++m_line;
        const DumpLine line = readDumpLine(text);
        switch (line.kind) {
            case Kind::kText:
                endDump();
                takeTitle(withoutQuotes(text));
                break;
            case Kind::kWords:
                endDump();
                if (!m_hasWords) {
                    remark(
                        "words of two bytes, whose order is not told; send them as od -tx1 or "
                        "hexdump -C write them");
                }
                m_hasWords = true;
                break;
            case Kind::kRepeat:
                beginRepeat();
                break;
            case Kind::kEnd:
                readEnd(line);
                break;
            case Kind::kBytes:
                readBytes(line);
                break;
        }
    }

    Dumps take() {
        endDump();
        return std::move(m_found);
    }

  private:
    void remark(const std::string& text) {
        if (m_found.remarks.size() < kMostRemarks) {
            m_found.remarks.push_back(fmt::format("{}:{}: {}", m_name, m_line, text));
        }
    }

    void takeTitle(std::string_view line) {
        if (line.empty()) {
            return;
        }
        m_title = std::string(line.substr(0, kLongestTitle));
        const std::string device = deviceIn(m_title);
        if (!device.empty()) {
            m_device = device;
        }
    }

    void endDump() {
        if (!m_dump.bytes.empty()) {
            m_found.all.push_back(std::move(m_dump));
        }
        m_dump = Dump();
        m_isRepeated = false;
        m_hasOffsets = false;
        m_base = 0;
    }

    void begin(const DumpLine& line) {
        m_dump.line = m_line;
        m_dump.device = m_device;
        m_dump.title = m_title;
        m_hasOffsets = !line.offset.empty();
        m_last = 0;
    }

    void append(const std::vector<std::uint8_t>& bytes) {
        m_last = m_dump.bytes.size();
        // Of an insert of the range GCC 14 warns that it might write behind the vector's end.
        std::copy(bytes.begin(), bytes.end(), std::back_inserter(m_dump.bytes));
        if (m_dump.bytes.size() > kLongestDump) {
            m_dump.bytes.clear();
            remark(fmt::format("more than {} bytes in one dump: it is no page", kLongestDump));
            endDump();
        }
    }

    void beginRepeat() {
        if (m_repeated >= kMostRepeated) {
            remark(fmt::format("'*' stands for {} bytes in this text: the dump ends there",
                               m_repeated));
            endDump();
        }
        m_isRepeated = !m_dump.bytes.empty();
    }

    void readBytes(const DumpLine& line) {
        const bool isZero = line.offset.find_first_not_of('0') == std::string::npos;
        const bool isNew =
            m_dump.bytes.empty() || line.offset.empty() == m_hasOffsets || (m_hasOffsets && isZero);
        if (isNew) {
            endDump();
            if (line.offset.empty() && line.bytes.size() < kLeastBytes) {
                return;
            }
            if (!line.offset.empty() && !isZero) {
                remark("the offset " + line.offset + " begins no dump: the bytes are left out");
                return;
            }
            begin(line);
        } else if (m_hasOffsets && !reach(line.offset)) {
            remark("the offset " + line.offset +
                   " does not follow the line before: the dump ends "
                   "there");
            endDump();
            return;
        }
        append(line.bytes);
    }

    // An offset alone ends a dump that has offsets; in one without it is bytes.
    void readEnd(const DumpLine& line) {
        if (m_dump.bytes.empty() || m_hasOffsets) {
            if (!m_dump.bytes.empty()) {
                reach(line.offset);
            }
            endDump();
        } else if (!line.bytes.empty()) {
            append(line.bytes);
        }
    }

    // Makes the dump end where the next line begins. The base of the offsets is the one in which it
    // does; a line that is repeated is, and characters that were taken for bytes go.
    bool reach(const std::string& offset) {
        for (const int base : kBases) {
            const std::optional<std::size_t> place = valueOf(offset, base);
            const bool isPossible = place && (m_base == 0 || m_base == base);
            if (isPossible && (m_isRepeated ? repeatTo(*place) : *place == m_dump.bytes.size())) {
                m_base = base;
                m_isRepeated = false;
                return true;
            }
        }
        const std::optional<std::size_t> place = valueOf(offset, 16);
        const bool isWithinLine = place && *place > m_last && *place < m_dump.bytes.size();
        if (isWithinLine && !m_isRepeated) {
            m_dump.bytes.resize(*place);
        }
        return isWithinLine && !m_isRepeated;
    }

    bool repeatTo(std::size_t place) {
        const std::size_t length = m_dump.bytes.size() - m_last;
        const std::size_t missing = place > m_dump.bytes.size() ? place - m_dump.bytes.size() : 0;
        if (missing == 0 || length == 0 || place > kLongestDump ||
            (m_base == 0 && missing % length != 0)) {
            return false;
        }
        m_repeated += missing;
        for (std::size_t i = 0; i < missing; ++i) {
            const std::uint8_t byte = m_dump.bytes[m_last + i % length];
            m_dump.bytes.push_back(byte);
        }
        return true;
    }

    const std::string& m_name;
    Dumps m_found;
    Dump m_dump;
    std::string m_device;
    std::string m_title;
    std::size_t m_line = 0;
    std::size_t m_last = 0;      // where the bytes of the last line begin
    std::size_t m_repeated = 0;  // bytes of the text's repeated lines
    int m_base = 0;              // of the offsets; 0 while it is not known
    bool m_hasOffsets = false;
    bool m_isRepeated = false;
    bool m_hasWords = false;
};

}  // namespace

Dumps findDumps(const std::string& text, const std::string& name) {
    Finder finder(name);
    const std::string_view all = text;
    for (std::size_t start = 0; start < all.size();) {
        const std::size_t end = std::min(all.find('\n', start), all.size());
        finder.readLine(all.substr(start, end - start));
        start = end + 1;
    }
    return finder.take();
}

}  // namespace cli::mailed
