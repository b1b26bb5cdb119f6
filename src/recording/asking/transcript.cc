#include "recording/asking/transcript.h"

#include <cstring>
#include <utility>

namespace recording {
namespace {

// In front of each entry's key and data. Both processes are one program.
struct Head {
    std::uint32_t dataLength;
    std::int32_t result;
    std::uint16_t keyLength;
    std::uint8_t question;
    std::uint8_t reserved;
};
static_assert(sizeof(Head) == 12, "no byte of it is left unwritten");

constexpr std::size_t kUsualEntries = 12;
constexpr auto kLast = static_cast<std::uint8_t>(Transcript::Question::kSize);

}  // namespace

void Transcript::add(Question question, std::string_view key, const Answer& answer) {
    const Head head = {static_cast<std::uint32_t>(answer.data.size()), answer.result,
                       static_cast<std::uint16_t>(key.size()), static_cast<std::uint8_t>(question),
                       0};
    m_text.append(reinterpret_cast<const char*>(&head), sizeof head);
    m_entries.push_back(
        {question, false, answer.result, m_text.size(), key.size(), answer.data.size()});
    m_text.append(key).append(answer.data);
}

bool Transcript::read(std::string text) {
    std::vector<Entry> entries;
    entries.reserve(kUsualEntries);
    for (std::size_t at = 0; at < text.size();) {
        Head head;
        if (text.size() - at < sizeof head) {
            return false;
        }
        std::memcpy(&head, text.data() + at, sizeof head);
        at += sizeof head;
        const std::size_t length = std::size_t{head.keyLength} + head.dataLength;
        if (head.question == 0 || head.question > kLast || length > text.size() - at) {
            return false;
        }
        entries.push_back({static_cast<Question>(head.question), false, head.result, at,
                           head.keyLength, head.dataLength});
        at += length;
    }
    m_text = std::move(text);
    m_entries = std::move(entries);
    return true;
}

bool Transcript::next(Question question, std::string_view key, Answer& answer) {
    const std::string_view text = m_text;
    Entry* found = nullptr;
    for (Entry& entry : m_entries) {
        if (entry.question == question && text.substr(entry.key, entry.keyLength) == key) {
            found = &entry;
            if (!entry.given) {
                break;
            }
        }
    }
    if (found == nullptr) {
        return false;
    }
    found->given = true;
    answer = {found->result, text.substr(found->key + found->keyLength, found->dataLength)};
    return true;
}

}  // namespace recording
