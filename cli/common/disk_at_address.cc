#include "cli/common/disk_at_address.h"

#include <algorithm>

#include "cli/base/text.h"
#include "cli/common/removed_addresses.h"
#include "cli/hosts/missing_pages.h"
#include "cli/hosts/page_answer.h"
#include "cli/picture/last_known.h"
#include "cli/picture/rows.h"
#include "cli/view/condition.h"
#include "recording/guard/kernel/scsi_devices.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

using Presence = DiskAtAddress::Presence;
using recording::guard::Evidence;
using recording::guard::ScsiAddress;
using recording::guard::ScsiDevices;

constexpr const char* kScsiDevices = "/sys/class/scsi_device/";

std::string udidOf(host::Host& host, const std::string& node) {
    const host::Scope scope(host);
    CUDIDFactory factory;
    try {
        for (const auto& [name, info] : factory.validateDeviceMap(node)) {
            if (name == node) {
                return info.uid;
            }
        }
    } catch (...) {
        return {};
    }
    return {};
}

// A disk that does not answer has no UDID, for whatever reason: that is no obstacle to its removal.
void identify(host::Host& host, bool isLive, DiskAtAddress& disk) {
    MissingPages pages(host);
    disk.udid = udidOf(pages, disk.node);
    std::string hostName;
    host.hostName(hostName);
    disk.isPathUdid = picture::isPathUdid(disk.udid, disk.node, hostName);
    const auto missing = pages.missing().find(disk.node);
    if (missing != pages.missing().end()) {
        const auto& [page, why] = *missing->second.begin();
        disk.missing = missingText(page, why);
    }
    if (!isLive && mayBeUnrecordedList(disk.missing)) {
        disk.missing.clear();
    }
}

// "UDID##... (this path at this host only) (answered in part: page 0x80: SCSI status 8)"
std::string identityText(const DiskAtAddress& disk) {
    const std::string part =
        disk.missing.empty() ? std::string() : " (answered in part: " + disk.missing + ")";
    return (disk.udid.empty() ? "no UDID" : view::udidText(disk.udid, false, disk.isPathUdid)) +
           part;
}

void lookUp(Evidence& evidence, const SLinuxScsiDevice& address, DiskAtAddress& disk) {
    const auto names = evidence.list(kScsiDevices);
    if (!names) {
        return;
    }
    if (std::find(names->begin(), names->end(), addressText(address)) == names->end()) {
        disk.presence = Presence::kAbsent;
        return;
    }
    disk.presence = Presence::kThere;
    const ScsiAddress at = scsiAddress(address);
    ScsiDevices devices(evidence);
    const std::string vendor = devices.attributeAt(at, "vendor");
    const std::string model = devices.attributeAt(at, "model");
    disk.product = vendor + (vendor.empty() || model.empty() ? "" : " ") + model;
    const auto disks = devices.disksAt(at);
    if (!disks.empty()) {
        disk.node = "/dev/" + disks.front();
    }
}

}  // namespace

ScsiAddress scsiAddress(const SLinuxScsiDevice& address) {
    return {static_cast<std::uint32_t>(address.host), static_cast<std::uint32_t>(address.channel),
            static_cast<std::uint32_t>(address.id), static_cast<std::uint64_t>(address.lun)};
}

DiskAtAddress diskAt(const Context& context, const SLinuxScsiDevice& address) {
    host::Host& host = context.hosts.aside();
    Evidence evidence(host, !context.isLive());
    DiskAtAddress disk;
    lookUp(evidence, address, disk);
    disk.failures = evidence.failures();
    if (!disk.node.empty()) {
        identify(host, context.isLive(), disk);
    }
    return disk;
}

std::string diskLine(const DiskAtAddress& disk, const std::string& address) {
    return visible(address + " is " + (disk.node.empty() ? "no disk with a node" : disk.node) +
                   ", " + (disk.product.empty() ? "no product" : disk.product) + ", " +
                   identityText(disk)) +
           "\n";
}

Json diskJson(const DiskAtAddress& disk) {
    return {{"name", jsonText(disk.node)},
            {"product", jsonText(disk.product)},
            {"udid", jsonText(disk.udid)},
            {"identity", picture::identityJson(disk.udid, disk.isPathUdid)},
            {"missing_page", disk.missing}};
}

}  // namespace cli
