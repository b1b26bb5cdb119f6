#include <algorithm>
#include <array>

#include "scsitool/kit/bounded_string.h"
#include "scsitool/udid/generic_udid_generator.h"
#include "scsitool/udid/udid_text.h"
#include "tools/trace.h"
#include "udid/generic_extraction.h"

// The search of page 0x83 for the best identifier.

using qzfi_pdk_4_4::V_strnlen;
using tools::traceTo;

namespace {

using namespace udid::generic;
using scsi::kDescriptorHeader;
using scsi::kDeviceIdentification;
using scsi::kPageHeader;

// The precedence of identifiers. The first row only records the group of the target port.
constexpr std::array<SScsiIdSearchValues, 13> kSearchTable = {{
    {kTargetPortGroup, kAnyNaa, kBinary},
    {kNaa, 6, kBinary},
    {kNaa, 6, kAscii},
    {kNaa, 5, kBinary},
    {kNaa, 5, kAscii},
    {kNaa, kAnyNaa, kBinary},
    {kNaa, kAnyNaa, kAscii},
    {kEui64, kAnyNaa, kBinary},
    {kEui64, kAnyNaa, kAscii},
    {kT10VendorId, kAnyNaa, kBinary},
    {kT10VendorId, kAnyNaa, kAscii},
    {kVendorSpecific, kAnyNaa, kBinary},
    {kVendorSpecific, kAnyNaa, kAscii},
}};

// What is read of a descriptor whatever its length: the NAA digit and the port group's number stand
// in the first four bytes of the identifier.
constexpr std::size_t kLeastRead = kDescriptorHeader + 4;

// In the first designation descriptor the third byte is reserved; before SPC-3 an identifier stood
// here.
constexpr std::size_t kFirstReserved = kPageHeader + 2;

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

// Reports what the search goes by: the length of the page and what each descriptor is.
void reportHeaders(const udid::SourcePage& page) {
    if (udid::identityReporter() == nullptr) {
        return;
    }
    const scsi::PageView& view = page.view;
    udid::decides(page, scsi::kPageLengthLow, 1);
    for (std::size_t start = kPageHeader; start <= view[scsi::kPageLengthLow] + std::size_t{3};
         start += kDescriptorHeader + view[start + scsi::kDescriptorLength]) {
        udid::decides(page, start, kDescriptorHeader);
        if ((view[start + 1] & 0xF) == kNaa) {
            udid::decides(page, start + kDescriptorHeader, 1);
        }
    }
}

// Reports a page of the older layout; a long one does not fit whole.
void reportPreSpc3(const char* serialShort, int maxLength) {
    const std::size_t written = maxLength > 0 ? V_strnlen(serialShort, sizeOf(maxLength)) : 0;
    if (written > kKindLength) {
        reportShortSerial(udid::Format::kKindAndHexLower, kDeviceIdentification, kPageHeader,
                          (written - kKindLength) / 2, serialShort);
    }
}

}  // namespace

int CGenericUdidGenerator::getInformationFromPage83(CScsiDeviceData* device, CDeviceScsiInfo& info,
                                                    char* serial, char* serialShort, int maxLength,
                                                    char* /*unitSerialNumber*/, char* wwn,
                                                    char* wwnVendorExtension, char* tgptGroup) {
    static constexpr char kName[] = "CGenericUdidGenerator::getInformationFromPage83";
    const udid::SourcePage page = udid::takePage(*device, kDeviceIdentification);
    const scsi::PageView& view = page.view;
    if (!view.hasBuffer()) {
        traceTo(m_traceLog, 1, "%s: page 0x83 is NULL", kName);
        udid::remark("page 0x83 is missing");
        return kNotTaken;
    }
    udid::decides(page, scsi::kPageCode, 1);
    if (view[scsi::kPageCode] != kDeviceIdentification) {
        traceTo(m_traceLog, 1, "%s: Invalid page 0x83", kName);
        remarkOtherCode(page);
        return kNotTaken;
    }
    udid::decides(page, kFirstReserved, 1);
    if (view[kFirstReserved] != 0) {
        const WholeBytes whole(view, 0);
        const int status = checkFillPreSPC3Page0x83(info, whole.data(), kSearchTable[0], serial,
                                                    serialShort, maxLength);
        traceTo(m_traceLog, 6, "%s: Returning status:[%d]", kName, status);
        reportPreSpc3(serialShort, maxLength);
        return status;
    }
    reportHeaders(page);
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
    udid::remark("page 0x83 has no designator of a kind that is taken");
    return kNotTaken;
}
