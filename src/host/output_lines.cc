#include "host/output_lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace host {

void OutputLines::append(const char* bytes, std::size_t count) {
    std::size_t left = std::min(count, m_bytesLeft);
    m_bytesLeft -= left;
    while (left > 0) {
        if (!m_lineIsOpen) {
            if (m_lines.size() >= m_mostLines) {
                m_bytesLeft = 0;
                return;
            }
            m_lines.emplace_back();
        }
        const void* const feed = std::memchr(bytes, '\n', left);
        m_lineIsOpen = feed == nullptr;
        const std::size_t length =
            m_lineIsOpen ? left : static_cast<std::size_t>(static_cast<const char*>(feed) - bytes);
        m_lines.back().append(bytes, length);
        const std::size_t used = m_lineIsOpen ? length : length + 1;
        bytes += used;
        left -= used;
    }
}

std::vector<std::string> OutputLines::take() {
    m_lineIsOpen = false;
    return std::exchange(m_lines, {});
}

}  // namespace host
