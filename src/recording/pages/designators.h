#ifndef SCSITOOL_RECORDING_PAGES_DESIGNATORS_H
#define SCSITOOL_RECORDING_PAGES_DESIGNATORS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace recording {

/// Whom a designator names (SPC-4, ASSOCIATION).
enum class Association : unsigned char { kLogicalUnit, kTargetPort, kTargetDevice, kReserved };

/// Kinds of designators (SPC-4, DESIGNATOR TYPE), and how their bytes are written (CODE SET).
inline constexpr unsigned kVendorSpecificName = 0;
inline constexpr unsigned kT10VendorName = 1;
inline constexpr unsigned kEui64Name = 2;
inline constexpr unsigned kNaaName = 3;
inline constexpr unsigned kRelativeTargetPort = 4;
inline constexpr unsigned kTargetPortGroup = 5;
inline constexpr unsigned kScsiNameString = 8;
inline constexpr unsigned kBinaryCodes = 1;

/// The header of a designator, and of a VPD page.
inline constexpr std::size_t kDesignatorHeader = 4;
inline constexpr std::size_t kVpdHeader = 4;

/// One designation descriptor of VPD page 0x83.
struct Designator {
    std::size_t offset = 0;  ///< of its header in the bytes that were read
    unsigned protocol = 0;   ///< protocol identifier; means something with `isProtocolValid` alone
    bool isProtocolValid = false;  ///< PIV
    unsigned codeSet = 0;
    Association association = Association::kLogicalUnit;
    unsigned type = 0;
    std::uint8_t reserved = 0;        ///< byte 2: another value than 0 is no header of SPC-3
    std::size_t length = 0;           ///< as the header says
    std::vector<std::uint8_t> value;  ///< as far as the page goes

    bool isWhole() const { return value.size() == length; }
    /// NAA format of an NAA designator with a value: its first four bits.
    unsigned naa() const { return value.empty() ? 0U : value.front() >> 4U; }
};

/// The designators from byte `start` of a page on, in order; what is read ends with the bytes. A
/// header that is cut off counts as none, a value that is cut off is the last.
std::vector<Designator> designatorsIn(const std::vector<std::uint8_t>& bytes, std::size_t start);

/// The designators of a whole page 0x83, its header included: they end with the page length when
/// that is shorter than the bytes.
std::vector<Designator> designatorsOfPage(const std::vector<std::uint8_t>& page);

}  // namespace recording

#endif
