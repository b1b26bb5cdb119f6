#include "scsitool/udid/ibm_udid_generators.h"

#include <string_view>
#include <utility>

#include "scsitool/udid/udid_text.h"
#include "udid/families.h"

using udid::Fact;
using udid::Format;
using udid::Rule;

namespace {

constexpr const udid::Family& kTotalStorage = udid::familyOf<CIbmUdidGenerator>(udid::kFamilies);
constexpr const udid::Family& kDiskSystem = udid::familyOf<CIbmDsUdidGenerator>(udid::kFamilies);

constexpr std::string_view kEssProducts[] = {"2105", "2107", "1750", "2145"};
constexpr std::string_view kFasttProducts[] = {"3552", "3542"};
constexpr std::string_view kDsProducts[] = {"1722", "1724", "1742", "1815", "1814"};

constexpr std::size_t kInquiryNeeds = 43;
constexpr std::size_t kSerialCharacters = 7;

constexpr std::size_t kArrayNeeds = 106;
constexpr std::size_t kArrayName = 90;
constexpr std::size_t kSubsystemNeeds = 23;  // byte 23 is read all the same
constexpr std::size_t kSubsystemName = 8;
constexpr std::size_t kLongName = 16;

constexpr std::size_t kNamesNeed = 23;  // byte 23 is read all the same
constexpr std::size_t kUnitNumber = 22;
constexpr std::size_t kUnitNumberBytes = 2;

constexpr std::size_t kProductNumber = 4;

constexpr char kNoArrayPart[] = "the UDID has no array part";

bool holds(const std::string& product, std::string_view number) {
    return product.find(number) != std::string::npos;
}

// "IBM.", the first four characters of the product, "-".
void addProduct(udid::UdidText& body, const CScsiDeviceData& record, const std::string& product) {
    body.literal("IBM.");
    body.recordField(record, Format::kText, {scsi::kProductField.offset, kProductNumber},
                     product.substr(0, kProductNumber));
    body.literal("-");
}

// The page 0x80 of an array whose page length does not exceed what the device sent.
udid::SourcePage requireSerialPage(const CScsiDeviceData& record, const CUdidGenerator& generator) {
    const udid::SourcePage page =
        udid::require(record, scsi::kUnitSerialNumber, 1, {udid::kInvalidPageData, &generator});
    udid::decides(page, scsi::kPageLengthLow, 1);
    const unsigned length = page.view[scsi::kPageLengthLow];
    if (length > page.view.length()) {
        udid::fail({udid::kInvalidPageSize}, "the page length of page 0x80 is " +
                                                 std::to_string(length) + ", the page has " +
                                                 std::to_string(page.view.length()) + " bytes");
    }
    return page;
}

// Page 0xC8 of a FAStT controller, long enough for the array's name.
udid::SourcePage requireArrayPage(const CScsiDeviceData& record, const CUdidGenerator& generator) {
    return udid::require(record, scsi::kEngenioArray, kArrayNeeds,
                         {udid::kInvalidPageData, &generator});
}

// The DS models' array name, which may be missing.
void addSubsystem(udid::UdidText& body, const CScsiDeviceData& record) {
    const udid::SourcePage page = udid::takeIfLong(record, scsi::kEngenioSubsystem, kSubsystemNeeds,
                                                   "the array's part is empty");
    if (page.view.hasBuffer()) {
        body.fact(Fact::kArraySerial, page, Format::kHexLower, kSubsystemName, kLongName);
    }
    body.literal(udid::udid_separator);
}

void addDs8000Array(udid::UdidText& body, const CScsiDeviceData& record) {
    const udid::SourcePage inquiry = udid::takeIfLong(record, udid::kInquiryData, 1, kNoArrayPart);
    if (!inquiry.view.hasBuffer()) {
        return;
    }
    udid::requireBytes(inquiry, kInquiryNeeds, {udid::kInvalidPageSize});
    body.literal("IBM.2107-");
    body.fact(Fact::kArraySerial, inquiry, Format::kText, scsi::kVendorSpecific, kSerialCharacters);
    body.literal(udid::udid_separator);
}

void addDs4100Array(udid::UdidText& body, const CScsiDeviceData& record) {
    const udid::SourcePage inquiry =
        udid::takeIfLong(record, udid::kInquiryData, kInquiryNeeds, kNoArrayPart);
    if (!inquiry.view.hasBuffer()) {
        return;
    }
    body.literal("IBM.1724-");
    body.fact(Fact::kArraySerial, inquiry, Format::kText, scsi::kVendorSpecific,
              inquiry.view.length() - scsi::kVendorSpecific);
    body.literal(udid::udid_separator);
}

[[noreturn]] void failOnProduct(const std::string& product) {
    udid::fail({udid::kInvalidEnclosureData},
               "the product \"" + product + "\" holds no number that the layout goes by");
}

}  // namespace

