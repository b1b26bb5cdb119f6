#include "scsitool/udid/taq_udid_generator.h"

#include <utility>

#include "scsitool/udid/family.h"
#include "scsitool/udid/generic_udid_generator.h"
#include "scsitool/udid/udid_text.h"

CTAQUdidGenerator::CTAQUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CTAQUdidGenerator::~CTAQUdidGenerator() = default;

bool CTAQUdidGenerator::claimDevice(CScsiDeviceData* /*device*/) {
    return true;
}

std::string CTAQUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* device) {
    udid::UdidText prefix;
    prefix.literal(udid::taq_udid_prefix);
    prefix.recordField(*device, udid::Format::kRightTrimmedText, scsi::kVendorField,
                       udid::trimVendor(*device));
    prefix.literal(udid::udid_separator);
    prefix.literal("TAQ_MODEL");
    prefix.literal(udid::udid_separator);
    return prefix.take();
}

std::string CTAQUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    CGenericUdidGenerator generic("GENERIC", "GENERIC");
    generic.registerTraceLog(m_traceLog);
    CDeviceScsiInfo info = {};
    udid::UdidText body;
    if (generic.getDeviceScsiInfo(device, info) != 0) {
        body.literal(udid::udid_separator);
        body.literal("NO_TAQ_DEVICE");
        return body.take();
    }
    body.literal("disk-scsi-");
    const std::size_t start = body.size();
    body.field("serialShort", info.serialShort);
    body.says(udid::Fact::kVolumeId, start);
    return body.take();
}
