#include "scsitool/udid/lsi_udid_generator.h"

#include <utility>

#include "scsitool/udid/udid_text.h"
#include "udid/families.h"

namespace {

constexpr const udid::Family& kFamily = udid::familyOf<CLsiUdidGenerator>(udid::kFamilies);

constexpr std::size_t kArrayNeeds = 106;
constexpr std::size_t kArrayName = 90;
constexpr std::size_t kArrayNameBytes = 16;
constexpr std::size_t kNamesNeed = 23;  // byte 23 is read all the same
constexpr unsigned kNamesLength = 20;   // page length of a 16-byte identifier

}  // namespace

CLsiUdidGenerator::CLsiUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CLsiUdidGenerator::~CLsiUdidGenerator() = default;

bool CLsiUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kFamily.claim, *this, *device);
}

std::string CLsiUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage array =
        udid::require(*device, scsi::kEngenioArray, kArrayNeeds, {udid::kInvalidEnclosureData});
    udid::UdidText body;
    body.fact(udid::Fact::kArraySerial, array, udid::Format::kHexLower, kArrayName,
              kArrayNameBytes);
    body.literal(udid::udid_separator);
    const udid::SourcePage names = udid::require(*device, scsi::kDeviceIdentification, kNamesNeed,
                                                 {udid::kInvalidPageData, this});
    udid::requirePageLength(names, kNamesLength, {udid::kInvalidDeviceData, this});
    body.unitName(names, udid::Format::kHexUpper);
    return body.take();
}
