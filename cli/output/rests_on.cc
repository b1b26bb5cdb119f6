#include "cli/output/rests_on.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/output/family_rests.h"
#include "recording/pages/designators.h"
#include "scsitool/scsi/pages.h"

namespace cli {
namespace {

using recording::Association;
using recording::Designator;
using udid::Account;
using udid::ExplainedPage;
using udid::Explanation;
using udid::Format;
using udid::GeneratorReport;
using udid::Outcome;
using udid::Piece;

constexpr std::size_t kName = scsi::kPageHeader + recording::kDesignatorHeader;
constexpr std::size_t kNameBytes = 16;
constexpr unsigned kRegisteredExtended = 6;

const ExplainedPage* pageOf(const Explanation& explanation, unsigned code) {
    for (const ExplainedPage& page : explanation.pages) {
        if (page.code == code && page.present) {
            return &page;
        }
    }
    return nullptr;
}

bool isPath(const GeneratorReport& report) {
    return std::any_of(report.body.begin(), report.body.end(),
                       [](const Piece& piece) { return piece.format == Format::kDeviceName; });
}

bool isUnitName(const Designator& designator) {
    return designator.association == Association::kLogicalUnit &&
           designator.type == recording::kNaaName && designator.length == kNameBytes &&
           designator.codeSet == recording::kBinaryCodes && designator.naa() == kRegisteredExtended;
}

// Of a family that takes the 16 bytes in which the unit's name should stand.
void addOtherName(const Explanation& explanation, const Piece& piece,
                  std::vector<std::string>& lines) {
    const ExplainedPage* const page = pageOf(explanation, scsi::kDeviceIdentification);
    if (page == nullptr || piece.page != page->code || piece.offset != kName ||
        piece.length != kNameBytes) {
        return;
    }
    const std::vector<Designator> all = recording::designatorsOfPage(page->bytes);
    if (!all.empty() && isUnitName(all.front())) {
        return;
    }
    std::string line =
        "Its last part is no name of the logical unit: the first designator is no NAA 6 name";
    if (all.size() > 1 && all.front().length < kNameBytes) {
        line += fmt::format(", and bytes {} to {} are the next designator's",
                            kName + all.front().length, kName + kNameBytes - 1);
    }
    lines.push_back(line + ". Two paths or two volumes may differ in it or not.");
}

void addShortSerial(const Explanation& explanation, const Piece& piece,
                    std::vector<std::string>& lines) {
    const ExplainedPage* const page = pageOf(explanation, scsi::kUnitSerialNumber);
    if (page == nullptr || piece.page != page->code || piece.format != Format::kText ||
        page->bytes.size() <= piece.offset + piece.length) {
        return;
    }
    lines.push_back(fmt::format("Only {} of the {} characters of the serial number stand in it.",
                                piece.length, page->bytes.size() - piece.offset));
}

bool hasSmallLetters(const Piece& piece) {
    const bool isText = piece.format == Format::kText || piece.format == Format::kTrimmedText ||
                        piece.format == Format::kRightTrimmedText ||
                        piece.format == Format::kBlanksAsUnderscores;
    return isText && std::any_of(piece.text.begin(), piece.text.end(),
                                 [](char c) { return c >= 'a' && c <= 'z'; });
}

void addWhatIsWeak(const Account& account, const GeneratorReport& report,
                   std::vector<std::string>& lines) {
    std::vector<Piece> pieces = report.prefix;
    pieces.insert(pieces.end(), report.body.begin(), report.body.end());
    for (const Piece& piece : pieces) {
        addOtherName(account.explanation, piece, lines);
        addShortSerial(account.explanation, piece, lines);
    }
    const bool isRaised = account.explanation.outcome != Outcome::kTaq;
    if (isRaised && std::any_of(pieces.begin(), pieces.end(), hasSmallLetters)) {
        lines.emplace_back(
            "Its small letters are written as capitals: a text that differs in them alone makes "
            "the same UDID.");
    }
}

// The families that claimed the device and failed.
std::string failedFamilies(const Explanation& explanation) {
    std::string names;
    for (const GeneratorReport& report : explanation.generators) {
        if (report.claimed && !report.failure.empty()) {
            names += (names.empty() ? "" : " or ") + udid::familyName(report.name);
        }
    }
    return names;
}

}  // namespace

std::vector<std::string> restsOn(const Account& account) {
    const Explanation& explanation = account.explanation;
    if (explanation.outcome == Outcome::kPreset) {
        return {"It rests on what the caller assigned, and on nothing of the device."};
    }
    const GeneratorReport* const report = explanation.decisive();
    if (report == nullptr) {
        return {};
    }
    if (explanation.outcome == Outcome::kPrefixAlone) {
        return {"It holds nothing of the volume: every volume whose generators fail so has it."};
    }
    std::vector<std::string> lines;
    if (isPath(*report)) {
        lines.emplace_back(
            "It rests on the path at this host and on nothing of the volume: another path, another "
            "host or another name of either makes another UDID.");
    } else {
        const std::string sentence = familyRestsOn(udid::familyName(report->name));
        if (!sentence.empty()) {
            lines.push_back(sentence);
        }
        addWhatIsWeak(account, *report, lines);
    }
    if (explanation.outcome == Outcome::kFallback) {
        lines.push_back("It takes the form of " + failedFamilies(explanation) +
                        " as soon as what is missing there is shown.");
    }
    return lines;
}

}  // namespace cli
