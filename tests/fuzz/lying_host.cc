#include "lying_host.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace fuzz {
namespace {

constexpr std::size_t kBlock = 8;  // where the command block stands, and the response

template <class Value>
void copyTo(Value& value, const recording::Bytes& bytes) {
    if (!bytes.empty()) {
        std::memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof value));
    }
}

}  // namespace

LyingHost::LyingHost(host::Host& inner, const Pages& pages)
    : ForwardingHost(inner), m_pages(pages), m_said(pages.size()) {
    for (const Said& said : pages) {
        if (said.code == Said::kResults) {
            m_results = said.bytes;
        }
    }
}

// What is said more than once is said in its order, and then its last stays.
const recording::Bytes* LyingHost::next(std::uint8_t code) {
    const recording::Bytes* last = nullptr;
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        if (m_pages[i].code == code) {
            last = &m_pages[i].bytes;
            if (!m_said[i]) {
                m_said[i] = true;
                return last;
            }
        }
    }
    return last;
}

// Mostly success; else an errno or a SCSI status.
int LyingHost::result() {
    const int told = m_asked < m_results.size() ? static_cast<std::int8_t>(m_results[m_asked]) : 0;
    ++m_asked;
    return told;
}

int LyingHost::openDevice(const std::string& path, host::OpenMode mode) {
    const int opened = ForwardingHost::openDevice(path, mode);
    m_open += opened >= 0 ? 1 : 0;
    return opened;
}

int LyingHost::closeDevice(int descriptor) {
    const int closed = ForwardingHost::closeDevice(descriptor);
    m_open -= closed >= 0 ? 1 : 0;
    return closed;
}

int LyingHost::sendCommand(int /*descriptor*/, host::CommandBuffer& buffer) {
    const bool isPage = (buffer[kBlock + 1] & 1U) != 0;
    const std::uint8_t page = buffer[kBlock + 2];
    const std::uint8_t code = !isPage ? Said::kStandard : page == 0 ? Said::kPageList : page;
    const recording::Bytes* const bytes = next(code);
    if (bytes == nullptr) {
        return -EIO;
    }
    std::fill(buffer.begin() + kBlock, buffer.end(), std::uint8_t{0});
    std::copy_n(bytes->begin(), std::min(bytes->size(), buffer.size() - kBlock),
                buffer.begin() + kBlock);
    return result();
}

int LyingHost::addressWords(int /*descriptor*/, host::AddressWords& words) {
    const recording::Bytes* const bytes = next(Said::kAddress);
    if (bytes == nullptr) {
        return -ENOTTY;
    }
    copyTo(words.device, *bytes);
    return std::min(result(), 0);
}

int LyingHost::sgIo(int /*descriptor*/, host::SgIoRequest& request) {
    const recording::Bytes* const bytes = next(Said::kReply);
    if (bytes == nullptr) {
        return -ENOTTY;
    }
    std::copy_n(bytes->begin(), std::min(bytes->size(), request.data.size()), request.data.begin());
    request.status = static_cast<std::uint8_t>(result());
    return std::min(result(), 0);
}

int LyingHost::deviceSize(int /*descriptor*/, std::uint64_t& bytes) {
    const recording::Bytes* const said = next(Said::kSize);
    if (said == nullptr) {
        return -ENOTTY;
    }
    copyTo(bytes, *said);
    return std::min(result(), 0);
}

}  // namespace fuzz
