#include "recording/asking/transcribing_host.h"

#include <algorithm>
#include <cerrno>

#include "recording/asking/questions.h"

namespace recording {
namespace {

using Question = Transcript::Question;
using questions::dataOf;
using questions::keyOf;

constexpr int kCannotBeExecuted = 126 << 8;
// More than any request of the library asks for.
constexpr std::size_t kLongestSgIo = 65536;

}  // namespace

bool TranscribingHost::isOpen(int descriptor) const {
    return std::find(m_descriptors.begin(), m_descriptors.end(), descriptor) != m_descriptors.end();
}

void TranscribingHost::putDraft() const {
    if (m_draft) {
        m_draft(m_transcript.text());
    }
}

int TranscribingHost::openDevice(const std::string& path, host::OpenMode mode) {
    putDraft();
    const int result = ReadForwardingHost::openDevice(path, mode);
    if (path == m_path) {
        m_transcript.add(Question::kOpen, keyOf(mode), {std::min(result, 0), {}});
        if (result >= 0) {
            m_descriptors.push_back(result);
        }
    }
    return result;
}

int TranscribingHost::closeDevice(int descriptor) {
    const int result = ReadForwardingHost::closeDevice(descriptor);
    const auto found = std::find(m_descriptors.begin(), m_descriptors.end(), descriptor);
    if (found != m_descriptors.end()) {
        m_descriptors.erase(found);
        m_transcript.add(Question::kClose, {}, {result, {}});
    }
    return result;
}

int TranscribingHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const host::CommandBuffer asked = buffer;
    putDraft();
    const int result = ReadForwardingHost::sendCommand(descriptor, buffer);
    if (isOpen(descriptor) && !keyOf(asked).empty()) {
        m_transcript.add(Question::kCommand, keyOf(asked), {result, dataOf(result, buffer)});
    }
    return result;
}

int TranscribingHost::addressWords(int descriptor, host::AddressWords& words) {
    putDraft();
    const int result = ReadForwardingHost::addressWords(descriptor, words);
    if (isOpen(descriptor)) {
        m_transcript.add(Question::kAddressWords, {},
                         {result, result < 0 ? std::string() : dataOf(words)});
    }
    return result;
}

int TranscribingHost::sgIo(int descriptor, host::SgIoRequest& request) {
    const std::string key = keyOf(request);
    putDraft();
    const int result = ReadForwardingHost::sgIo(descriptor, request);
    if (isOpen(descriptor) && request.data.size() <= kLongestSgIo) {
        m_transcript.add(Question::kSgIo, key,
                         {result, result < 0 ? std::string() : dataOf(request)});
    }
    return result;
}

int TranscribingHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    putDraft();
    const int result = ReadForwardingHost::deviceSize(descriptor, bytes);
    if (isOpen(descriptor)) {
        m_transcript.add(Question::kSize, {}, {result, result < 0 ? std::string() : dataOf(bytes)});
    }
    return result;
}

host::AppendResult TranscribingHost::appendFile(const std::string& /*path*/,
                                                const std::string& /*text*/,
                                                const host::BeforeWrite& /*beforeWrite*/) {
    return {EPERM, 0};
}

host::CommandResult TranscribingHost::runCommand(const std::string& /*command*/,
                                                 int /*timeoutSeconds*/) {
    return {{}, kCannotBeExecuted, false};
}

int TranscribingHost::runShell(const std::string& /*line*/) {
    return kCannotBeExecuted;
}

int TranscribingHost::openSemaphore(int /*key*/, int /*count*/, int /*flags*/) {
    return -EPERM;
}

int TranscribingHost::operateSemaphore(
    int /*identifier*/, const std::vector<host::SemaphoreOperation>& /*operations*/) {
    return -EPERM;
}

void TranscribingHost::sleepSeconds(unsigned /*seconds*/) {}

}  // namespace recording
