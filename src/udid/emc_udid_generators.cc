#include "scsitool/udid/emc_udid_generators.h"

#include <array>
#include <string_view>
#include <utility>

#include "scsitool/tools/string_tool.h"
#include "tools/trace.h"
#include "udid/generator_support.h"

using tools::traceTo;

namespace {

constexpr std::array<std::string_view, 4> kClariionProducts = {"RAID", "DISK", "VNX", "CX"};

constexpr unsigned kArraySerialPage = 0xC0;
constexpr int kArraySerialLengthByte = 49;
constexpr int kArraySerialStart = 50;
constexpr int kUnitSerialLengthByte = 3;
constexpr int kUnitSerialStart = 4;
constexpr std::size_t kSerialCharacters = 14;
constexpr std::size_t kClariionNeeds = 23;  // byte 23 is read all the same

constexpr std::size_t kSymmetrixNeeds = 132;
constexpr std::size_t kSymmetrixSerial = 124;
constexpr std::size_t kSymmetrixSerialBytes = 5;
constexpr std::size_t kSymmetrixVolume = 132;
constexpr std::size_t kSymmetrixVolumeBytes = 4;
constexpr std::size_t kSymmetrixOldVolume = 38;
constexpr std::size_t kSymmetrixOldVolumeBytes = 3;

// The check hands its text back without a source; what it read is known here.
void addSerial(udid::UdidText& body, unsigned page, int start, std::string text) {
    const std::string separator = udid::udid_separator;
    const bool separated =
        text.size() >= separator.size() &&
        text.compare(text.size() - separator.size(), separator.size(), separator) == 0;
    if (separated) {
        text.resize(text.size() - separator.size());
    }
    body.piece({udid::Format::kText, page, static_cast<std::size_t>(start), kSerialCharacters,
                std::move(text)});
    if (separated) {
        body.literal(separator);
    }
}

}  // namespace

CEmcClariionUdidGenerator::CEmcClariionUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CEmcClariionUdidGenerator::~CEmcClariionUdidGenerator() = default;

bool CEmcClariionUdidGenerator::claimDevice(CScsiDeviceData* device) {
    using udid::Rule;
    return udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kEquals, m_vendor) &&
           udid::matchesAny(*device, "product", device->GetProductId(), Rule::kContains,
                            kClariionProducts);
}

std::string CEmcClariionUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* device) {
    udid::UdidText prefix(*device);
    std::string text = udid::udid_prefix;
    text += CStringTool::rtrim(m_vendor, ' ');
    text += udid::udid_separator;
    text += "CLARIION";
    text += udid::udid_separator;
    prefix.literal(CStringTool::tostrupper(text));
    return prefix.take();
}

bool CEmcClariionUdidGenerator::checkForArraySerialNo(unsigned char** page, unsigned int pageLength,
                                                      int lengthIndex, int start,
                                                      std::string& out) {
    if (page == nullptr) {
        fail(udid::kInvalidPageData);
    }
    const scsi::PageView view(*page, pageLength);
    const bool available = view.hasBuffer() && view.length() > 0;
    if (available) {
        const long long end =
            static_cast<long long>(view[static_cast<std::size_t>(lengthIndex)]) + start;
        if (end > static_cast<long long>(pageLength)) {
            udid::failWithoutKeys(udid::kInvalidPageSize);
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
    udid::UdidText body(*device);
    const auto readSerial = [&](unsigned code, int lengthIndex, int start) {
        udid::takePage(*device, code);
        unsigned char* page = nullptr;
        unsigned int length = 0;
        device->GetScsiModePage(code, &page, length);
        std::string serial;
        const bool valid = checkForArraySerialNo(&page, length, lengthIndex, start, serial);
        addSerial(body, code, start, std::move(serial));
        return valid;
    };
    if (!readSerial(kArraySerialPage, kArraySerialLengthByte, kArraySerialStart)) {
        udid::remark(*device, "page 0xC0 holds no alphanumeric array serial, page 0x80 is tried");
        body.clear();
        if (!readSerial(udid::kUnitSerialNumber, kUnitSerialLengthByte, kUnitSerialStart)) {
            udid::remark(*device,
                         "the serial of page 0x80 is not alphanumeric, it is used as it is");
            traceTo(m_traceLog, 2, "Invalid EnclosureID %s found for Clariion", body.str().c_str());
        }
    }
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, kClariionNeeds)) {
        fail(udid::kInvalidDeviceData);
    }
    body.bytes(names, udid::Format::kHexLowerColons, udid::kFirstIdentifier, udid::kLongIdentifier);
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
    const udid::SourcePage inquiry = udid::takePage(*device, udid::kInquiryData);
    if (udid::isShorter(inquiry, kSymmetrixNeeds)) {
        fail(udid::kInvalidPageData);
    }
    udid::UdidText body(*device);
    body.literal("00");
    body.bytes(inquiry, Format::kHexLower, kSymmetrixSerial, kSymmetrixSerialBytes);
    body.literal(udid::udid_separator);
    if (inquiry.view[kSymmetrixVolume] == 0) {
        udid::remark(*device, "INQUIRY byte 132 is 0, so the volume is taken from bytes 38 to 40");
        body.literal("0");
        body.bytes(inquiry, Format::kText, kSymmetrixOldVolume, kSymmetrixOldVolumeBytes);
    } else {
        body.bytes(inquiry, Format::kText, kSymmetrixVolume, kSymmetrixVolumeBytes);
    }
    return body.take();
}
