#include "cli/doctor/identity_findings.h"

#include <algorithm>

#include "cli/base/text.h"
#include "recording/text/hex.h"
#include "scsitool/scsi/page_view.h"
#include "scsitool/scsi/pages.h"

namespace cli::doctor {
namespace {

using udid::Comparison;
using udid::Explanation;
using udid::Format;
using udid::GeneratorReport;
using udid::Outcome;
using udid::Piece;

// INQUIRY asks for 252 bytes, of which four are the page's header.
constexpr unsigned kLongestPageLength = 248;
// Of fewer characters a serial number is one of a lot, not of the world.
constexpr std::size_t kFewestCharacters = 8;

constexpr const char* kDefaultGenerator = ":";

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string pageText(unsigned page) {
    const auto code = static_cast<std::uint8_t>(page);
    return "page 0x" + recording::toHex(&code, 1);
}

bool isPath(const GeneratorReport& maker) {
    return std::any_of(maker.body.begin(), maker.body.end(), [](const Piece& piece) {
        return piece.format == Format::kHostName || piece.format == Format::kDeviceName;
    });
}

// What the body of a UDID is made of: "page 0x80 and page 0x83", "its path at this host".
std::string restsOn(const GeneratorReport& maker) {
    if (isPath(maker)) {
        return "its path at this host";
    }
    std::vector<std::string> sources;
    for (const Piece& piece : maker.body) {
        const std::string source = piece.page == udid::kNoPage ? "" : pageText(piece.page);
        if (!source.empty() && piece.length > 0 &&
            std::find(sources.begin(), sources.end(), source) == sources.end()) {
            sources.push_back(source);
        }
    }
    return sources.empty() ? "no page" : joined(sources, " and ");
}

// The family asks for the vendor, which it is, and then for a product that this is not.
const Comparison* knownVendor(const Explanation& explanation) {
    for (const GeneratorReport& report : explanation.generators) {
        for (const Comparison& comparison : report.comparisons) {
            if (!report.claimed && comparison.field == "vendor" && comparison.matched) {
                return &comparison;
            }
        }
    }
    return nullptr;
}

void addUnknownProduct(const Explanation& explanation, const GeneratorReport& maker,
                       std::vector<Finding>& findings) {
    if (maker.name == kDefaultGenerator && explanation.outcome == Outcome::kClaimed &&
        knownVendor(explanation) != nullptr) {
        findings.push_back({Kind::kUnknownProduct,
                            {explanation.deviceName},
                            "no family of vendor " + quoted(explanation.vendor) +
                                " has a product " + quoted(explanation.product) +
                                "; its UDID rests on " + restsOn(maker)});
    }
}

void addFailedFamily(const Explanation& explanation, const GeneratorReport& maker,
                     std::vector<Finding>& findings) {
    const auto failed =
        std::find_if(explanation.generators.begin(), explanation.generators.end(),
                     [](const GeneratorReport& report) { return !report.failure.empty(); });
    if (failed != explanation.generators.end()) {
        findings.push_back(
            {Kind::kFamilyFailed,
             {explanation.deviceName},
             failed->name + " claims it and fails with " + failed->failure +
                 (failed->remarks.empty() ? "" : " (" + failed->remarks.back() + ")") +
                 "; its UDID rests on " + restsOn(maker)});
    }
}

void addOtherName(const Explanation& explanation, const GeneratorReport& maker,
                  std::vector<Finding>& findings) {
    constexpr const char* kRemark = "bytes 8 to 23 of page 0x83 are no NAA name";
    for (const std::string& remark : maker.remarks) {
        if (remark.find(kRemark) == 0) {
            findings.push_back({Kind::kOtherName, {explanation.deviceName}, remark});
        }
    }
}

bool isOneCharacter(const std::string& text) {
    return text.find_first_not_of(text.front()) == std::string::npos;
}

void addShortSerial(const Explanation& explanation, const GeneratorReport& maker,
                    std::vector<Finding>& findings) {
    if (maker.name != kDefaultGenerator || isPath(maker)) {
        return;
    }
    std::string longest;
    for (const Piece& piece : maker.body) {
        const bool isSerial = piece.page != udid::kNoPage && !piece.text.empty();
        if (isSerial && (longest.empty() || isOneCharacter(longest) ||
                         (piece.text.size() > longest.size() && !isOneCharacter(piece.text)))) {
            longest = piece.text;
        }
    }
    if (longest.empty()) {
        return;
    }
    if (longest.size() < kFewestCharacters || isOneCharacter(longest)) {
        findings.push_back({Kind::kShortSerial,
                            {explanation.deviceName},
                            "its UDID rests on " + std::to_string(longest.size()) +
                                (longest.size() == 1 ? " character: " : " characters: ") +
                                quoted(longest)});
    }
}

void addLongPage(const CScsiDeviceData& record, std::vector<Finding>& findings) {
    const auto page = record.m_pages.find(scsi::kDeviceIdentification);
    if (page == record.m_pages.end()) {
        return;
    }
    const scsi::PageView view(page->second);
    const unsigned length = view.word(scsi::kPageLength);
    if (length > kLongestPageLength) {
        findings.push_back({Kind::kLongPage,
                            {record.m_deviceName},
                            "page 0x83 has " + std::to_string(length + scsi::kPageHeader) +
                                " bytes; 252 are asked for, and by the low byte of its length "
                                "the library takes it for " +
                                std::to_string(view.length())});
    }
}

}  // namespace

void addIdentityFindings(const Explanation& explanation, const CScsiDeviceData& record,
                         std::vector<Finding>& findings) {
    addLongPage(record, findings);
    const GeneratorReport* const maker = explanation.decisive();
    if (maker == nullptr) {
        return;
    }
    addUnknownProduct(explanation, *maker, findings);
    addFailedFamily(explanation, *maker, findings);
    addOtherName(explanation, *maker, findings);
    addShortSerial(explanation, *maker, findings);
    if (isPath(*maker)) {
        const std::string why = maker->remarks.empty() ? "" : ": " + maker->remarks.back();
        findings.push_back(
            {Kind::kPathUdid, {explanation.deviceName}, "its UDID is " + explanation.udid + why});
    }
}

}  // namespace cli::doctor
