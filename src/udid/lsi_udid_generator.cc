#include "scsitool/udid/lsi_udid_generator.h"

#include <array>
#include <string_view>
#include <utility>

#include "udid/generator_support.h"

namespace {

constexpr std::array<std::string_view, 3> kProducts = {"INF", "UNIVERSAL", "MPP_VIRTUAL_DISK"};

constexpr unsigned kArrayPage = 0xC8;
constexpr std::size_t kArrayNeeds = 106;
constexpr std::size_t kArrayName = 90;
constexpr std::size_t kArrayNameBytes = 16;
constexpr std::size_t kNamesNeed = 23;  // byte 23 is read all the same
constexpr unsigned kShortNames = 19;    // page length that a 16-byte identifier exceeds

}  // namespace

CLsiUdidGenerator::CLsiUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CLsiUdidGenerator::~CLsiUdidGenerator() = default;

bool CLsiUdidGenerator::claimDevice(CScsiDeviceData* device) {
    using udid::Rule;
    const std::string product = device->GetProductId();
    return udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kEquals, "LSI") &&
           udid::matchesAny(*device, "product", product, Rule::kBeginsWith, kProducts);
}

std::string CLsiUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    using udid::Format;
    const udid::SourcePage array = udid::takePage(*device, kArrayPage);
    if (udid::isShorter(array, kArrayNeeds)) {
        udid::failWithoutKeys(udid::kInvalidEnclosureData);
    }
    udid::UdidText body(*device);
    body.bytes(array, Format::kHexLower, kArrayName, kArrayNameBytes);
    body.literal(udid::udid_separator);
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, kNamesNeed)) {
        fail(udid::kInvalidPageData);
    }
    if (names.view.word(2) <= kShortNames) {
        fail(udid::kInvalidDeviceData);
    }
    body.bytes(names, Format::kHexUpper, udid::kFirstIdentifier, udid::kLongIdentifier);
    return body.take();
}
