#include "pages.h"

#include <algorithm>

#include "page_builder.h"
#include "scsitool/scsi/page_view.h"
#include "scsitool/scsi/pages.h"

namespace fuzz {
namespace {

using recording::Bytes;

constexpr std::size_t kHeader = 3;
// The vendor-specific command that a NetApp controller tells its identifier to.
const Bytes kControllerCommand = {0xC0, 0, 0, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0, 0};

std::string fieldOf(const Bytes& inquiry, const scsi::InquiryField& field) {
    return scsi::PageView(inquiry.data(), inquiry.size()).text(field.offset, field.length);
}

std::uint64_t bigEndian(const Bytes& bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = value << 8U | byte;
    }
    return value;
}

}  // namespace

Pages readPages(const std::uint8_t* data, std::size_t size) {
    Pages pages;
    for (std::size_t at = 0; size - at >= kHeader;) {
        const std::size_t wanted = std::size_t{data[at + 1]} << 8U | data[at + 2];
        const std::size_t length = std::min(wanted, size - at - kHeader);
        const std::uint8_t* const first = data + at + kHeader;
        pages.push_back({data[at], Bytes(first, first + length)});
        at += kHeader + length;
    }
    return pages;
}

CScsiDeviceData recordOf(const Pages& pages) {
    CScsiDeviceData record("/dev/sda", "", "db01", 0, 0, 0, -1, "", "", "", 0);
    for (const Said& said : pages) {
        if (said.code == Said::kStandard) {
            record.m_vendorId = fieldOf(said.bytes, scsi::kVendorField);
            record.m_productId = fieldOf(said.bytes, scsi::kProductField);
            record.m_firmwareLevel = fieldOf(said.bytes, scsi::kRevisionField);
        } else if (said.code == Said::kPageList) {
            record.m_supportedPages.assign(said.bytes.begin(), said.bytes.end());
            continue;
        }
        if (said.bytes.empty()) {
            test::storeEmpty(record, said.code);
        } else {
            test::store(record, said.code, said.bytes);
        }
    }
    return record;
}

recording::RecordedHostData hostOf(const Pages& pages) {
    recording::RecordedHostData data;
    data.files["/proc/partitions"] = "major minor  #blocks  name\n\n   8        0    1048576 sda\n";
    recording::RecordedDevice& disk = data.devices["/dev/sda"];
    disk.number = {host::DeviceNumber::Kind::kBlock, 8, 0};
    for (const auto& [code, bytes] : pages) {
        switch (code) {
            case Said::kStandard:
                disk.standardInquiry = recording::RecordedPage(bytes);
                break;
            case Said::kPageList:
                disk.pages[0] = bytes;
                break;
            case Said::kSize:
                disk.sizeBytes = bigEndian(bytes);
                break;
            case Said::kAddress:
                disk.idLun = static_cast<std::uint32_t>(bigEndian(bytes));
                break;
            case Said::kReply:
                disk.sgIo[kControllerCommand] = bytes;
                break;
            case Said::kResults:
                break;
            default:
                disk.pages[code] = bytes;
        }
    }
    return data;
}

}  // namespace fuzz
