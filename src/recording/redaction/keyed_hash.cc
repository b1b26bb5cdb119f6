#include "recording/redaction/keyed_hash.h"

#include <cstddef>
#include <system_error>

#include "scsitool/host/random_bytes.h"

namespace recording {
namespace {

std::uint64_t rotated(std::uint64_t value, unsigned bits) {
    return (value << bits) | (value >> (64U - bits));
}

std::uint64_t littleEndian(const std::uint8_t* bytes, std::size_t count) {
    std::uint64_t word = 0;
    for (std::size_t index = 0; index < count; ++index) {
        word |= std::uint64_t{bytes[index]} << (8U * index);
    }
    return word;
}

class State {
  public:
    explicit State(const RedactionKey& key) {
        const std::uint64_t low = littleEndian(key.data(), 8);
        const std::uint64_t high = littleEndian(key.data() + 8, 8);
        m_words = {0x736f6d6570736575U ^ low, 0x646f72616e646f6dU ^ high, 0x6c7967656e657261U ^ low,
                   0x7465646279746573U ^ high};
    }
    void compress(std::uint64_t word) {
        m_words[3] ^= word;
        mix(2);
        m_words[0] ^= word;
    }
    std::uint64_t finish() {
        m_words[2] ^= 0xFFU;
        mix(4);
        return m_words[0] ^ m_words[1] ^ m_words[2] ^ m_words[3];
    }

  private:
    void mix(int rounds) {
        auto& [a, b, c, d] = m_words;
        for (int round = 0; round < rounds; ++round) {
            a += b;
            b = rotated(b, 13) ^ a;
            a = rotated(a, 32);
            c += d;
            d = rotated(d, 16) ^ c;
            a += d;
            d = rotated(d, 21) ^ a;
            c += b;
            b = rotated(b, 17) ^ c;
            c = rotated(c, 32);
        }
    }

    std::array<std::uint64_t, 4> m_words;
};

}  // namespace

std::uint64_t keyedHash(const RedactionKey& key, const std::string& text) {
    constexpr std::size_t kWord = 8;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    State state(key);
    std::size_t offset = 0;
    for (; offset + kWord <= text.size(); offset += kWord) {
        state.compress(littleEndian(bytes + offset, kWord));
    }
    state.compress(std::uint64_t{text.size() & 0xFFU} << 56U |
                   littleEndian(bytes + offset, text.size() - offset));
    return state.finish();
}

RedactionKey randomKey() {
    RedactionKey key{};
    const int error = host::fillRandom(key.data(), key.size());
    if (error != 0) {
        throw std::system_error(-error, std::generic_category(), "no random key to redact with");
    }
    return key;
}

}  // namespace recording
