#include "recording/asking/questions.h"

#include <algorithm>
#include <cstring>

namespace recording::questions {
namespace {

constexpr std::size_t kHeader = 8;
constexpr std::size_t kLargestBlock = 16;

template <class Value>
std::string bytesOf(const Value& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

template <class Value>
bool takeValue(const Transcript::Answer& answer, Value& value) {
    if (answer.result < 0) {
        return true;
    }
    if (answer.data.size() != sizeof value) {
        return false;
    }
    std::memcpy(&value, answer.data.data(), sizeof value);
    return true;
}

std::uint32_t lengthAt(const host::CommandBuffer& buffer, std::size_t offset) {
    std::uint32_t length = 0;
    std::memcpy(&length, buffer.data() + offset, sizeof length);
    return length;
}

// Where the response stands; an output length that the buffer cannot hold was refused.
std::size_t responseRoom(const host::CommandBuffer& buffer) {
    return std::min<std::size_t>(lengthAt(buffer, sizeof(std::uint32_t)), buffer.size() - kHeader);
}

// Most of a response is zeros: they are passed over a word at a time.
std::string withoutLastZeros(const std::uint8_t* bytes, std::size_t length) {
    std::uint64_t word = 0;
    while (length >= sizeof word) {
        std::memcpy(&word, bytes + length - sizeof word, sizeof word);
        if (word != 0) {
            break;
        }
        length -= sizeof word;
    }
    while (length > 0 && bytes[length - 1] == 0) {
        --length;
    }
    return {reinterpret_cast<const char*>(bytes), length};
}

void fill(std::uint8_t* to, std::size_t room, std::string_view bytes) {
    std::uint8_t* const end = std::copy(bytes.begin(), bytes.end(), to);
    std::fill(end, to + room, std::uint8_t{0});
}

// In front of the data of an SG_IO answer.
struct SgIoHead {
    std::uint32_t senseLength;
    std::uint16_t hostStatus;
    std::uint16_t status;
};

}  // namespace

std::string keyOf(host::OpenMode mode) {
    return {static_cast<char>(mode)};
}

std::string_view keyOf(const host::CommandBuffer& buffer) {
    const bool sendsData = lengthAt(buffer, 0) != 0;
    return {reinterpret_cast<const char*>(buffer.data()), sendsData ? 0 : kHeader + kLargestBlock};
}

std::string keyOf(const host::SgIoRequest& request) {
    std::string key = bytesOf(request.data.size());
    key += bytesOf(request.sense.size());
    key += bytesOf(request.timeout);
    key.append(request.cdb.begin(), request.cdb.end());
    return key;
}

std::string dataOf(int result, const host::CommandBuffer& buffer) {
    return result < 0 ? std::string()
                      : withoutLastZeros(buffer.data() + kHeader, responseRoom(buffer));
}

std::string dataOf(const host::SgIoRequest& request) {
    const std::string sense = withoutLastZeros(request.sense.data(), request.sense.size());
    const SgIoHead head = {static_cast<std::uint32_t>(sense.size()), request.hostStatus,
                           request.status};
    return bytesOf(head) + sense + withoutLastZeros(request.data.data(), request.data.size());
}

std::string dataOf(const host::AddressWords& words) {
    return bytesOf(words);
}

std::string dataOf(std::uint64_t bytes) {
    return bytesOf(bytes);
}

bool take(const Transcript::Answer& answer, host::CommandBuffer& buffer) {
    if (answer.result < 0) {
        return true;
    }
    const std::size_t room = responseRoom(buffer);
    if (answer.data.size() > room) {
        return false;
    }
    fill(buffer.data() + kHeader, room, answer.data);
    return true;
}

bool take(const Transcript::Answer& answer, host::SgIoRequest& request) {
    if (answer.result < 0) {
        return true;
    }
    SgIoHead head;
    if (answer.data.size() < sizeof head) {
        return false;
    }
    std::memcpy(&head, answer.data.data(), sizeof head);
    const std::string_view rest = answer.data.substr(sizeof head);
    if (head.senseLength > rest.size() || head.senseLength > request.sense.size() ||
        rest.size() - head.senseLength > request.data.size()) {
        return false;
    }
    fill(request.sense.data(), request.sense.size(), rest.substr(0, head.senseLength));
    fill(request.data.data(), request.data.size(), rest.substr(head.senseLength));
    request.status = static_cast<std::uint8_t>(head.status);
    request.hostStatus = head.hostStatus;
    return true;
}

bool take(const Transcript::Answer& answer, host::AddressWords& words) {
    return takeValue(answer, words);
}

bool take(const Transcript::Answer& answer, std::uint64_t& bytes) {
    return takeValue(answer, bytes);
}

}  // namespace recording::questions
