#include <algorithm>
#include <cstring>

#include "scsitool/kit/bounded_string.h"
#include "scsitool/udid/generic_udid_generator.h"
#include "tools/trace.h"
#include "udid/generic_extraction.h"

// One designation descriptor, or a page older than those, as the generic extraction takes it.

using qzfi_pdk_4_4::V_snprintf;
using qzfi_pdk_4_4::V_strlcpy;
using qzfi_pdk_4_4::V_strlncpy;
using tools::traceTo;

namespace {

using namespace udid::generic;
using scsi::kDescriptorHeader;
using scsi::kPageHeader;

constexpr int kPreSpc3Reserve = 3;  // what stays free behind a whole page's digits
constexpr std::size_t kWwnSize = 17;
constexpr std::size_t kGroupSize = 8;

constexpr char kHexDigits[] = "0123456789abcdef";

// Writes two lower-case digits a byte from `position` on, while it is below `limit`.
std::size_t writeHex(char* text, std::size_t position, std::size_t limit,
                     const unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count && position < limit; ++i) {
        text[position++] = kHexDigits[bytes[i] >> 4];
        text[position++] = kHexDigits[bytes[i] & 0xF];
    }
    return position;
}

// The association and the kind of a descriptor, as far as a row of the table asks for them.
bool isWanted(const CGenericUdidGenerator& generator, const unsigned char* descriptor,
              const SScsiIdSearchValues& row, const char* path, const char* name) {
    const auto& log = generator.m_traceLog;
    const unsigned association = descriptor[1] >> 4 & 3;
    if (association != kLogicalUnit && association != kTargetPort) {
        traceTo(log, 6, "%s: For device:[%s]. Not a required identifier ", name, path);
        return false;
    }
    if (association == kTargetPort && row.idType != kTargetPortGroup) {
        traceTo(log, 6, "%s: For device:[%s], id tpye is not SCSI_ID_TGTGROUP", name, path);
        return false;
    }
    if ((descriptor[1] & 0xF) != row.idType) {
        traceTo(log, 6, "%s: For device:[%s]. Not a required identifier. page83[1]:[%c]", name,
                path, descriptor[1]);
        return false;
    }
    if (row.naaType < kAnyNaa && descriptor[4] >> 4 != row.naaType) {
        traceTo(log, 6, "%s: For device:[%s]. Not a required identifier. naa_type:[%c]", name, path,
                descriptor[4] >> 4);
        return false;
    }
    if ((descriptor[0] & 0xF) != row.codeSet) {
        traceTo(log, 6, "%s: For device:[%s]. Not a matching code set. page83[0]:[%c]", name, path,
                descriptor[0]);
        return false;
    }
    return true;
}

// Adds the identifier behind what `serial` holds. No NUL is written: the buffer was zeros.
void appendIdentifier(char* serial, std::size_t position, std::size_t size,
                      const unsigned char* descriptor, bool binary) {
    const unsigned char* const identifier = descriptor + kDescriptorHeader;
    const std::size_t length = descriptor[3];
    if (binary) {
        writeHex(serial, position, size - 2, identifier, length);
    } else {
        std::memcpy(serial + position, identifier, std::min(length, size - position));
    }
}

// An NAA identifier in its two halves; what follows the first 16 digits is the vendor's extension.
void copyWwn(const char* value, char* wwn, char* extension) {
    const std::size_t taken = V_strlncpy(wwn, kWwnSize, value, kWwnSize - 1);
    if (extension != nullptr) {
        V_strlncpy(extension, kWwnSize, value + taken, kWwnSize - 1);
    }
}

}  // namespace

int CGenericUdidGenerator::checkFillIdPage0x83(CDeviceScsiInfo& info,
                                               const unsigned char* descriptor,
                                               const SScsiIdSearchValues& searchRow, char* serial,
                                               char* serialShort, int maxLength, char* wwn,
                                               char* wwnVendorExtension, char* tgptGroup) {
    static constexpr char kName[] = "CGenericUdidGenerator::checkFillIdPage0x83";
    const char* const path = info.devicePath;
    if (!isWanted(*this, descriptor, searchRow, path, kName)) {
        return kNotTaken;
    }
    const bool binary = searchRow.codeSet == kBinary;
    const int length = descriptor[3];
    const int need = (binary ? 2 * length : length) + 2 +
                     (searchRow.idType == kVendorSpecific ? kVendorModelLength : 0);
    if (need > maxLength) {
        traceTo(m_traceLog, 1, "%s: For [%s], buffer Length [%d] too short - need [%d]", kName,
                path, maxLength, need);
        return kNotTaken;
    }
    if (searchRow.idType == kTargetPortGroup && tgptGroup != nullptr) {
        // Recorded, not taken: the search goes on to the identifiers.
        V_snprintf(tgptGroup, kGroupSize, "%x",
                   static_cast<unsigned>(descriptor[6] << 8 | descriptor[7]));
        traceTo(m_traceLog, 6,
                "%s: For device:[%s]. This is SCSI_ID_TGTGROUP identifier, tgptGroup:[%s]", kName,
                path, tgptGroup);
        return kNotTaken;
    }
    serial[0] = kHexDigits[descriptor[1] & 0xF];
    if (searchRow.idType == kVendorSpecific &&
        prependVendorModel(info, serial + 1) != kVendorModelLength) {
        traceTo(m_traceLog, 1, "%s: prepend vendor model failed for [%s]", kName, path);
        return kNotTaken;
    }
    const std::size_t value =
        kKindLength + (searchRow.idType == kVendorSpecific ? kVendorModelLength : 0);
    appendIdentifier(serial, value, sizeOf(maxLength), descriptor, binary);
    V_strlcpy(serialShort, serial + value, sizeOf(maxLength));
    if (searchRow.idType == kNaa && wwn != nullptr) {
        copyWwn(serial + value, wwn, wwnVendorExtension);
    }
    return kTaken;
}

int CGenericUdidGenerator::checkFillPreSPC3Page0x83(CDeviceScsiInfo& info,
                                                    const unsigned char* page,
                                                    const SScsiIdSearchValues& searchRow,
                                                    char* serial, char* serialShort,
                                                    int maxLength) {
    static constexpr char kName[] = "CGenericUdidGenerator::checkFillPreSPC3Page0x83";
    traceTo(m_traceLog, 6, "%s:Using pre-spc3-83 for %s", kName, info.devicePath);
    const std::size_t size = sizeOf(maxLength);
    if (size != 0) {
        serial[0] = kHexDigits[searchRow.idType & 0xF];
        writeHex(serial, kKindLength, sizeOf(maxLength - kPreSpc3Reserve), page + kPageHeader,
                 page[scsi::kPageLengthLow]);
        serial[size - 1] = '\0';
        V_strlcpy(serialShort, serial, size);
    }
    traceTo(m_traceLog, 6, "%s: serialShort:[%s]. Returing with status:[0]", kName,
            size != 0 ? serialShort : "");
    return kTaken;
}
