#include "cli/picture/last_known.h"

#include <algorithm>

#include "cli/common/record_list.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/scsi/pages.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/account.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli::picture {
namespace {

using recording::Bytes;
using recording::guard::ScsiDevices;

/// A disk as the kernel keeps it.
struct KeptDisk {
    recording::RecordedDevice device;
    bool isPageListKept = false;
};

// The kernel asks for 36 bytes and then for all; some disks are asked for no more than the 36.
bool isWhole(const Bytes& inquiry) {
    constexpr std::size_t kShortest = 36;
    return inquiry.size() >= kShortest &&
           inquiry.size() >= inquiry[scsi::kInquiryLength] + scsi::kInquiryHeader;
}

void addPage(KeptDisk& disk, std::uint8_t code, Bytes page) {
    if (page.size() >= scsi::kPageHeader && page[scsi::kPageCode] == code) {
        disk.device.pages[code] = recording::RecordedPage(std::move(page));
    }
}

// Without the kernel's own list the pages that it keeps are the list.
void addPageList(KeptDisk& disk, Bytes list) {
    disk.isPageListKept = list.size() > scsi::kPageHeader;
    if (!disk.isPageListKept) {
        list.assign(scsi::kPageHeader + 1, 0);  // the list lists itself
        for (const auto& [code, page] : disk.device.pages) {
            list.push_back(code);
        }
        list[scsi::kPageLengthLow] = static_cast<std::uint8_t>(list.size() - scsi::kPageHeader);
    }
    disk.device.pages[scsi::kSupportedPages] = recording::RecordedPage(std::move(list));
}

// Tells whether a generator asks the device itself.
class NoDevice : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    int openDevice(const std::string& path, host::OpenMode mode) override {
        m_isAsked = true;
        return ForwardingHost::openDevice(path, mode);
    }
    bool isAsked() const { return m_isAsked; }

  private:
    bool m_isAsked = false;
};

KeptDisk keptDisk(ScsiDevices& kept, const ScsiAddress& address) {
    constexpr std::uint32_t kByte = 0xFF;
    KeptDisk disk;
    disk.device.standardInquiry = recording::RecordedPage(kept.keptAt(address, "inquiry"));
    addPage(disk, scsi::kUnitSerialNumber, kept.keptAt(address, "vpd_pg80"));
    addPage(disk, scsi::kDeviceIdentification, kept.keptAt(address, "vpd_pg83"));
    addPageList(disk, kept.keptAt(address, "vpd_pg0"));
    disk.device.idLun = (address.host & kByte) << 24 | (address.channel & kByte) << 16 |
                        static_cast<std::uint32_t>(address.lun & kByte) << 8 |
                        (address.target & kByte);
    return disk;
}

// A page that was asked for and is not kept: nobody knows what the disk would have answered, unless
// its list says that it has none.
bool isGuess(const udid::ExplainedPage& page, const KeptDisk& disk) {
    if (page.present) {
        return false;
    }
    const Bytes& list = disk.device.pages.at(scsi::kSupportedPages).bytes;
    const bool isListed =
        std::find(list.begin() + scsi::kPageHeader, list.end(), page.code) != list.end();
    return !disk.isPageListKept || isListed;
}

}  // namespace

bool isPathUdid(const std::string& udid, const std::string& node, const std::string& hostName) {
    if (udid.find('@') == std::string::npos) {
        return false;
    }
    const std::string path = CStringTool::tostrupper(node + "@");
    const std::size_t place = udid.rfind(path);
    if (place == std::string::npos) {
        return false;
    }
    const std::string behind = udid.substr(place + path.size());
    return behind == CStringTool::tostrupper(hostName) || behind == "UNKNOWN";
}

LastKnown lastKnown(ScsiDevices& kept, const ScsiAddress& address, const std::string& node,
                    const std::string& hostName) {
    const KeptDisk disk = keptDisk(kept, address);
    if (!isWhole(disk.device.standardInquiry->bytes)) {
        return {};
    }
    recording::RecordedHostData data;
    data.hostName = hostName;
    data.devices[node] = disk.device;
    recording::Journal unread;
    recording::RecordedHost host(std::move(data), unread);
    const host::Scope scope(host);
    CUDIDFactory factory;
    CLinuxDeviceDiscovery discovery;
    for (const auto& record : owned(discovery.validateDevice(node))) {
        NoDevice noDevice(host);
        const host::Scope aside(noDevice);
        const udid::Account account = udid::account(factory, *record);
        const udid::Explanation& explanation = account.explanation;
        const bool isBuilt = explanation.outcome == udid::Outcome::kClaimed ||
                             explanation.outcome == udid::Outcome::kFallback;
        const bool isGuessed =
            std::any_of(explanation.pages.begin(), explanation.pages.end(),
                        [&](const udid::ExplainedPage& page) { return isGuess(page, disk); });
        if (isBuilt && !isGuessed && !noDevice.isAsked() &&
            !isPathUdid(explanation.udid, node, hostName)) {
            return {explanation.udid, fieldsOf(*record, &account.identity)};
        }
    }
    return {};
}

}  // namespace cli::picture
