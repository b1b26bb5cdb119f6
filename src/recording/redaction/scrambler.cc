#include "recording/redaction/scrambler.h"

#include <algorithm>
#include <utility>

namespace recording {
namespace {

constexpr std::size_t kContext = 64;  // characters before one that decide about it

// The stream that a hash starts (Steele and others, "Fast splittable pseudorandom number
// generators", 2014).
std::uint64_t nextOf(std::uint64_t& state) {
    state += 0x9E3779B97F4A7C15U;
    std::uint64_t value = state;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

// Sattolo's shuffle: one cycle through all, so that nothing stays in its place.
std::string cycled(std::string alphabet, std::uint64_t seed) {
    for (std::size_t last = alphabet.size() - 1; last > 0; --last) {
        std::swap(alphabet[last], alphabet[nextOf(seed) % last]);
    }
    return alphabet;
}

bool isUpper(char character) {
    return character >= 'A' && character <= 'Z';
}

char lowered(char character) {
    return isUpper(character) ? static_cast<char>(character - 'A' + 'a') : character;
}

const std::string& alphabetOf(char character, Scrambler::Alphabet kind) {
    static const std::string kDigits = "0123456789";
    static const std::string kHexLetters = "abcdef";
    static const std::string kLetters = "ghijklmnopqrstuvwxyz";
    static const std::string kWithoutP = "ghijklmnoqrstuvwxyz";
    static const std::string kNone;
    if (character >= '0' && character <= '9') {
        return kDigits;
    }
    if (character >= 'a' && character <= 'f') {
        return kHexLetters;
    }
    if (character < 'g' || character > 'z') {
        return kNone;
    }
    if (kind == Scrambler::Alphabet::kAll) {
        return kLetters;
    }
    return character == 'p' ? kNone : kWithoutP;
}

}  // namespace

char Scrambler::letter(char original, const std::string& alphabet,
                       const std::string& before) const {
    const char lower = lowered(original);
    const std::string permuted = cycled(alphabet, keyedHash(m_key, before));
    const char result = permuted[alphabet.find(lower)];
    return isUpper(original) ? static_cast<char>(result - 'a' + 'A') : result;
}

std::string Scrambler::text(const std::string& original, std::size_t keep,
                            Alphabet alphabet) const {
    std::string lower = original;
    std::transform(lower.begin(), lower.end(), lower.begin(), lowered);
    std::string result = original;
    for (std::size_t index = keep; index < original.size(); ++index) {
        const std::string& letters = alphabetOf(lower[index], alphabet);
        if (!letters.empty()) {
            const std::size_t start = index > kContext ? index - kContext : 0;
            result[index] =
                letter(original[index], letters,
                       std::to_string(index) + ":" + lower.substr(start, index - start));
        }
    }
    return result;
}

std::string Scrambler::ipv4(const std::string& original) const {
    std::string result;
    std::size_t start = 0;
    while (start < original.size()) {
        const std::size_t end = std::min(original.find('.', start), original.size());
        const unsigned value =
            static_cast<unsigned>(std::stoul(original.substr(start, end - start)));
        const unsigned lowest = value < 10 ? 0 : value < 100 ? 10 : 100;
        const unsigned count = value < 10 ? 10 : value < 100 ? 90 : 156;
        const std::uint64_t hash = keyedHash(m_key, "ip:" + original.substr(0, start));
        const unsigned shift = 1 + static_cast<unsigned>(hash % (count - 1));
        result += std::to_string(lowest + (value - lowest + shift) % count);
        result += end < original.size() ? "." : "";
        start = end + 1;
    }
    return result;
}

std::uint8_t Scrambler::byte(std::uint8_t original, std::size_t place) const {
    constexpr unsigned kFirst = 0x80;
    if (original < kFirst) {
        return original;
    }
    const std::uint64_t hash = keyedHash(m_key, "byte:" + std::to_string(place));
    const unsigned shift = 1 + static_cast<unsigned>(hash % (kFirst - 1));
    return static_cast<std::uint8_t>(kFirst + (original - kFirst + shift) % kFirst);
}

}  // namespace recording
