#include "cli/doctor/survey.h"

#include <algorithm>
#include <cerrno>

#include "cli/prune/look.h"
#include "recording/guard/kernel/scsi_devices.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli::doctor {
namespace {

namespace guard = recording::guard;
using guard::Answer;
using guard::Evidence;

bool isRefusal(int error) {
    return error == -ENOTTY || error == -EINVAL || error == -EOPNOTSUPP;
}

int openErrorOf(host::Host& host, const std::string& node) {
    const int descriptor = host.openDevice(node, host::OpenMode::kReadWriteNonBlocking);
    if (descriptor < 0) {
        return -descriptor;
    }
    host.closeDevice(descriptor);
    return 0;
}

// The same INQUIRY by the other interface.
bool answersSgIo(host::Host& host, const std::string& node) {
    constexpr std::uint8_t kLength = 36;
    constexpr unsigned kTimeout = 10000;  // milliseconds
    const int descriptor = host.openDevice(node, host::OpenMode::kReadOnlyNonBlocking);
    if (descriptor < 0) {
        return false;
    }
    host::SgIoRequest request;
    request.cdb = {0x12, 0, 0, 0, kLength, 0};
    request.data.resize(kLength);
    request.sense.resize(32);
    request.timeout = kTimeout;
    const int result = host.sgIo(descriptor, request);
    host.closeDevice(descriptor);
    return result == 0 && request.status == 0 && request.hostStatus == 0;
}

DiskSeen lookAt(const HostView& view, const prune::DiskSighting& sighting) {
    Evidence evidence(view.host, view.isRecorded());
    DiskSeen disk;
    disk.node = sighting.shown;
    disk.address = sighting.address;
    disk.answer = sighting.answer;
    disk.genericNode = guard::ScsiDevices(evidence).genericNodeAt(sighting.address);
    return disk;
}

void lookCloser(const HostView& view, DiskSeen& disk) {
    disk.openError = openErrorOf(view.host, disk.node);
    disk.answersSgIoOnly = isRefusal(disk.answer.error) && answersSgIo(view.host, disk.node);
}

bool isListed(const std::vector<DiskSeen>& disks, const std::string& node) {
    return std::any_of(disks.begin(), disks.end(),
                       [&node](const DiskSeen& disk) { return disk.node == node; });
}

// Those of /proc/partitions, where sysfs does not show them.
void addUnlisted(const HostView& view, Survey& found) {
    const host::Scope scope(view.host);
    CLinuxDeviceDiscovery discovery;
    for (const std::string& node : discovery.enumerateNativeDevicePaths()) {
        if (!isListed(found.disks, node)) {
            Evidence evidence(view.host, view.isRecorded());
            DiskSeen disk;
            disk.node = node;
            disk.answer = guard::askDisk(evidence, node);
            found.disks.push_back(std::move(disk));
        }
    }
}

void add(const std::vector<std::string>& failures, Survey& found) {
    found.untold.insert(found.untold.end(), failures.begin(), failures.end());
}

}  // namespace

Survey survey(const HostView& view) {
    const prune::View kernel = {view.host, view.isRecorded()};
    Survey found;
    const auto disks = prune::findDisks(kernel);
    add(disks.failures, found);
    for (const guard::ScsiAddress& address : disks.list) {
        const prune::DiskSighting sighting = prune::lookAtDisk(kernel, address);
        if (sighting.isThere) {
            found.disks.push_back(lookAt(view, sighting));
        }
    }
    addUnlisted(view, found);
    for (DiskSeen& disk : found.disks) {
        lookCloser(view, disk);
    }
    const auto maps = prune::findMaps(kernel);
    found.maps = maps.list;
    add(maps.failures, found);
    return found;
}

}  // namespace cli::doctor
