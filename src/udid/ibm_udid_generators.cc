#include "scsitool/udid/ibm_udid_generators.h"

#include <array>
#include <string_view>
#include <utility>

#include "udid/generator_support.h"

using udid::Format;
using udid::Rule;

namespace {

constexpr std::array<std::string_view, 4> kEssProducts = {"2105", "2107", "1750", "2145"};
constexpr std::array<std::string_view, 2> kFasttProducts = {"3552", "3542"};
constexpr std::array<std::string_view, 5> kDsProducts = {"1722", "1724", "1742", "1815", "1814"};

constexpr std::size_t kInquiryNeeds = 43;
constexpr std::size_t kInquirySerial = 36;
constexpr std::size_t kSerialCharacters = 7;

constexpr unsigned kArrayPage = 0xC8;
constexpr std::size_t kArrayNeeds = 106;
constexpr std::size_t kArrayName = 90;
constexpr unsigned kSubsystemPage = 0xD0;
constexpr std::size_t kSubsystemNeeds = 23;  // byte 23 is read all the same

constexpr std::size_t kNamesNeed = 23;  // byte 23 is read all the same
constexpr std::size_t kUnitNumber = 22;
constexpr std::size_t kUnitNumberBytes = 2;

constexpr std::size_t kProductField = 16;  // in the standard INQUIRY data
constexpr std::size_t kProductNumber = 4;

template <std::size_t Count>
bool containsAny(const std::string& product, const std::array<std::string_view, Count>& numbers) {
    for (const std::string_view number : numbers) {
        if (product.find(number) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// The decision is the overridable test's, which knows no record; what it compared is reported here.
template <std::size_t Count>
bool reported(bool decision, const CScsiDeviceData& record, const std::string& product,
              const std::array<std::string_view, Count>& numbers) {
    if (udid::evidenceOf(record) != nullptr) {
        udid::matchesAny(record, "product", product, Rule::kContains, numbers);
    }
    return decision;
}

// "IBM.", the first four characters of the product, "-".
void addProduct(udid::UdidText& body, const CScsiDeviceData& record, const std::string& product) {
    body.literal("IBM.");
    body.piece(udid::recordPiece(record, Format::kText, kProductField, kProductNumber,
                                 product.substr(0, kProductNumber)));
    body.literal("-");
}

// The page 0x80 of an array whose page length does not exceed what the device sent.
udid::SourcePage takeSerialPage(CScsiDeviceData& record, const CUdidGenerator& generator) {
    const udid::SourcePage page = udid::takePage(record, udid::kUnitSerialNumber);
    if (!udid::isAvailable(page)) {
        throw CUdidGeneratorException(udid::kInvalidPageData, generator.m_vendor,
                                      generator.m_product);
    }
    if (page.view[3] > page.view.length()) {
        udid::failWithoutKeys(udid::kInvalidPageSize);
    }
    return page;
}

// Page 0xC8 of a FAStT controller, long enough for the array's name.
udid::SourcePage takeArrayPage(CScsiDeviceData& record, const CUdidGenerator& generator) {
    const udid::SourcePage page = udid::takePage(record, kArrayPage);
    if (udid::isShorter(page, kArrayNeeds)) {
        throw CUdidGeneratorException(udid::kInvalidPageData, generator.m_vendor,
                                      generator.m_product);
    }
    return page;
}

// The DS models' array name, which may be missing.
void addSubsystem(udid::UdidText& body, CScsiDeviceData& record) {
    const udid::SourcePage page = udid::takePage(record, kSubsystemPage);
    if (udid::isShorter(page, kSubsystemNeeds)) {
        udid::remark(record, "page 0xD0 is missing or short: the array's part is empty");
    } else {
        body.bytes(page, Format::kHexLower, udid::kFirstIdentifier, udid::kLongIdentifier);
    }
    body.literal(udid::udid_separator);
}

void addDs8000Array(udid::UdidText& body, CScsiDeviceData& record) {
    const udid::SourcePage inquiry = udid::takePage(record, udid::kInquiryData);
    if (!udid::isAvailable(inquiry)) {
        udid::remark(record, "there is no INQUIRY data: the UDID has no array part");
        return;
    }
    if (udid::isShorter(inquiry, kInquiryNeeds)) {
        udid::failWithoutKeys(udid::kInvalidPageSize);
    }
    body.literal("IBM.2107-");
    body.bytes(inquiry, Format::kText, kInquirySerial, kSerialCharacters);
    body.literal(udid::udid_separator);
}

void addDs4100Array(udid::UdidText& body, CScsiDeviceData& record) {
    const udid::SourcePage inquiry = udid::takePage(record, udid::kInquiryData);
    if (udid::isShorter(inquiry, kInquiryNeeds)) {
        udid::remark(record, "the INQUIRY data is missing or short: the UDID has no array part");
        return;
    }
    body.literal("IBM.1724-");
    body.bytes(inquiry, Format::kText, kInquirySerial, inquiry.view.length() - kInquirySerial);
    body.literal(udid::udid_separator);
}

}  // namespace

CIbmUdidGenerator::CIbmUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CIbmUdidGenerator::~CIbmUdidGenerator() = default;

// The argument is taken by value because the published signature has it so.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmUdidGenerator::isESS(std::string product) {
    return containsAny(product, kEssProducts);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmUdidGenerator::isFASTT(std::string product) {
    return containsAny(product, kFasttProducts);
}

bool CIbmUdidGenerator::claimDevice(CScsiDeviceData* device) {
    if (!udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kBeginsWith, "IBM")) {
        return false;
    }
    const std::string product = device->GetProductId();
    return reported(isESS(product), *device, product, kEssProducts) ||
           reported(isFASTT(product), *device, product, kFasttProducts);
}

std::string CIbmUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const std::string product = device->GetProductId();
    udid::UdidText body(*device);
    if (product.find("2107") != std::string::npos) {
        addDs8000Array(body, *device);
    } else if (isESS(product)) {
        const udid::SourcePage serial = takeSerialPage(*device, *this);
        addProduct(body, *device, product);
        body.bytes(serial, Format::kText, udid::kPageHeader, kSerialCharacters);
        body.literal(udid::udid_separator);
    } else if (isFASTT(product)) {
        const udid::SourcePage array = takeArrayPage(*device, *this);
        addProduct(body, *device, product);
        body.bytes(array, Format::kHexLower, kArrayName, udid::kLongIdentifier);
        body.literal(udid::udid_separator);
    } else {
        udid::failWithoutKeys(udid::kInvalidEnclosureData);
    }
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, kNamesNeed)) {
        fail(udid::kInvalidPageData);
    }
    body.bytes(names, Format::kHexLower, kUnitNumber, kUnitNumberBytes);
    return body.take();
}