CIbmUdidGenerator::CIbmUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CIbmUdidGenerator::~CIbmUdidGenerator() = default;

// The argument is taken by value because the published signature has it so.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmUdidGenerator::isESS(std::string product) {
    return udid::matchesAny("product", product, Rule::kContains, kEssProducts);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmUdidGenerator::isFASTT(std::string product) {
    return udid::matchesAny("product", product, Rule::kContains, kFasttProducts);
}

bool CIbmUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kTotalStorage.claim, *this, *device) &&
           (isESS(device->GetProductId()) || isFASTT(device->m_productId));
}

std::string CIbmUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const std::string product = device->GetProductId();
    udid::UdidText body;
    if (holds(product, "2107")) {
        addDs8000Array(body, *device);
    } else if (isESS(product)) {
        const udid::SourcePage serial = requireSerialPage(*device, *this);
        addProduct(body, *device, product);
        body.fact(Fact::kArraySerial, serial, Format::kText, scsi::kPageHeader, kSerialCharacters);
        body.literal(udid::udid_separator);
    } else if (isFASTT(product)) {
        const udid::SourcePage array = requireArrayPage(*device, *this);
        addProduct(body, *device, product);
        body.fact(Fact::kArraySerial, array, Format::kHexLower, kArrayName, kLongName);
        body.literal(udid::udid_separator);
    } else {
        failOnProduct(product);
    }
    body.fact(Fact::kVolumeId,
              udid::require(*device, scsi::kDeviceIdentification, kNamesNeed,
                            {udid::kInvalidPageData, this}),
              Format::kHexLower, kUnitNumber, kUnitNumberBytes);
    return body.take();
}

CIbmDsUdidGenerator::CIbmDsUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CIbmDsUdidGenerator::~CIbmDsUdidGenerator() = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmDsUdidGenerator::isESS(std::string product) {
    return udid::matchesAny("product", product, Rule::kContains, kDsProducts);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CIbmDsUdidGenerator::isFASTT(std::string product) {
    return udid::matchesAny("product", product, Rule::kContains, kDsProducts);
}

bool CIbmDsUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kDiskSystem.claim, *this, *device) &&
           (isESS(device->GetProductId()) || isFASTT(device->m_productId));
}

std::string CIbmDsUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const std::string product = device->GetProductId();
    udid::UdidText body;
    if (holds(product, "1724")) {
        addDs4100Array(body, *device);
    } else if (isESS(product)) {
        // The page must be there and whole; its serial number is not part of the UDID.
        requireSerialPage(*device, *this);
        addProduct(body, *device, product);
        addSubsystem(body, *device);
    } else if (isFASTT(product)) {
        // Not reached while both tests are the same; a derived generator may tell them apart.
        requireArrayPage(*device, *this);
        addProduct(body, *device, product);
        addSubsystem(body, *device);
    } else {
        failOnProduct(product);
    }
    body.unitName(udid::require(*device, scsi::kDeviceIdentification, kNamesNeed,
                                {udid::kInvalidPageData, this}),
                  Format::kHexLowerColons);
    return body.take();
}
