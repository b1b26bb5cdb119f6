#include "scsitool/udid/fujitsu_udid_generator.h"

#include <utility>

#include "scsitool/udid/udid_text.h"
#include "udid/families.h"

namespace {

constexpr const udid::Family& kFamily =
    udid::familyOf<CFujitsuEternusUdidGenerator>(udid::kFamilies);

constexpr std::size_t kInquiryNeeds = 44;
constexpr std::size_t kArrayIdentifierCharacters = 8;
constexpr std::size_t kNamesNeed = 24;

}  // namespace

CFujitsuEternusUdidGenerator::CFujitsuEternusUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CFujitsuEternusUdidGenerator::~CFujitsuEternusUdidGenerator() = default;

bool CFujitsuEternusUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kFamily.claim, *this, *device);
}

std::string CFujitsuEternusUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    using udid::Format;
    const udid::SourcePage inquiry =
        udid::require(*device, udid::kInquiryData, kInquiryNeeds, {udid::kInvalidEnclosureData});
    udid::UdidText body;
    body.fact(udid::Fact::kArraySerial, inquiry, Format::kTrimmedText, scsi::kVendorSpecific,
              kArrayIdentifierCharacters);
    body.literal(udid::udid_separator);
    body.unitName(udid::require(*device, scsi::kDeviceIdentification, kNamesNeed,
                                {udid::kInvalidPageData, this}),
                  Format::kHexUpper);
    return body.take();
}
