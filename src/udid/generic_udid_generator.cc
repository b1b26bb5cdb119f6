#include "scsitool/udid/generic_udid_generator.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "scsitool/kit/bounded_string.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/family.h"
#include "scsitool/udid/udid_text.h"
#include "tools/trace.h"
#include "udid/udid_prefix.h"

using qzfi_pdk_4_4::V_snprintf;
using qzfi_pdk_4_4::V_strlcpy;
using qzfi_pdk_4_4::V_strlncat;
using qzfi_pdk_4_4::V_strlncpy;
using qzfi_pdk_4_4::V_strnlen;
using tools::traceTo;

namespace {

using scsi::kDescriptorHeader;
using scsi::kDeviceIdentification;
using scsi::kPageHeader;
using scsi::kUnitSerialNumber;

constexpr int kVendorModelLength = scsi::kVendorField.length + scsi::kProductField.length;
constexpr std::size_t kKindLength = 1;  // the digit in front of an identifier
constexpr int kPreSpc3Reserve = 3;      // what stays free behind a whole page's digits

constexpr unsigned char kAnyNaa = 255;
constexpr unsigned char kVendorSpecific = 0;
constexpr unsigned char kNaa = 3;
constexpr unsigned char kTargetPortGroup = 5;
constexpr unsigned char kBinary = 1;
constexpr unsigned char kAscii = 2;
constexpr unsigned kLogicalUnit = 0;
constexpr unsigned kTargetPort = 1;

constexpr int kTaken = 0;
constexpr int kNotTaken = 1;

// The precedence of identifiers. The first row only records the group of the target port.
constexpr std::array<SScsiIdSearchValues, 13> kSearchTable = {{
    {kTargetPortGroup, kAnyNaa, kBinary},
    {kNaa, 6, kBinary},
    {kNaa, 6, kAscii},
    {kNaa, 5, kBinary},
    {kNaa, 5, kAscii},
    {kNaa, kAnyNaa, kBinary},
    {kNaa, kAnyNaa, kAscii},
    {2, kAnyNaa, kBinary},
    {2, kAnyNaa, kAscii},
    {1, kAnyNaa, kBinary},
    {1, kAnyNaa, kAscii},
    {kVendorSpecific, kAnyNaa, kBinary},
    {kVendorSpecific, kAnyNaa, kAscii},
}};

constexpr std::size_t kWwnSize = 17;
constexpr std::size_t kGroupSize = 8;

constexpr char kHexDigits[] = "0123456789abcdef";

// What is read of a descriptor whatever its length: the NAA digit and the port group's number stand
// in the first four bytes of the identifier.
constexpr std::size_t kLeastRead = kDescriptorHeader + 4;

// A descriptor, or a whole page, as contiguous bytes: those of the page where it holds all of them,
// else a copy that is made whole with zeros.
class WholeBytes {
  public:
    WholeBytes(const scsi::PageView& view, std::size_t offset) {
        const std::size_t length = std::max(
            kDescriptorHeader + std::size_t{view[offset + scsi::kDescriptorLength]}, kLeastRead);
        if (offset + length <= view.length()) {
            m_data = view.data() + offset;
            return;
        }
        m_padded = view.bytes(offset, length);
        m_data = reinterpret_cast<const unsigned char*>(m_padded.data());
    }
    WholeBytes(const WholeBytes&) = delete;
    WholeBytes& operator=(const WholeBytes&) = delete;
    const unsigned char* data() const { return m_data; }

