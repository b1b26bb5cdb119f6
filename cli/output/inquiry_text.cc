#include "cli/output/inquiry_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "cli/base/text.h"
#include "recording/text/hex.h"
#include "scsitool/scsi/pages.h"

namespace cli {
namespace {

constexpr std::size_t kBytesALine = 16;

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const CScsiModePage& page) {
    const unsigned char* const bytes = page.bytes();
    return bytes != nullptr ? Bytes(bytes, bytes + page.length) : Bytes();
}

// Names of SPC-4 and of the pages that array vendors put there.
std::string pageName(unsigned page) {
    static const std::map<unsigned, const char*> kNames = {
        {scsi::kInquiryData, "standard INQUIRY data"},
        {scsi::kUnitSerialNumber, "unit serial number"},
        {scsi::kDeviceIdentification, "device identification"},
        {0x10, "vendor-specific"},
        {0x11, "vendor-specific"},
    };
    const auto name = kNames.find(page);
    return name != kNames.end()             ? name->second
           : page >= scsi::kFirstVendorPage ? "vendor-specific"
                                            : "other";
}

/// A page as it is shown. The page list has the code that the record keeps the INQUIRY data by.
struct ReadPage {
    std::string key;
    std::string title;
    Bytes bytes;
};

std::vector<ReadPage> pagesOf(const CScsiDeviceData& record, const Bytes& pageList) {
    std::vector<ReadPage> pages;
    for (const auto& [code, page] : record.m_pages) {
        Bytes bytes = bytesOf(page);
        std::string title = pageTitle(code, bytes.size());
        pages.push_back({pageKey(code), std::move(title), std::move(bytes)});
    }
    if (!pageList.empty()) {
        const bool hasInquiry = record.m_pages.count(scsi::kInquiryData) != 0;
        pages.insert(
            pages.begin() + (hasInquiry ? 1 : 0),
            {"00", fmt::format("VPD page 0x00, supported VPD pages, {} bytes", pageList.size()),
             pageList});
    }
    return pages;
}

std::string hexBytes(const Bytes& bytes, std::size_t start) {
    std::string line;
    for (std::size_t i = start; i < std::min(bytes.size(), start + kBytesALine); ++i) {
        line += fmt::format("{}{:02x}", i == start ? "" : i % 8 == 0 ? "  " : " ", bytes[i]);
    }
    return line;
}

std::string asciiBytes(const Bytes& bytes, std::size_t start) {
    std::string line;
    for (std::size_t i = start; i < std::min(bytes.size(), start + kBytesALine); ++i) {
        line += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
    }
    return line;
}

enum class Mark : unsigned char { kNone, kDeciding, kUsed };

// What stands between two bytes of different marks; what closes gives way to what opens.
char border(Mark before, Mark after) {
    if (before == after) {
        return ' ';
    }
    switch (after) {
        case Mark::kUsed:
            return '[';
        case Mark::kDeciding:
            return '(';
        case Mark::kNone:
            break;
    }
    return before == Mark::kUsed ? ']' : ')';
}

// The bytes of one line with a place before each and behind the last, where a mark may stand.
std::string markedLine(const Bytes& bytes, std::size_t start, const std::vector<Mark>& marks) {
    const std::size_t end = std::min(bytes.size(), start + kBytesALine);
    std::string line;
    Mark open = Mark::kNone;
    for (std::size_t i = start; i < end; ++i) {
        const bool isMiddle = i % 8 == 0 && i != start;
        // In the middle there is room for what closes and what opens.
        if (isMiddle && open != marks[i]) {
            line += border(open, Mark::kNone);
            line += border(Mark::kNone, marks[i]);
        } else {
            line += border(open, marks[i]);
            line += isMiddle ? " " : "";
        }
        line += fmt::format("{:02x}", bytes[i]);
        open = marks[i];
    }
    return line + border(open, Mark::kNone);
}

void setMarks(const std::vector<udid::ByteRange>& ranges, Mark mark, std::vector<Mark>& marks) {
    for (const udid::ByteRange& range : ranges) {
        for (std::size_t i = range.offset; i < range.offset + range.length && i < marks.size();
             ++i) {
            marks[i] = mark;
        }
    }
}

std::string field(const char* name, const std::string& value) {
    return fmt::format("{:<18}{}\n", name, visible(value));
}

std::string addressText(const CScsiDeviceData& record, const std::string& hctl) {
    if (record.m_port < 0) {
        const char* const whose =
            " (host:channel:target:lun as sysfs has it; the device told none)";
        return hctl.empty() ? "unknown" : hctl + whose;
    }
    const std::string own =
        fmt::format("{}:{}:{}:{}", record.m_port, record.m_bus, record.m_target, record.m_lun);
    return own + " (host:channel:target:lun" +
           (hctl.empty() || hctl == own ? "" : ", eight bits of each; whole: " + hctl) + ")";
}

}  // namespace

