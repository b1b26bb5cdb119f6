#include "scsitool/udid/hitachi_udid_generators.h"

#include <utility>

#include "scsitool/udid/udid_text.h"
#include "udid/families.h"

using udid::Format;

namespace {

constexpr const udid::Family& kHitachi = udid::familyOf<CHitachiUdidGenerator>(udid::kFamilies);
constexpr const udid::Family& kXp = udid::familyOf<CHpXpUdidGenerator>(udid::kFamilies);

constexpr std::size_t kNeeds = 56;
constexpr std::size_t kField = scsi::kVendorSpecific;  // 20 characters of text
constexpr std::size_t kKindCharacters = 2;             // they tell how the serial is written
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
    const std::string kind = inquiry.text(kField, kKindCharacters);
    if (kind == "D6") {
        return kFourHexDigits;
    }
    if (inquiry[kField] == '7') {
        return kWholeDecimal;
    }
    return kind == "50" ? kFiveHexDigits : kFourHexDigits;
}

void addSerial(udid::UdidText& body, const udid::SourcePage& inquiry, const SerialPlace& place) {
    body.fact(udid::Fact::kArraySerial, inquiry, place.format, place.offset, place.length);
}

void addLogicalDevice(udid::UdidText& body, const udid::SourcePage& inquiry) {
    body.literal(udid::udid_separator);
    body.fact(udid::Fact::kVolumeId, inquiry, Format::kDecimalOfHexText, kLogicalDevice,
              kLogicalDeviceCharacters);
}

}  // namespace

CHitachiUdidGenerator::CHitachiUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHitachiUdidGenerator::~CHitachiUdidGenerator() = default;

bool CHitachiUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kHitachi.claim, *this, *device);
}

std::string CHitachiUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage inquiry =
        udid::require(*device, udid::kInquiryData, kNeeds, {udid::kInvalidPageData, this});
    udid::UdidText body;
    udid::decides(inquiry, kField, kKindCharacters);
    addSerial(body, inquiry, hitachiSerial(inquiry.view));
    addLogicalDevice(body, inquiry);
    return body.take();
}

CHpXpUdidGenerator::CHpXpUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHpXpUdidGenerator::~CHpXpUdidGenerator() = default;

bool CHpXpUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kXp.claim, *this, *device);
}

std::string CHpXpUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage inquiry =
        udid::require(*device, udid::kInquiryData, kNeeds, {udid::kInvalidPageData, this});
    udid::UdidText body;
    udid::decides(inquiry, kField, kKindCharacters);
    if (inquiry.view.text(kField, kKindCharacters) == "50") {
        addSerial(body, inquiry, kFiveHexDigits);
    } else {
        udid::remark("INQUIRY bytes 36 and 37 are not \"50\": the array serial is 0");
        body.literal("0");
    }
    addLogicalDevice(body, inquiry);
    return body.take();
}