  private:
    const unsigned char* m_data;
    std::string m_padded;
};

// A length that a caller gave as a signed number; nothing fits into one below 0.
std::size_t sizeOf(int length) {
    return static_cast<std::size_t>(std::max(length, 0));
}

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

// Where the search for an identifier puts what it finds.
struct Buffers {
    char* serial;
    char* serialShort;
    int maxLength;
    char* wwn;
    char* wwnVendorExtension;
    char* tgptGroup;
};

// Offers every descriptor of page 0x83 for one row of the table. `start` is then the descriptor
// that was taken, if one was.
int searchRow(CGenericUdidGenerator& generator, CDeviceScsiInfo& info, const scsi::PageView& view,
              std::size_t row, const Buffers& out, std::size_t& start) {
    static constexpr char kName[] = "CGenericUdidGenerator::getInformationFromPage83";
    const auto& log = generator.m_traceLog;
    const SScsiIdSearchValues& wanted = kSearchTable[row];
    const int number = static_cast<int>(row);
    for (start = kPageHeader; start <= view[scsi::kPageLengthLow] + std::size_t{3};
         start += kDescriptorHeader + view[start + scsi::kDescriptorLength]) {
        const WholeBytes descriptor(view, start);
        const int status = generator.checkFillIdPage0x83(
            info, descriptor.data(), wanted, out.serial, out.serialShort, out.maxLength, out.wwn,
            out.wwnVendorExtension, out.tgptGroup);
        traceTo(log, 6, "%s: %s id desc %d/%d/%d\n", kName, kName, wanted.idType, wanted.naaType,
                wanted.codeSet);
        if (status == kTaken) {
            traceTo(log, 6, "%s: For device:[%s], identifier:[%d] is used", kName, info.devicePath,
                    number);
            return status;
        }
        if (status < 0) {
            traceTo(log, 2, "%s: For device:[%s], query for Identifier:[%d] failed", kName,
                    info.devicePath, number);
            return status;
        }
        traceTo(log, 6, "%s:For device:[%s], identifier:[%d] is not used", kName, info.devicePath,
                number);
    }
    return kNotTaken;
}

// The fields that do not depend on which identifier was found.
void fillIdentity(CScsiDeviceData& device, const std::string& enclosure, CDeviceScsiInfo& info) {
    V_strlcpy(info.vendor, udid::trimVendor(device).c_str(), sizeof info.vendor);
    V_strlcpy(info.model, device.GetProductId().c_str(), sizeof info.model);
    V_strlcpy(info.revision, device.m_firmwareLevel.c_str(), sizeof info.revision);
    V_strlcpy(info.unitSerialNumber, enclosure.c_str(), sizeof info.unitSerialNumber);
}

// Reports where the short serial came from.
void reportShortSerial(udid::Format format, unsigned page, std::size_t offset, std::size_t length,
                       const char* text) {
    if (udid::Reporter* const listener = udid::reporter()) {
        listener->found("serialShort", {format, page, offset, length, text});
    }
}

// Reports the unit serial number as it stands in the record of the extraction: without blanks at
// either end, up to its first NUL.
void reportUnitSerial(std::size_t length, const std::string& serial) {
    if (udid::Reporter* const listener = udid::reporter()) {
        listener->found("unitSerialNumber",
                        {udid::Format::kTrimmedText, kUnitSerialNumber, kPageHeader, length,
                         CStringTool::trim(serial).c_str()});
    }
}

}  // namespace

CGenericUdidGenerator::CGenericUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CGenericUdidGenerator::~CGenericUdidGenerator() = default;

bool CGenericUdidGenerator::claimDevice(CScsiDeviceData* /*device*/) {
    return false;
}

std::string CGenericUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* device) {
    return udid::recordPrefix(*device);
}

std::string CGenericUdidGenerator::getUniqueDeviceID(CScsiDeviceData* /*device*/) {
    return "NO_DEVICE_INFORMATION";
}