CIbmDsUdidGenerator::CIbmDsUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CIbmDsUdidGenerator::~CIbmDsUdidGenerator() = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmDsUdidGenerator::isESS(std::string product) {
    return containsAny(product, kDsProducts);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmDsUdidGenerator::isFASTT(std::string product) {
    return containsAny(product, kDsProducts);
}

bool CIbmDsUdidGenerator::claimDevice(CScsiDeviceData* device) {
    if (!udid::matches(*device, "vendor", udid::trimVendor(*device), Rule::kBeginsWith, "IBM")) {
        return false;
    }
    const std::string product = device->GetProductId();
    return reported(isESS(product), *device, product, kDsProducts) || isFASTT(product);
}

std::string CIbmDsUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const std::string product = device->GetProductId();
    udid::UdidText body(*device);
    if (product.find("1724") != std::string::npos) {
        addDs4100Array(body, *device);
    } else if (isESS(product)) {
        // The page must be there and whole; its serial number is not part of the UDID.
        takeSerialPage(*device, *this);
        addProduct(body, *device, product);
        addSubsystem(body, *device);
    } else if (isFASTT(product)) {
        // Not reached while both tests are the same; a derived generator may tell them apart.
        takeArrayPage(*device, *this);
        addProduct(body, *device, product);
        addSubsystem(body, *device);
    } else {
        udid::failWithoutKeys(udid::kInvalidEnclosureData);
    }
    const udid::SourcePage names = udid::takePage(*device, udid::kDeviceIdentification);
    if (udid::isShorter(names, kNamesNeed)) {
        fail(udid::kInvalidPageData);
    }
    body.bytes(names, Format::kHexLowerColons, udid::kFirstIdentifier, udid::kLongIdentifier);
    return body.take();
}
