#ifndef SCSITOOL_RECORDING_REDACTION_SCRAMBLER_H
#define SCSITOOL_RECORDING_REDACTION_SCRAMBLER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "recording/redaction/keyed_hash.h"

namespace recording {

/// Makes another text of a text, always the same of the same, with its length and its alphabets:
/// a digit becomes another digit, a letter from a to f another such, any other letter another
/// such, each in its case; what is neither letter nor digit stays. Different texts become
/// different ones, and what two texts have in front alike they still have: the units of an array
/// and the hosts of a network are still seen to be that. A number that is written in hexadecimal
/// is one afterwards, and so is a decimal one.
class Scrambler {
  public:
    /// Whether a name's "p" stays: "mpathap1" is a partition of "mpatha", and nothing else may
    /// become one.
    enum class Alphabet { kAll, kWithoutP };

    explicit Scrambler(const RedactionKey& key) : m_key(key) {}

    /// The first `keep` characters stay.
    std::string text(const std::string& original, std::size_t keep = 0,
                     Alphabet alphabet = Alphabet::kAll) const;
    /// An IPv4 address in dotted form: each number becomes another one of as many digits.
    std::string ipv4(const std::string& original) const;
    /// A byte that is no ASCII becomes another such, in its place.
    std::uint8_t byte(std::uint8_t original, std::size_t place) const;

  private:
    char letter(char original, const std::string& alphabet, const std::string& before) const;

    const RedactionKey m_key;
};

}  // namespace recording

#endif