int CGenericUdidGenerator::getDeviceScsiInfo(CScsiDeviceData* device, CDeviceScsiInfo& info) {
    static constexpr char kName[] = "CGenericUdidGenerator::getDeviceScsiInfo";
    V_strlcpy(info.devicePath, device->m_deviceName.c_str(), sizeof info.devicePath);
    const char* const path = info.devicePath;
    constexpr int kMaxLength = sizeof info.serial;
    if (getInformationFromPage83(device, info, info.serial, info.serialShort, kMaxLength,
                                 info.unitSerialNumber, info.wwn, info.wwnVendorExtension,
                                 info.tgptGroup) == kTaken) {
        traceTo(m_traceLog, 6, "%s: For device:[%s], found Serial number:[%s] using page 0x83",
                kName, path, info.serialShort);
    } else {
        traceTo(m_traceLog, 6, "%s:For device:[%s], No serial number found", kName, path);
        traceTo(m_traceLog, 6, "%s: For device:[%s], trying Page80 query", kName, path);
        if (getInformationFromPage80(device, info, info.serial, info.serialShort, kMaxLength) !=
            kTaken) {
            traceTo(m_traceLog, 6,
                    "%s: For device:[%s], No serial number found with page 0x80 query", kName,
                    path);
            traceTo(m_traceLog, 1, "%s: For device:[%s], no serial number found", kName, path);
            return kNotTaken;
        }
        traceTo(m_traceLog, 6, "%s: For device:[%s]. Serial number using page 0x80[%s]", kName,
                path, info.serialShort);
    }
    fillIdentity(*device, CStringTool::trim(getEnclousureId(device)), info);
    printDeviceScsiInfo(info);
    return kTaken;
}

int CGenericUdidGenerator::getInformationFromPage83(CScsiDeviceData* device, CDeviceScsiInfo& info,
                                                    char* serial, char* serialShort, int maxLength,
                                                    char* /*unitSerialNumber*/, char* wwn,
                                                    char* wwnVendorExtension, char* tgptGroup) {
    static constexpr char kName[] = "CGenericUdidGenerator::getInformationFromPage83";
    const udid::SourcePage page = udid::takePage(*device, kDeviceIdentification);
    const scsi::PageView& view = page.view;
    if (!view.hasBuffer()) {
        traceTo(m_traceLog, 1, "%s: page 0x83 is NULL", kName);
        return kNotTaken;
    }
    if (view[1] != kDeviceIdentification) {
        traceTo(m_traceLog, 1, "%s: Invalid page 0x83", kName);
        return kNotTaken;
    }
    // In a designation descriptor the third byte is reserved; before SPC-3 an identifier stood
    // here.
    if (view[6] != 0) {
        const WholeBytes whole(view, 0);
        const int status = checkFillPreSPC3Page0x83(info, whole.data(), kSearchTable[0], serial,
                                                    serialShort, maxLength);
        traceTo(m_traceLog, 6, "%s: Returning status:[%d]", kName, status);
        // A long identifier does not fit whole.
        const std::size_t written = maxLength > 0 ? V_strnlen(serialShort, sizeOf(maxLength)) : 0;
        if (written > kKindLength) {
            reportShortSerial(udid::Format::kKindAndHexLower, page.code, kPageHeader,
                              (written - kKindLength) / 2, serialShort);
        }
        return status;
    }
    const Buffers out = {serial, serialShort, maxLength, wwn, wwnVendorExtension, tgptGroup};
    for (std::size_t row = 0; row < kSearchTable.size(); ++row) {
        std::size_t start = 0;
        const int status = searchRow(*this, info, view, row, out, start);
        if (status == kNotTaken) {
            continue;
        }
        if (status == kTaken) {
            const bool binary = kSearchTable[row].codeSet == kBinary;
            reportShortSerial(binary ? udid::Format::kHexLower : udid::Format::kText, page.code,
                              start + kDescriptorHeader, view[start + scsi::kDescriptorLength],
                              serialShort);
        }
        return status;
    }
    return kNotTaken;
}

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

