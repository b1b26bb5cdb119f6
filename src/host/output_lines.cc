#include "host/output_lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace host {
namespace {

// What the allocator adds to a block: its header, and what it rounds up.
constexpr std::size_t kBlockOverhead = 32;
constexpr std::size_t kFewestLines = 16;

std::size_t blockSize(std::size_t bytes) {
    return bytes + kBlockOverhead;
}

// A short line lies in the string itself.
std::size_t textBlockSize(std::size_t capacity) {
    return capacity > std::string().capacity() ? blockSize(capacity + 1) : 0;
}

std::size_t lineBlockSize(std::size_t capacity) {
    return capacity > 0 ? blockSize(capacity * sizeof(std::string)) : 0;
}

// While memory grows, the former block is there beside the new one.
bool replaceBlock(std::size_t& left, std::size_t former, std::size_t next) {
    if (next > left) {
        return false;
    }
    left = left - next + former;
    return true;
}

}  // namespace

void OutputLines::append(const char* bytes, std::size_t count) {
    while (count > 0 && !m_isFull) {
        const void* const feed = std::memchr(bytes, '\n', count);
        const std::size_t length =
            feed == nullptr ? count
                            : static_cast<std::size_t>(static_cast<const char*>(feed) - bytes);
        m_isFull = (!m_lineIsOpen && !beginLine()) || !extendLine(bytes, length);
        m_lineIsOpen = feed == nullptr;
        const std::size_t used = m_lineIsOpen ? length : length + 1;
        bytes += used;
        count -= used;
    }
}

bool OutputLines::beginLine() {
    const std::size_t capacity = m_lines.capacity();
    if (m_lines.size() == capacity) {
        const std::size_t next = std::max(kFewestLines, 2 * capacity);
        if (!replaceBlock(m_left, lineBlockSize(capacity), lineBlockSize(next))) {
            return false;
        }
        m_lines.reserve(next);
    }
    m_lines.emplace_back();
    return true;
}

// Takes what fits.
bool OutputLines::extendLine(const char* bytes, std::size_t count) {
    std::string& line = m_lines.back();
    const std::size_t capacity = line.capacity();
    const std::size_t needed = line.size() + count;
    if (needed > capacity) {
        const std::size_t next = std::max(needed, 2 * capacity);
        if (!replaceBlock(m_left, textBlockSize(capacity), textBlockSize(next))) {
            line.append(bytes, capacity - line.size());
            return false;
        }
        line.reserve(next);
    }
    line.append(bytes, count);
    return true;
}

std::vector<std::string> OutputLines::take() {
    m_lineIsOpen = false;
    return std::exchange(m_lines, {});
}

}  // namespace host
