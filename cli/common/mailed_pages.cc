#include "cli/common/mailed_pages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "cli/base/failure.h"
#include "cli/output/hex_text.h"
#include "cli/output/inquiry_text.h"
#include "recording/text/hex.h"
#include "scsitool/host/own_files.h"
#include "scsitool/scsi/pages.h"

namespace cli {
namespace {

using recording::Bytes;

constexpr char kDeviceName[] = "/dev/sda";
constexpr char kOption[] = "--inhex ";
constexpr std::size_t kLongestPage = 65539;  // a page length of 16 bits and the header
constexpr std::size_t kCommandBlockDigits = 20;

struct Argument {
    std::string page;
    std::string file;
};

Argument splitArgument(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        throw UsageError(kOption + text + ": expected PAGE=FILE, for instance 83=page83.hex");
    }
    std::string page = text.substr(0, equals);
    std::transform(page.begin(), page.end(), page.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return {page, text.substr(equals + 1)};
}

// The page's code or the command block; none for "std".
Bytes keyOf(const std::string& page, const std::string& argument) {
    Bytes key;
    std::size_t bad = 0;
    const bool fits = page.size() == 2 || page.size() == kCommandBlockDigits;
    if (page != "std" &&
        (!fits || recording::fromHex(page, key, bad) != recording::HexError::kNone)) {
        throw UsageError(
            kOption + argument + ": unknown page '" + page +
            "', expected std, a VPD page code of two hexadecimal digits such as 83, or "
            "a command block of twenty");
    }
    return key;
}

Bytes loadPage(const std::string& file) {
    const host::ReadResult read = host::readInputFile(file);
    if (read.error() != 0) {
        throw UsageError(file + ": cannot read the page: " + std::strerror(read.error()));
    }
    const bool isRaw = read.content.find('\0') != std::string::npos;
    Bytes bytes =
        isRaw ? Bytes(read.content.begin(), read.content.end()) : readHexText(read.content, file);
    if (bytes.size() > kLongestPage) {
        throw UsageError(fmt::format("{}: {} bytes, expected one page of at most {}", file,
                                     bytes.size(), kLongestPage));
    }
    return bytes;
}

// A remark when the page's own length is not that of its bytes, and when it is another page.
void checkPage(const std::string& name, const Bytes& bytes, std::size_t claimed,
               std::vector<std::string>& remarks) {
    if (claimed > bytes.size()) {
        remarks.push_back(
            fmt::format("{} says that it has {} bytes, {} were given: the others "
                        "read as 0",
                        name, claimed, bytes.size()));
    } else if (claimed < bytes.size()) {
        remarks.push_back(
            fmt::format("{} says that it has {} bytes, {} were given: the last {} "
                        "are not read",
                        name, claimed, bytes.size(), bytes.size() - claimed));
    }
}

std::size_t byteAt(const Bytes& bytes, std::size_t offset) {
    return offset < bytes.size() ? bytes[offset] : 0;
}

}  // namespace

MailedPages::MailedPages(const std::vector<std::string>& arguments) : m_name(kDeviceName) {
    for (const std::string& argument : arguments) {
        add(argument);
    }
    if (!m_device.standardInquiry) {
        throw UsageError(
            "--inhex: the standard INQUIRY data, which names vendor and product, is missing; add "
            "--inhex std=FILE");
    }
    makePageList();
}

MailedPages::MailedPages(const mailed::MailedDevice& mailed)
    : m_device(mailed.device),
      m_name(mailed.name.empty() ? kDeviceName : mailed.name),
      m_isNamed(!mailed.name.empty()) {
    makePageList();
}

void MailedPages::add(const std::string& argument) {
    const auto [page, file] = splitArgument(argument);
    const Bytes key = keyOf(page, argument);
    const bool isNew = key.empty()       ? !m_device.standardInquiry
                       : key.size() == 1 ? m_device.pages.count(key.front()) == 0
                                         : m_device.sgIo.count(key) == 0;
    if (!isNew) {
        throw UsageError(kOption + argument + ": page " + page + " is given twice");
    }
    Bytes bytes = loadPage(file);
    if (key.empty()) {
        m_device.standardInquiry = recording::RecordedPage(std::move(bytes));
    } else if (key.size() == 1) {
        m_device.pages[key.front()] = recording::RecordedPage(std::move(bytes));
    } else {
        m_device.sgIo[key] = std::move(bytes);
    }
}

void MailedPages::makePageList() {
    if (m_device.pages.count(0) != 0) {
        return;
    }
    Bytes list = {0, 0, 0, 0, 0};
    for (const auto& [code, page] : m_device.pages) {
        list.push_back(code);
    }
    list[scsi::kPageLengthLow] = static_cast<std::uint8_t>(list.size() - scsi::kPageHeader);
    m_device.pages[0] = recording::RecordedPage(list);
    m_madePageList = true;
}

recording::RecordedHostData MailedPages::host() const {
    recording::RecordedHostData data;
    data.devices[m_name] = m_device;
    data.devices[m_name].idLun = 0;
    return data;
}

std::vector<std::string> MailedPages::remarks(const CScsiDeviceData& record,
                                              const udid::Explanation& explanation) const {
    std::vector<std::string> remarks;
    const std::string hostName = recording::RecordedHostData().hostName.value();
    remarks.push_back(
        m_isNamed ? fmt::format("the pages are those of a text, which names the device {}; the "
                                "host name {} is made up",
                                m_name, hostName)
                  : fmt::format("the pages are those of files; the device name {} and the host "
                                "name {} are made up",
                                m_name, hostName));
    if (m_madePageList) {
        remarks.push_back("page 00 was not given: it is made of the pages that were");
    }
    const Bytes& inquiry = m_device.standardInquiry->bytes;
    checkPage("std", inquiry, byteAt(inquiry, scsi::kInquiryLength) + scsi::kInquiryHeader,
              remarks);
    for (const auto& [code, page] : m_device.pages) {
        const std::string name = "page " + pageKey(code);
        if (code != 0 && byteAt(page.bytes, scsi::kPageCode) != code) {
            remarks.push_back(fmt::format("{} says that it is page {:02x}", name,
                                          byteAt(page.bytes, scsi::kPageCode)));
        }
        checkPage(name, page.bytes, byteAt(page.bytes, scsi::kPageLengthLow) + scsi::kPageHeader,
                  remarks);
        if (code != 0 && record.m_pages.count(code) == 0) {
            const auto& listed = record.m_supportedPages;
            const bool isListed = std::find(listed.begin(), listed.end(), code) != listed.end();
            remarks.push_back(name + (isListed
                                          ? " is not one that a UDID is made of: it is not read"
                                          : " is not listed in page 00: it is not read"));
        }
    }
    remarkMissing(explanation, remarks);
    return remarks;
}

bool MailedPages::lists(unsigned code) const {
    const Bytes& list = m_device.pages.at(0).bytes;
    return !m_madePageList &&
           std::find(list.begin() + static_cast<std::ptrdiff_t>(
                                        std::min(list.size(), std::size_t{scsi::kPageHeader})),
                     list.end(), code) != list.end();
}

// Whether a page that was not given could make another UDID: only one that a generator asked for,
// and that the device may have.
void MailedPages::remarkMissing(const udid::Explanation& explanation,
                                std::vector<std::string>& remarks) const {
    for (const unsigned code : {scsi::kUnitSerialNumber, scsi::kDeviceIdentification}) {
        const bool isAsked =
            std::any_of(explanation.pages.begin(), explanation.pages.end(),
                        [&](const udid::ExplainedPage& page) { return page.code == code; });
        if (!isAsked && m_device.pages.count(static_cast<std::uint8_t>(code)) == 0) {
            remarks.push_back("page " + pageKey(code) +
                              " was not given: it changes nothing, no generator asked for it");
        }
    }
    for (const udid::ExplainedPage& page : explanation.pages) {
        const bool isVpd = page.code != udid::kInquiryData && page.code <= 0xFF;
        if (page.present || !isVpd) {
            continue;
        }
        const bool isGiven = m_device.pages.count(static_cast<std::uint8_t>(page.code)) != 0;
        if (isGiven) {
            continue;
        }
        remarks.push_back(
            "page " + pageKey(page.code) +
            (m_madePageList || lists(page.code)
                 ? " was not given: with it the UDID may be another, a generator asked for it"
                 : " is not listed in page 00: the device has none, and the UDID does without it"));
    }
    const bool asksController = std::any_of(
        explanation.generators.begin(), explanation.generators.end(),
        [](const udid::GeneratorReport& report) {
            return report.name == "NETAPP:LUN" && report.claimed && !report.failure.empty();
        });
    if (asksController && m_device.sgIo.empty()) {
        remarks.emplace_back(
            "the controller's reply to c000000a980a22100000 was not given: with it the UDID is "
            "another, the generator asked for it");
    }
}

}  // namespace cli