int CGenericUdidGenerator::getInformationFromPage80(CScsiDeviceData* device, CDeviceScsiInfo& info,
                                                    char* serial, char* serialShort,
                                                    int maxLength) {
    static constexpr char kName[] = "CGenericUdidGenerator::getInformationFromPage80";
    const char* const path = info.devicePath;
    const udid::SourcePage page = udid::takePage(*device, kUnitSerialNumber);
    if (!page.view.hasBuffer()) {
        traceTo(m_traceLog, 1, "%s: For device:[%s], page 0x80 is NULL", kName, path);
        return kNotTaken;
    }
    if (page.view[1] != kUnitSerialNumber) {
        traceTo(m_traceLog, 1, "%s: For device[%s], Invalid page 0x80", kName, path);
        return kNotTaken;
    }
    const int length = page.view[scsi::kPageLengthLow];
    const int need = length + kVendorModelLength + 1;
    if (need > maxLength) {
        traceTo(m_traceLog, 1, "%s: For device:[%s], length %d too short - need %d\n", kName, path,
                maxLength, need);
        return kNotTaken;
    }
    const std::string bytes = page.view.bytes(kPageHeader, static_cast<std::size_t>(length));
    if (serial != nullptr) {
        serial[0] = 'S';
        if (prependVendorModel(info, serial + 1) != kVendorModelLength) {
            traceTo(m_traceLog, 1, "%s: For device[%s], Failed to prepend vendor model.", kName,
                    path);
            return kNotTaken;
        }
        // The serial starts on the last character of the model: the identifier's format has it so.
        bytes.copy(serial + kVendorModelLength, bytes.size());
    }
    if (serialShort != nullptr) {
        bytes.copy(serialShort, bytes.size());
        serialShort[bytes.size()] = '\0';
        reportShortSerial(udid::Format::kText, page.code, kPageHeader, bytes.size(), serialShort);
    }
    traceTo(m_traceLog, 1, "%s: For device[%s], Serial short:[%s]", kName, path,
            serialShort != nullptr ? serialShort : "");
    return kTaken;
}

int CGenericUdidGenerator::prependVendorModel(CDeviceScsiInfo& info, char* out) {
    constexpr std::size_t kSize = kVendorModelLength + 1;
    std::size_t length = V_strlncpy(out, kSize, info.vendor, sizeof info.vendor - 1);
    length += V_strlncat(out, kSize, info.model, sizeof info.model - 1);
    if (length != kVendorModelLength) {
        traceTo(m_traceLog, 1, "%s: expected length %d, got length %d\n",
                "CGenericUdidGenerator::prependVendorModel", kVendorModelLength,
                static_cast<int>(length));
        return -1;
    }
    return kVendorModelLength;
}

std::string CGenericUdidGenerator::getEnclousureId(CScsiDeviceData* device) {
    const udid::SourcePage page = udid::takePage(*device, kUnitSerialNumber);
    if (!page.view.hasBuffer()) {
        traceTo(m_traceLog, 2, "%s: page 0x80 is NULL", "CGenericUdidGenerator::getEnclousureId");
        reportUnitSerial(0, std::string());
        return std::string();
    }
    const std::size_t length = page.view[scsi::kPageLengthLow];
    std::string serial = page.view.bytes(kPageHeader, length);
    reportUnitSerial(length, serial);
    return serial;
}

void CGenericUdidGenerator::printDeviceScsiInfo(CDeviceScsiInfo& info) {
    traceTo(m_traceLog, 6, "==============[ Device SCSI Information ]==============");
    traceTo(m_traceLog, 6, "|Device path        : [%s]", info.devicePath);
    traceTo(m_traceLog, 6, "|Vendor             : [%s]", info.vendor);
    traceTo(m_traceLog, 6, "|Model              : [%s]", info.model);
    traceTo(m_traceLog, 6, "|Revision           : [%s]", info.revision);
    traceTo(m_traceLog, 6, "|Serial             : [%s]", info.serial);
    traceTo(m_traceLog, 6, "|Serial short       : [%s]", info.serialShort);
    traceTo(m_traceLog, 6, "|Unit Serial Number : [%s]", info.unitSerialNumber);
    traceTo(m_traceLog, 6, "|WWN                : [%s]", info.wwn);
    traceTo(m_traceLog, 6, "|WWN Vendor Ext.    : [%s]", info.wwnVendorExtension);
    traceTo(m_traceLog, 6, "|TGPT Group         : [%s]", info.tgptGroup);
    traceTo(m_traceLog, 6, "=======================================================");
}
