#include "recording/asking/transcript.h"

#include <cstring>
#include <utility>

namespace recording {
namespace {

constexpr std::size_t kUsualLength = 1024;
constexpr std::size_t kNone = std::string::npos;

}  // namespace

Transcript::Head Transcript::headAt(std::size_t at) const {
    Head head;
    std::memcpy(&head, m_text.data() + at, sizeof head);
    return head;
}

std::size_t Transcript::lengthOf(const Head& head) {
    return sizeof head + head.keyLength + head.dataLength;
}

void Transcript::add(Question question, std::string_view key, const Answer& answer) {
    const Head head = {static_cast<std::uint32_t>(answer.data.size()), answer.result,
                       static_cast<std::uint16_t>(key.size()), question, false};
    if (m_text.empty()) {
        m_text.reserve(kUsualLength);
    }
    m_text.append(reinterpret_cast<const char*>(&head), sizeof head);
    m_text.append(key).append(answer.data);
}

bool Transcript::read(std::string text) {
    constexpr auto kLast = static_cast<std::uint8_t>(Question::kSize);
    for (std::size_t at = 0; at < text.size();) {
        if (text.size() - at < sizeof(Head)) {
            return false;
        }
        // As bytes: not each of them is a question, or a truth value.
        const auto question = static_cast<std::uint8_t>(text[at + offsetof(Head, question)]);
        const auto isGiven = static_cast<std::uint8_t>(text[at + offsetof(Head, isGiven)]);
        if (question == 0 || question > kLast || isGiven != 0) {
            return false;
        }
        Head head;
        std::memcpy(&head, text.data() + at, sizeof head);
        if (lengthOf(head) > text.size() - at) {
            return false;
        }
        at += lengthOf(head);
    }
    m_text = std::move(text);
    return true;
}

bool Transcript::next(Question question, std::string_view key, Answer& answer) {
    const std::string_view text = m_text;
    std::size_t found = kNone;
    for (std::size_t at = 0; at < text.size();) {
        const Head head = headAt(at);
        if (head.question == question && text.substr(at + sizeof head, head.keyLength) == key) {
            found = at;
            if (!head.isGiven) {
                break;
            }
        }
        at += lengthOf(head);
    }
    if (found == kNone) {
        return false;
    }
    const Head head = headAt(found);
    m_text[found + offsetof(Head, isGiven)] = '\1';
    answer = {head.result, text.substr(found + sizeof head + head.keyLength, head.dataLength)};
    return true;
}

}  // namespace recording
