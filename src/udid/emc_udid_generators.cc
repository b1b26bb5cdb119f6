#include "scsitool/udid/emc_udid_generators.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/udid_text.h"
#include "tools/trace.h"
#include "udid/families.h"
#include "udid/udid_prefix.h"

using tools::traceTo;

namespace {

constexpr const udid::Family& kClariion =
    udid::familyOf<CEmcClariionUdidGenerator>(udid::kFamilies);

constexpr int kArraySerialLengthByte = 49;
constexpr int kArraySerialStart = 50;
constexpr int kUnitSerialLengthByte = scsi::kPageLengthLow;
constexpr int kUnitSerialStart = scsi::kPageHeader;
constexpr std::size_t kSerialCharacters = 14;
constexpr std::size_t kClariionNeeds = 23;  // byte 23 is read all the same

constexpr std::size_t kSymmetrixNeeds = 132;
constexpr std::size_t kSymmetrixSerial = 124;
constexpr std::size_t kSymmetrixSerialBytes = 5;
constexpr std::size_t kSymmetrixVolume = 132;
constexpr std::size_t kSymmetrixVolumeBytes = 4;
constexpr std::size_t kSymmetrixOldVolume = 38;
constexpr std::size_t kSymmetrixOldVolumeBytes = 3;

// The check hands its text back without a source. It is the page's where the page holds it; an
// overriding check may have made another one. A text that passed ends in the separator.
void addSerial(udid::UdidText& body, const udid::SourcePage& page, int start, std::string text,
               bool passed) {
    const std::size_t separator = std::strlen(udid::udid_separator);
    const std::size_t serial = text.size() - (passed ? std::min(separator, text.size()) : 0);
    const std::string rest = text.substr(serial);
    text.resize(serial);
    const auto offset = static_cast<std::size_t>(start);
    const std::size_t first = body.size();
    if (page.view.text(offset, kSerialCharacters) == text) {
        body.piece({udid::Format::kText, page.code, offset, kSerialCharacters, std::move(text)});
    } else {
        body.literal(text);
    }
    if (passed) {
        body.says(udid::Fact::kArraySerial, first);
        body.literal(rest);
    }
}

void remarkNoSerial(const CScsiDeviceData& record, unsigned page, const char* missing,
                    const char* rejected) {
    const auto stored = record.m_pages.find(page);
    const bool isThere =
        stored != record.m_pages.end() && scsi::PageView(stored->second).hasBuffer();
    udid::remark(isThere ? rejected : missing);
}

}  // namespace

CEmcClariionUdidGenerator::CEmcClariionUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CEmcClariionUdidGenerator::~CEmcClariionUdidGenerator() = default;

bool CEmcClariionUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kClariion.claim, *this, *device);
}

std::string CEmcClariionUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* /*device*/) {
    return udid::keyPrefix(m_vendor, "CLARIION");
}

bool CEmcClariionUdidGenerator::checkForArraySerialNo(unsigned char** page, unsigned int pageLength,
                                                      int lengthIndex, int start,
                                                      std::string& out) {
    if (page == nullptr) {
        udid::fail({udid::kInvalidPageData, this}, "the serial check has no page");
    }
    const scsi::PageView view(*page, pageLength);
    const bool available = view.hasBuffer();
    if (available) {
        const long long end =
            static_cast<long long>(view[static_cast<std::size_t>(lengthIndex)]) + start;
        if (end > static_cast<long long>(pageLength)) {
            udid::fail({udid::kInvalidPageSize}, "the serial ends at byte " + std::to_string(end) +
                                                     " of its page, which has " +
                                                     std::to_string(pageLength));
        }
        out += view.text(static_cast<std::size_t>(start), kSerialCharacters);
    }
    if (!available || !CStringTool::isalphaNumeric(out)) {
        traceTo(m_traceLog, 2, "Invalid EnclosureID=%s", out.c_str());
        return false;
    }
    out += udid::udid_separator;
    traceTo(m_traceLog, 3, "clariion EnclosureID=%s", out.c_str());
    return true;
}

std::string CEmcClariionUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    udid::UdidText body;
    const auto readSerial = [&](unsigned code, int lengthIndex, int start) {
        const udid::SourcePage taken = udid::takePage(*device, code);
        const scsi::PageView& page = taken.view;
        udid::decides(taken, static_cast<std::size_t>(lengthIndex), 1);
        // The published check takes what it does not change as if it might.
        auto* bytes = const_cast<unsigned char*>(page.data());
        std::string serial;
        const bool passed = checkForArraySerialNo(&bytes, static_cast<unsigned>(page.length()),
                                                  lengthIndex, start, serial);
        addSerial(body, taken, start, std::move(serial), passed);
        return passed;
    };
    if (!readSerial(scsi::kClariionArray, kArraySerialLengthByte, kArraySerialStart)) {
        remarkNoSerial(*device, scsi::kClariionArray, "page 0xC0 is missing, page 0x80 is tried",
                       "page 0xC0 holds no alphanumeric array serial, page 0x80 is tried");
        body.clear();
        if (!readSerial(scsi::kUnitSerialNumber, kUnitSerialLengthByte, kUnitSerialStart)) {
            remarkNoSerial(*device, scsi::kUnitSerialNumber,
                           "page 0x80 is missing: the UDID has no array part",
                           "the serial of page 0x80 is not alphanumeric, it is used as it is");
            traceTo(m_traceLog, 2, "Invalid EnclosureID %s found for Clariion", body.str().c_str());
        }
    }
    body.unitName(udid::require(*device, scsi::kDeviceIdentification, kClariionNeeds,
                                {udid::kInvalidDeviceData, this}),
                  udid::Format::kHexLowerColons);
    traceTo(m_traceLog, 3,
            "GetScsiModePage83 CEmcClariionUdidGenerator::getUniqueDeviceID : UDID=%s:",
            body.str().c_str());
    return body.take();
}

CEmcSymmetrixUdidGenerator::CEmcSymmetrixUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CEmcSymmetrixUdidGenerator::~CEmcSymmetrixUdidGenerator() = default;

std::string CEmcSymmetrixUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    using udid::Format;
    const udid::SourcePage inquiry =
        udid::require(*device, udid::kInquiryData, kSymmetrixNeeds, {udid::kInvalidPageData, this});
    udid::UdidText body;
    body.literal("00");
    body.bytes(inquiry, Format::kHexLower, kSymmetrixSerial, kSymmetrixSerialBytes);
    body.says(udid::Fact::kArraySerial, 0);
    body.literal(udid::udid_separator);
    udid::decides(inquiry, kSymmetrixVolume, 1);
    const std::size_t volume = body.size();
    if (inquiry.view[kSymmetrixVolume] == 0) {
        udid::remark("INQUIRY byte 132 is 0, so the volume is taken from bytes 38 to 40");
        body.literal("0");
        body.bytes(inquiry, Format::kText, kSymmetrixOldVolume, kSymmetrixOldVolumeBytes);
    } else {
        body.bytes(inquiry, Format::kText, kSymmetrixVolume, kSymmetrixVolumeBytes);
    }
    body.says(udid::Fact::kVolumeId, volume);
    return body.take();
}
