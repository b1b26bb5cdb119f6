#include "scsitool/udid/hp_udid_generators.h"

#include <utility>

#include "scsitool/udid/udid_text.h"
#include "udid/families.h"

using udid::Fact;
using udid::Format;

namespace {

constexpr const udid::Family& kEva = udid::familyOf<CHpEvaUdidGenerator>(udid::kFamilies);
constexpr const udid::Family& kMsa = udid::familyOf<CHpMsaUdidGenerator>(udid::kFamilies);
constexpr const udid::Family& k3par = udid::familyOf<CHp3parUdidGenerator>(udid::kFamilies);

constexpr std::size_t kEvaNeeds = 137;  // byte 137 is read all the same
constexpr std::size_t kEvaNode = 130;
constexpr std::size_t kEvaNodeBytes = 8;
constexpr std::size_t kEvaNamesNeed = 23;  // byte 23 is read all the same
constexpr unsigned kEvaNamesLength = 20;   // page length of a 16-byte identifier

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
    return udid::claims(kEva.claim, *this, *device);
}

std::string CHpEvaUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage inquiry =
        udid::require(*device, udid::kInquiryData, kEvaNeeds, {udid::kInvalidEnclosureData});
    udid::UdidText body;
    body.fact(Fact::kArraySerial, inquiry, Format::kHexUpperDashes, kEvaNode, kEvaNodeBytes);
    body.literal(udid::udid_separator);
    const udid::SourcePage names = udid::require(*device, scsi::kDeviceIdentification,
                                                 kEvaNamesNeed, {udid::kInvalidPageData, this});
    udid::requirePageLength(names, kEvaNamesLength, {udid::kInvalidDeviceData, this});
    body.unitName(names, Format::kHexUpperDashes);
    return body.take();
}

CHpMsaUdidGenerator::CHpMsaUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHpMsaUdidGenerator::~CHpMsaUdidGenerator() = default;

bool CHpMsaUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(kMsa.claim, *this, *device);
}

std::string CHpMsaUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::Failure failure = {udid::kInvalidDeviceData, this};
    udid::UdidText body;
    body.fact(Fact::kArraySerial, udid::require(*device, udid::kInquiryData, kMsaNeeds, failure),
              Format::kText, kMsaSerial, kMsaSerialCharacters);
    body.literal(udid::udid_separator);
    body.fact(Fact::kVolumeId,
              udid::require(*device, scsi::kDeviceIdentification, kMsaNamesNeed, failure),
              Format::kText, kMsaName, kMsaNameCharacters);
    return body.take();
}

CHp3parUdidGenerator::CHp3parUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CHp3parUdidGenerator::~CHp3parUdidGenerator() = default;

bool CHp3parUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::claims(k3par.claim, *this, *device);
}

std::string CHp3parUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    const udid::SourcePage serial = udid::require(*device, scsi::kUnitSerialNumber,
                                                  k3parSerialNeeds, {udid::kInvalidEnclosureData});
    udid::UdidText body;
    udid::decides(serial, scsi::kPageLengthLow, 1);
    body.fact(Fact::kArraySerial, serial, Format::kTrimmedText, scsi::kPageHeader,
              serial.view[scsi::kPageLengthLow]);
    body.literal(udid::udid_separator);
    body.unitName(udid::require(*device, scsi::kDeviceIdentification, k3parNamesNeed,
                                {udid::kInvalidPageData, this}),
                  Format::kHexUpper);
    return body.take();
}