std::string pageTitle(unsigned page, std::size_t length) {
    return page == scsi::kInquiryData
               ? fmt::format("{}, {} bytes", pageName(page), length)
               : fmt::format("VPD page 0x{:02x}, {}, {} bytes", page, pageName(page), length);
}

std::string pageDump(const Bytes& bytes, const std::vector<udid::ByteRange>& marked,
                     const std::vector<udid::ByteRange>& deciding) {
    std::vector<Mark> marks(bytes.size(), Mark::kNone);
    setMarks(deciding, Mark::kDeciding, marks);
    setMarks(marked, Mark::kUsed, marks);
    std::string text;
    for (std::size_t start = 0; start < bytes.size(); start += kBytesALine) {
        text += fmt::format("  {:02x} {:<50} {}\n", start, markedLine(bytes, start, marks),
                            asciiBytes(bytes, start));
    }
    return text;
}

std::string pageKey(unsigned page) {
    return page == scsi::kInquiryData ? "std" : fmt::format("{:02x}", page);
}

Json recordJson(const CScsiDeviceData& record, const Bytes& pageList, const std::string& hctl) {
    Json pages = Json::object();
    for (const ReadPage& page : pagesOf(record, pageList)) {
        pages[page.key] = recording::toHex(page.bytes);
    }
    Json supported = Json::array();
    for (const unsigned code : record.m_supportedPages) {
        supported.push_back(code);
    }
    Json json = Json::object();
    json["name"] = jsonText(record.m_deviceName);
    json["vendor"] = jsonText(record.m_vendorId);
    json["product"] = jsonText(record.m_productId);
    json["firmware"] = jsonText(record.m_firmwareLevel);
    json["host"] = record.m_port;
    json["channel"] = record.m_bus;
    json["target"] = record.m_target;
    json["lun"] = record.m_lun;
    json["hctl"] = hctl.empty() ? Json(nullptr) : jsonText(hctl);
    json["claim_level"] = record.m_dmpClaimLevel;
    json["bus_type"] = record.m_busType;
    json["multipath"] = record.m_multipath;
    // Nobody asks a disk for its size on the way to its record.
    json["size_kb"] = record.m_sizeKb != 0 ? Json(record.m_sizeKb) : Json(nullptr);
    json["os"] = jsonText(record.m_osName);
    json["supported_pages"] = supported;
    json["pages"] = pages;
    return json;
}

std::string recordText(const CScsiDeviceData& record, const Bytes& pageList,
                       const std::string& hctl, const NamedTexts& more) {
    std::vector<std::string> supported;
    for (const unsigned code : record.m_supportedPages) {
        supported.push_back(fmt::format("{:02x}", code));
    }
    std::string text = field("Device", record.m_deviceName);
    text += field("Vendor", record.m_vendorId);
    text += field("Product", record.m_productId);
    text += field("Firmware", record.m_firmwareLevel);
    text += field("Address", addressText(record, hctl));
    text += field("Claim level", std::to_string(record.m_dmpClaimLevel));
    for (const auto& [name, value] : more) {
        text += field(name, value);
    }
    text += field("Supported pages", supported.empty() ? "none" : joined(supported, " "));
    for (const ReadPage& page : pagesOf(record, pageList)) {
        text += "\n" + page.title + "\n" + pageDump(page.bytes);
    }
    return text;
}

std::string recordHex(const CScsiDeviceData& record, const Bytes& pageList,
                      const std::string& only) {
    std::string text;
    for (const ReadPage& page : pagesOf(record, pageList)) {
        if (!only.empty() && only != page.key) {
            continue;
        }
        text += std::string(text.empty() ? "" : "\n") + "# " + visible(record.m_deviceName) + ", " +
                page.title + "\n";
        for (std::size_t start = 0; start < page.bytes.size(); start += kBytesALine) {
            text += hexBytes(page.bytes, start) + "\n";
        }
    }
    return text;
}

}  // namespace cli
