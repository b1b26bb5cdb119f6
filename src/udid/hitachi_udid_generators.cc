#include "scsitool/udid/hitachi_udid_generators.h"

#include <array>
#include <string_view>
#include <utility>

#include "udid/generator_support.h"

using udid::Format;

namespace {

constexpr std::array<std::string_view, 12> kHitachiProducts = {
    "9200", "9500V", "DF600F", "DF600F-V", "OPEN-V", "OPEN-0V",
    "9900", "9910",  "9980V",  "9970V",    "9960",   "USP"};
constexpr std::array<std::string_view, 2> kXpProducts = {"OPEN-V", "OPEN-0V"};

constexpr std::size_t kNeeds = 56;
constexpr std::size_t kField = 36;  // the vendor-specific text in the INQUIRY data
constexpr std::size_t kLogicalDevice = kField + 8;
constexpr std::size_t kLogicalDeviceCharacters = 4;

// Where in the text the serial number stands and how it is written.
struct SerialPlace {
    Format format;
    std::size_t offset;
    std::size_t length;
};
constexpr SerialPlace kWholeDecimal = {Format::kDecimalOfDecimalText, kField, 8};
constexpr SerialPlace kFiveHexDigits = {Format::kDecimalOfHexText, kField + 3, 5};
constexpr SerialPlace kFourHexDigits = {Format::kDecimalOfHexText, kField + 4, 4};

SerialPlace hitachiSerial(const scsi::PageView& inquiry) {
    const std::string kind = inquiry.text(kField, 2);
    if (kind == "D6") {
        return kFourHexDigits;
    }
    if (inquiry[kField] == '7') {
        return kWholeDecimal;
    }
    return kind == "50" ? kFiveHexDigits : kFourHexDigits;
}

void addLogicalDevice(udid::UdidText& body, const udid::SourcePage& inquiry) {
    body.literal(udid::udid_separator);
    body.bytes(inquiry, Format::kDecimalOfHexText, kLogicalDevice, kLogicalDeviceCharacters);
}

}  // namespace

CHitachiUdidGenerator::CHitachiUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHitachiUdidGenerator::~CHitachiUdidGenerator() = default;

bool CHitachiUdidGenerator::claimDevice(CScsiDeviceData* device) {
    using udid::Rule;
    return udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kEquals, "HITACHI") &&
           udid::matchesAny(*device, "product", device->GetProductId(), Rule::kBeginsWith,
                            kHitachiProducts);
}

std::string CHitachiUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage inquiry = udid::takePage(*device, udid::kInquiryData);
    if (udid::isShorter(inquiry, kNeeds)) {
        fail(udid::kInvalidPageData);
    }
    udid::UdidText body(*device);
    const SerialPlace serial = hitachiSerial(inquiry.view);
    body.bytes(inquiry, serial.format, serial.offset, serial.length);
    addLogicalDevice(body, inquiry);
    return body.take();
}

CHpXpUdidGenerator::CHpXpUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHpXpUdidGenerator::~CHpXpUdidGenerator() = default;

bool CHpXpUdidGenerator::claimDevice(CScsiDeviceData* device) {
    using udid::Rule;
    return udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kEquals, "HP") &&
           udid::matchesAny(*device, "product", device->GetProductId(), Rule::kBeginsWith,
                            kXpProducts);
}

std::string CHpXpUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage inquiry = udid::takePage(*device, udid::kInquiryData);
    if (udid::isShorter(inquiry, kNeeds)) {
        fail(udid::kInvalidPageData);
    }
    udid::UdidText body(*device);
    if (inquiry.view.text(kField, 2) == "50") {
        body.bytes(inquiry, kFiveHexDigits.format, kFiveHexDigits.offset, kFiveHexDigits.length);
    } else {
        udid::remark(*device, "INQUIRY bytes 36 and 37 are not \"50\": the array serial is 0");
        body.literal("0");
    }
    addLogicalDevice(body, inquiry);
    return body.take();
}
