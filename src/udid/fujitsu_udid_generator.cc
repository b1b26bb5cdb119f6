#include "scsitool/udid/fujitsu_udid_generator.h"

#include <utility>

#include "udid/generator_support.h"

namespace {

constexpr std::size_t kInquiryNeeds = 44;
constexpr std::size_t kArrayIdentifier = 36;
constexpr std::size_t kArrayIdentifierCharacters = 8;
constexpr std::size_t kNamesNeed = 24;

}  // namespace

CFujitsuEternusUdidGenerator::CFujitsuEternusUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CFujitsuEternusUdidGenerator::~CFujitsuEternusUdidGenerator() = default;

bool CFujitsuEternusUdidGenerator::claimDevice(CScsiDeviceData* device) {
    using udid::Rule;
    return udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kEquals, "FUJITSU") &&
           udid::matches(*device, "product", device->GetProductId(), Rule::kBeginsWith, "ETERNUS");
}

std::string CFujitsuEternusUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    using udid::Format;
    const udid::SourcePage inquiry = udid::takePage(*device, udid::kInquiryData);
    if (udid::isShorter(inquiry, kInquiryNeeds)) {
        udid::failWithoutKeys(udid::kInvalidEnclosureData);
    }
    udid::UdidText body(*device);
    body.bytes(inquiry, Format::kTrimmedText, kArrayIdentifier, kArrayIdentifierCharacters);
    body.literal(udid::udid_separator);
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, kNamesNeed)) {
        fail(udid::kInvalidPageData);
    }
    body.bytes(names, Format::kHexUpper, udid::kFirstIdentifier, udid::kLongIdentifier);
    return body.take();
}
