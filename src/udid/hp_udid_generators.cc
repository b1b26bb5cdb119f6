#include "scsitool/udid/hp_udid_generators.h"

#include <array>
#include <string_view>
#include <utility>

#include "udid/generator_support.h"

using udid::Format;
using udid::Rule;

namespace {

constexpr std::array<std::string_view, 2> kHpVendors = {"COMPAQ", "HP"};

constexpr std::size_t kEvaNeeds = 137;  // byte 137 is read all the same
constexpr std::size_t kEvaNode = 130;
constexpr std::size_t kEvaNodeBytes = 8;
constexpr std::size_t kEvaNamesNeed = 23;  // byte 23 is read all the same
constexpr unsigned kShortNames = 19;       // page length that a 16-byte identifier exceeds

constexpr std::size_t kMsaNeeds = 120;
constexpr std::size_t kMsaSerial = 96;
constexpr std::size_t kMsaSerialCharacters = 14;
constexpr std::size_t kMsaNamesNeed = 68;
constexpr std::size_t kMsaName = 36;
constexpr std::size_t kMsaNameCharacters = 32;

constexpr std::size_t k3parSerialNeeds = 12;
constexpr std::size_t k3parNamesNeed = 16;  // bytes up to 23 are read all the same

}  // namespace

CHpEvaUdidGenerator::CHpEvaUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHpEvaUdidGenerator::~CHpEvaUdidGenerator() = default;

bool CHpEvaUdidGenerator::claimDevice(CScsiDeviceData* device) {
    const std::string product = device->GetProductId();
    return udid::matchesAny(*device, "vendor", udid::trimVendor(*device), Rule::kEquals,
                            kHpVendors) &&
           udid::matches(*device, "product", product, Rule::kBeginsWith, "HSV");
}

std::string CHpEvaUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage inquiry = udid::takePage(*device, udid::kInquiryData);
    if (udid::isShorter(inquiry, kEvaNeeds)) {
        udid::failWithoutKeys(udid::kInvalidEnclosureData);
    }
    udid::UdidText body(*device);
    body.bytes(inquiry, Format::kHexUpperDashes, kEvaNode, kEvaNodeBytes);
    body.literal(udid::udid_separator);
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, kEvaNamesNeed)) {
        fail(udid::kInvalidPageData);
    }
    if (names.view.word(2) <= kShortNames) {
        fail(udid::kInvalidDeviceData);
    }
    body.bytes(names, Format::kHexUpperDashes, udid::kFirstIdentifier, udid::kLongIdentifier);
    return body.take();
}

CHpMsaUdidGenerator::CHpMsaUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHpMsaUdidGenerator::~CHpMsaUdidGenerator() = default;

bool CHpMsaUdidGenerator::claimDevice(CScsiDeviceData* device) {
    const std::string& vendor = udid::trimVendor(*device);
    return udid::matches(*device, "product", device->GetProductId(), Rule::kContains, "MSA") &&
           udid::matchesAny(*device, "vendor", vendor, Rule::kContains, kHpVendors);
}

std::string CHpMsaUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage inquiry = udid::takePage(*device, udid::kInquiryData);
    if (udid::isShorter(inquiry, kMsaNeeds)) {
        fail(udid::kInvalidDeviceData);
    }
    udid::UdidText body(*device);
    body.bytes(inquiry, Format::kText, kMsaSerial, kMsaSerialCharacters);
    body.literal(udid::udid_separator);
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, kMsaNamesNeed)) {
        fail(udid::kInvalidDeviceData);
    }
    body.bytes(names, Format::kText, kMsaName, kMsaNameCharacters);
    return body.take();
}

CHp3parUdidGenerator::CHp3parUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHp3parUdidGenerator::~CHp3parUdidGenerator() = default;

bool CHp3parUdidGenerator::claimDevice(CScsiDeviceData* device) {
    const std::string product = device->GetProductId();
    return udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kEquals, "3PARdata") &&
           udid::matches(*device, "product", product, Rule::kEquals, "VV");
}

std::string CHp3parUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage serial = udid::takePage(*device, udid::kUnitSerialNumber);
    if (udid::isShorter(serial, k3parSerialNeeds)) {
        udid::failWithoutKeys(udid::kInvalidEnclosureData);
    }
    udid::UdidText body(*device);
    body.bytes(serial, Format::kTrimmedText, udid::kPageHeader, serial.view[3]);
    body.literal(udid::udid_separator);
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, k3parNamesNeed)) {
        fail(udid::kInvalidPageData);
    }
    body.bytes(names, Format::kHexUpper, udid::kFirstIdentifier, udid::kLongIdentifier);
    return body.take();
}
