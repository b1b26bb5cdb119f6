#include "cli/common/disk_at_address.h"

#include <algorithm>

#include "cli/base/text.h"
#include "cli/common/removed_addresses.h"
#include "recording/guard/kernel/scsi_devices.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

using Presence = DiskAtAddress::Presence;
using recording::guard::Evidence;
using recording::guard::ScsiAddress;
using recording::guard::ScsiDevices;

constexpr const char* kScsiDevices = "/sys/class/scsi_device/";

// A disk that does not answer has none, for whatever reason: that is no obstacle to its removal.
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
        disk.udid = udidOf(host, disk.node);
    }
    return disk;
}

std::string diskLine(const DiskAtAddress& disk, const std::string& address) {
    return visible(address + " is " + (disk.node.empty() ? "no disk with a node" : disk.node) +
                   ", " + (disk.product.empty() ? "no product" : disk.product) + ", " +
                   (disk.udid.empty() ? "no UDID" : disk.udid)) +
           "\n";
}

Json diskJson(const DiskAtAddress& disk) {
    return {{"name", jsonText(disk.node)},
            {"product", jsonText(disk.product)},
            {"udid", jsonText(disk.udid)}};
}

}  // namespace cli
