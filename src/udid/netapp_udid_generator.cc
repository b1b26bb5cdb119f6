#include "scsitool/udid/netapp_udid_generator.h"

#include <algorithm>
#include <utility>

#include "host/open_node.h"
#include "scsitool/host/host.h"
#include "scsitool/udid/udid_text.h"
#include "udid/netapp_reply.h"

namespace {

constexpr std::size_t kReplyBytes = 4096;
constexpr std::size_t kSenseBytes = 64;
constexpr unsigned kTimeout = 10;

constexpr std::size_t kNamesNeed = 33;
constexpr std::size_t kUnitName = 21;
constexpr std::size_t kUnitNameBytes = 12;

constexpr char kIdentifierField[] = "controller identifier";

host::SgIoRequest controllerRequest() {
    host::SgIoRequest request;
    request.cdb = {0xC0, 0x00, 0x00, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0x00, 0x00};
    request.data.resize(kReplyBytes);
    request.sense.resize(kSenseBytes);
    request.timeout = kTimeout;
    return request;
}

// A request that the device ended with another status than GOOD is not told apart: it brings no
// data, and zeros hold no identifier.
bool askController(host::Host& host, const CScsiDeviceData& device, host::SgIoRequest& request) {
    const host::OpenNode node(host, device.m_deviceName, host::OpenMode::kReadOnlyNonBlocking);
    if (!node.isOpen()) {
        udid::remark("the device cannot be opened to ask the controller");
        return false;
    }
    if (host.sgIo(node.descriptor(), request) != 0) {
        udid::remark("the request to the controller failed");
        return false;
    }
    return true;
}

}  // namespace

CNetAppUdidGenerator::CNetAppUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CNetAppUdidGenerator::~CNetAppUdidGenerator() = default;

std::string CNetAppUdidGenerator::getEnclosureID(CScsiDeviceData* device) {
    host::SgIoRequest request = controllerRequest();
    if (!askController(host::current(), *device, request)) {
        return {};
    }
    const scsi::PageView reply(request.data.data(), request.data.size());
    udid::Reporter* const listener = udid::reporter();
    if (listener != nullptr) {
        listener->readPage(udid::kControllerReply, reply);
    }
    udid::ControllerIdentifier found = udid::findControllerIdentifier(reply);
    if (listener != nullptr) {
        listener->found(kIdentifierField,
                        {udid::Format::kText, udid::kControllerReply, found.offset,
                         udid::kControllerIdentifierBytes, found.text});
    }
    return std::move(found.text);
}

std::string CNetAppUdidGenerator::getUniqueDeviceID(CScsiDeviceData* device) {
    std::string enclosure = getEnclosureID(device);
    enclosure.erase(std::min(enclosure.find('\0'), enclosure.size()));
    if (enclosure.empty()) {
        udid::fail({udid::kInvalidPageData, this}, "the controller tells no identifier");
    }
    udid::UdidText body;
    body.field(kIdentifierField, enclosure);
    body.says(udid::Fact::kArraySerial, 0);
    body.literal(udid::udid_separator);
    const auto& supported = device->m_supportedPages;
    if (std::find(supported.begin(), supported.end(), scsi::kDeviceIdentification) ==
        supported.end()) {
        udid::remark("the device does not list page 0x83");
        throw CUdidGeneratorException(udid::kInvalidPageData, m_vendor, "0x83");
    }
    body.fact(udid::Fact::kVolumeId,
              udid::require(*device, scsi::kDeviceIdentification, kNamesNeed,
                            {udid::kInvalidDeviceData, this}),
              udid::Format::kHexLower, kUnitName, kUnitNameBytes);
    return body.take();
}
