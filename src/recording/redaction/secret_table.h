#ifndef SCSITOOL_RECORDING_REDACTION_SECRET_TABLE_H
#define SCSITOOL_RECORDING_REDACTION_SECRET_TABLE_H

#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "recording/redaction/pattern_set.h"
#include "recording/redaction/scrambler.h"
#include "recording/replay/recorded_host_data.h"

namespace recording {

/// What must not be told, and what stands in its place. It is filled first, then settled, then
/// asked. A secret that stands within a longer one (an array's serial number within a volume's
/// name) is replaced there by the same.
class SecretTable {
  public:
    explicit SecretTable(const RedactionKey& key) : m_scrambler(key) {}

    // Until it is settled.

    /// A word that is not one, for instance a product's name.
    void addKnownWord(const std::string& word);
    /// A serial number or another identifier in text.
    void addText(const std::string& text);
    /// A name that somebody gave: of a host, a map, a volume group, a directory.
    void addName(const std::string& name);
    /// The digits of a binary name: NAA, EUI-64, MAC address, UUID without dashes.
    void addHex(const std::string& digits);
    /// An IPv4 address.
    void addIpv4(const std::string& address);
    /// Anything else whose letters and digits are changed, but for the first `keep` characters:
    /// an iSCSI name behind its date, an IPv6 address, a UUID.
    void addWhole(const std::string& text, std::size_t keep = 0);
    /// Works out what stands for what.
    void settle();

    // Afterwards.

    bool isKnownWord(const std::string& word) const;
    /// A text with every secret in it replaced.
    std::string replaced(const std::string& text) const { return m_patterns.replaced(text); }
    /// A field that is a secret as a whole: what is no secret known by itself is changed, too.
    std::string wholly(const std::string& field) const;
    /// The bytes of a binary name.
    Bytes wholly(const Bytes& name) const;
    const Scrambler& scrambler() const { return m_scrambler; }
    /// A secret that stands in a text, of those that cannot stand there by chance; empty: none.
    std::string foundIn(const std::string& text) const;

  private:
    enum class Kind { kText, kName, kHex, kIpv4, kWhole };
    struct Secret {
        std::string text;
        Kind kind;
        std::size_t keep;
        bool operator<(const Secret& other) const;
    };

    std::string composed(const std::string& text, std::size_t keep, PatternSet::Place place,
                         Scrambler::Alphabet alphabet) const;
    std::string replacementOf(const Secret& secret) const;
    void addPatterns(const Secret& secret, const std::string& replacement);
    void addTextPatterns(const std::string& text, const std::string& replacement);
    void addHexPatterns(const std::string& digits, const std::string& replacement);

    const Scrambler m_scrambler;
    std::set<std::string> m_knownWords;
    std::set<Secret> m_secrets;
    PatternSet m_patterns;
    PatternSet m_certain;  // those that nothing else looks like
};

/// How many hexadecimal digits of a name tell its format and its maker rather than the thing: the
/// NAA nibble and the company identifier (SPC, "NAA designator format"), of another name of 6, 8 or
/// more bytes the company identifier in front (EUI-48, EUI-64).
std::size_t formatDigits(const std::string& digits);

}  // namespace recording

#endif
