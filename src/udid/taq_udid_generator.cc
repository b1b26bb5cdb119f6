#include "scsitool/udid/taq_udid_generator.h"

#include <utility>

#include "scsitool/udid/generic_udid_generator.h"
#include "udid/udid_text.h"

CTAQUdidGenerator::CTAQUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CTAQUdidGenerator::~CTAQUdidGenerator() = default;

bool CTAQUdidGenerator::claimDevice(CScsiDeviceData* /*device*/) {
    return true;
}

std::string CTAQUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* device) {
    udid::UdidText prefix(*device);
    prefix.literal(udid::taq_udid_prefix);
    prefix.piece(udid::recordPiece(*device, udid::Format::kRightTrimmedText, 8, 8,
                                   udid::trimVendor(*device)));
    prefix.literal(udid::udid_separator);
    prefix.literal("TAQ_MODEL");
    prefix.literal(udid::udid_separator);
    return prefix.take();
}

std::string CTAQUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    CGenericUdidGenerator generic("GENERIC", "GENERIC");
    generic.registerTraceLog(m_traceLog);
    CDeviceScsiInfo info = {};
    udid::UdidText body(*device);
    if (generic.getDeviceScsiInfo(device, info) != 0) {
        body.literal(udid::udid_separator);
        body.literal("NO_TAQ_DEVICE");
        return body.take();
    }
    body.literal("disk-scsi-");
    body.field("serialShort", info.serialShort);
    return body.take();
}
