#include "scsitool/udid/default_udid_generator.h"

#include <algorithm>
#include <utility>

#include "scsitool/host/host.h"
#include "scsitool/udid/family.h"
#include "scsitool/udid/generic_udid_generator.h"
#include "scsitool/udid/udid_text.h"
#include "udid/udid_prefix.h"

namespace {

constexpr std::size_t kHostNameSize = 512;

// Fills `info` where the record has what the extraction needs.
bool findIdentifier(CScsiDeviceData& device, CDeviceScsiInfo& info) {
    // It has no trace log: the extraction is silent here.
    CGenericUdidGenerator generic("GENERIC", "GENERIC");
    const std::vector<unsigned>& listed = device.m_supportedPages;
    const bool listsPages =
        std::find(listed.begin(), listed.end(), scsi::kSupportedPages) != listed.end();
    if (!listsPages) {
        udid::remark("the device does not list VPD page 0x00");
        return false;
    }
    if (udid::trimVendor(device).empty()) {
        udid::remark("the vendor is blank");
        return false;
    }
    if (generic.getDeviceScsiInfo(&device, info) != 0) {
        udid::remark("neither page 0x83 nor page 0x80 has an identifier to use");
        return false;
    }
    return true;
}

}  // namespace

CDefaultUdidGenerator::CDefaultUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CDefaultUdidGenerator::~CDefaultUdidGenerator() = default;

bool CDefaultUdidGenerator::claimDevice(CScsiDeviceData* /*device*/) {
    return true;
}

std::string CDefaultUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* device) {
    return udid::recordPrefix(*device);
}

std::string CDefaultUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    udid::UdidText body;
    CDeviceScsiInfo info = {};
    if (findIdentifier(*device, info)) {
        body.field("unitSerialNumber", info.unitSerialNumber);
        body.literal(udid::udid_separator);
        const std::size_t start = body.size();
        body.field("serialShort", info.serialShort);
        body.says(udid::Fact::kVolumeId, start);
        return body.take();
    }
    std::string hostName;
    // gethostname refuses a name that does not fit into its buffer together with the NUL.
    if (host::current().hostName(hostName) < 0 || hostName.size() >= kHostNameSize) {
        hostName = "UNKNOWN";
    }
    body.piece({udid::Format::kDeviceName, udid::kNoPage, 0, 0, device->m_deviceName});
    body.literal("@");
    body.piece({udid::Format::kHostName, udid::kNoPage, 0, 0, hostName});
    return body.take();
}
