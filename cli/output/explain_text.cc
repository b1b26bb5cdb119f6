#include "cli/output/explain_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/base/controller_command.h"
#include "cli/base/text.h"
#include "cli/output/designator_text.h"
#include "cli/output/inquiry_text.h"
#include "cli/output/rests_on.h"
#include "recording/text/hex.h"
#include "scsitool/scsi/pages.h"

namespace cli {
namespace {

using udid::Comparison;
using udid::ExplainedPage;
using udid::Explanation;
using udid::GeneratorReport;
using udid::Outcome;
using udid::Piece;
using udid::Rule;

constexpr std::size_t kBytesALine = 16;

std::string sourceKey(unsigned page) {
    return page == udid::kControllerReply ? kControllerCommand : pageKey(page);
}

std::string sourceTitle(const ExplainedPage& page) {
    return page.code == udid::kControllerReply ? fmt::format("Controller's reply to {}, {} bytes",
                                                             kControllerCommand, page.bytes.size())
                                               : pageTitle(page.code, page.bytes.size());
}

Json textsJson(const std::vector<std::string>& texts) {
    Json list = Json::array();
    for (const std::string& text : texts) {
        list.push_back(jsonText(text));
    }
    return list;
}

const ExplainedPage* pageOf(const Explanation& explanation, unsigned code) {
    for (const ExplainedPage& page : explanation.pages) {
        if (page.code == code) {
            return &page;
        }
    }
    return nullptr;
}

// Where a piece is from when it is not made of bytes that the page holds.
const char* originOf(const Explanation& explanation, const Piece& piece) {
    if (piece.page == udid::kNoPage) {
        const bool isOfHost =
            piece.format == udid::Format::kDeviceName || piece.format == udid::Format::kHostName;
        return isOfHost ? "host" : piece.format == udid::Format::kLiteral ? "generator" : "record";
    }
    const ExplainedPage* const page = pageOf(explanation, piece.page);
    return page != nullptr && page->present ? "page" : "missing page";
}

// How many bytes of a piece lie behind the end of its page.
std::size_t beyondOf(const Explanation& explanation, const Piece& piece) {
    const ExplainedPage* const page = pageOf(explanation, piece.page);
    const std::size_t size = page != nullptr ? page->bytes.size() : 0;
    const std::size_t end = piece.offset + piece.length;
    return piece.page == udid::kNoPage || end <= size ? 0 : end - std::max(piece.offset, size);
}

Json piecesJson(const Explanation& explanation, const std::vector<Piece>& pieces) {
    Json list = Json::array();
    for (const Piece& piece : pieces) {
        Json json = {{"format", nameOf(piece.format)},
                     {"text", jsonText(piece.text)},
                     {"origin", originOf(explanation, piece)}};
        if (piece.page != udid::kNoPage) {
            json["page"] = sourceKey(piece.page);
            json["offset"] = piece.offset;
            json["length"] = piece.length;
            json["beyond"] = beyondOf(explanation, piece);
        }
        list.push_back(json);
    }
    return list;
}

Json generatorJson(const Explanation& explanation, const GeneratorReport& report) {
    Json comparisons = Json::array();
    for (const Comparison& comparison : report.comparisons) {
        comparisons.push_back({{"field", comparison.field},
                               {"value", jsonText(comparison.value)},
                               {"rule", nameOf(comparison.rule)},
                               {"expected", jsonText(comparison.expected)},
                               {"matched", comparison.matched}});
    }
    Json pages = Json::array();
    for (const unsigned code : report.pages) {
        pages.push_back(sourceKey(code));
    }
    return {{"name", jsonText(report.name)},
            {"family", jsonText(udid::familyName(report.name))},
            {"claimed", report.claimed},
            {"comparisons", comparisons},
            {"pages", pages},
            {"prefix", piecesJson(explanation, report.prefix)},
            {"body", piecesJson(explanation, report.body)},
            {"dropped", piecesJson(explanation, report.dropped)},
            {"remarks", textsJson(report.remarks)},
            {"failure", jsonText(report.failure)}};
}

Json rangesJson(const std::vector<udid::ByteRange>& ranges) {
    Json list = Json::array();
    for (const udid::ByteRange& range : ranges) {
        list.push_back({{"offset", range.offset}, {"length", range.length}});
    }
    return list;
}

std::vector<udid::ByteRange> decidingOf(const udid::Account& account, unsigned page) {
    std::vector<udid::ByteRange> ranges;
    for (const udid::DecidingBytes& deciding : account.deciding) {
        if (deciding.page == page) {
            ranges.push_back(deciding.range);
        }
    }
    return ranges;
}

Json pageJson(const udid::Account& account, const ExplainedPage& page) {
    return {
        {"page", sourceKey(page.code)},  {"present", page.present},
        {"length", page.bytes.size()},   {"bytes", recording::toHex(page.bytes)},
        {"used", rangesJson(page.used)}, {"deciding", rangesJson(decidingOf(account, page.code))}};
}

std::string shownName(const GeneratorReport& report) {
    return udid::familyName(report.name);
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

const char* verb(Rule rule, bool matched, bool several) {
    switch (rule) {
        case Rule::kEquals:
            return matched ? "is" : several ? "is none of" : "is not";
        case Rule::kBeginsWith:
            return matched   ? "begins with"
                   : several ? "begins with none of"
                             : "does not begin with";
        case Rule::kContains:
            break;
    }
    return matched ? "contains" : several ? "contains none of" : "does not contain";
}

bool sameQuestion(const Comparison& left, const Comparison& right) {
    return left.field == right.field && left.value == right.value && left.rule == right.rule &&
           !left.matched && !right.matched;
}

// One line a comparison; those with one text that all came to nothing share theirs.
std::vector<std::string> comparisonLines(const std::vector<Comparison>& comparisons) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < comparisons.size();) {
        const Comparison& first = comparisons[i];
        std::vector<std::string> expected = {quoted(first.expected)};
        for (++i; i < comparisons.size() && sameQuestion(first, comparisons[i]); ++i) {
            expected.push_back(quoted(comparisons[i].expected));
        }
        lines.push_back(fmt::format("{} {} {} {}", first.field, quoted(first.value),
                                    verb(first.rule, first.matched, expected.size() > 1),
                                    joined(expected, ", ")));
    }
    return lines;
}

void addGenerator(const GeneratorReport& report, Table& table) {
    std::vector<std::string> why = comparisonLines(report.comparisons);
    if (report.claimed && why.empty()) {
        why.emplace_back("it claims every device");
    }
    std::string answer = report.claimed ? "claims" : report.comparisons.empty() ? "" : "declines";
    std::string name = shownName(report);
    for (const std::string& line : why.empty() ? std::vector<std::string>{""} : why) {
        table.addRow({name, answer, line});
        name.clear();
        answer.clear();
    }
    for (const std::string& line : report.remarks) {
        table.addRow({"", "", line});
    }
    if (!report.failure.empty()) {
        table.addRow({"", "fails", report.failure});
    }
}

enum class Asked { kAll, kClaiming };

std::string generatorsText(const Explanation& explanation, Asked shown, const Layout& layout) {
    if (explanation.generators.empty()) {
        return std::string();
    }
    Table table({{"GENERATOR"}, {"ANSWER"}, {"BECAUSE", false, true}});
    for (const GeneratorReport& report : explanation.generators) {
        if (shown == Asked::kAll || report.claimed) {
            addGenerator(report, table);
        }
    }
    return table.str(layout) + "\n";
}

// The bytes of a page that are to be shown: all up to the last that is not 0 or that counts.
std::size_t shownBytes(const ExplainedPage& page, const std::vector<udid::ByteRange>& deciding) {
    std::size_t shown = page.bytes.size();
    while (shown > 0 && page.bytes[shown - 1] == 0) {
        --shown;
    }
    for (const auto* const ranges : {&page.used, &deciding}) {
        for (const udid::ByteRange& range : *ranges) {
            shown = std::max(shown, std::min(page.bytes.size(), range.offset + range.length));
        }
    }
    return std::min(page.bytes.size(), (shown / kBytesALine + 1) * kBytesALine);
}

// Zeros at the end, which a controller sends by the thousand, are counted and not shown.
std::string pageText(const udid::Account& account, const ExplainedPage& page) {
    if (!page.present) {
        const std::string title = sourceTitle(page);
        return title.substr(0, title.rfind(',')) + ": the device has none\n";
    }
    const std::vector<udid::ByteRange> deciding = decidingOf(account, page.code);
    const std::size_t shown = shownBytes(page, deciding);
    const std::vector<std::uint8_t> head(page.bytes.begin(),
                                         page.bytes.begin() + static_cast<std::ptrdiff_t>(shown));
    std::string text = sourceTitle(page) + "\n" + pageDump(head, page.used, deciding);
    if (shown < page.bytes.size()) {
        text += fmt::format("  {} more bytes, all 00\n", page.bytes.size() - shown);
    }
    return text;
}

std::string pagesText(const udid::Account& account) {
    std::string text;
    bool marked = false;
    for (const ExplainedPage& page : account.explanation.pages) {
        text += pageText(account, page) + "\n";
        marked = marked || !page.used.empty();
    }
    const std::string deciding =
        account.deciding.empty() ? "" : " In parentheses: those that decided how they are read.";
    return (marked ? "In brackets: the bytes that stand in the UDID." + deciding + "\n" : "") +
           text;
}

std::string placeOf(std::size_t first, std::size_t length) {
    return length == 1 ? std::to_string(first) : fmt::format("{}-{}", first, first + length - 1);
}

// The bytes of a piece, with what of them the page does not hold.
std::string bytesOf(const Explanation& explanation, const Piece& piece) {
    if (piece.page == udid::kNoPage) {
        return std::string();
    }
    if (std::string(originOf(explanation, piece)) == "missing page") {
        return "the page is missing";
    }
    if (piece.length == 0) {
        return "none";
    }
    const std::string all = placeOf(piece.offset, piece.length);
    const std::size_t beyond = beyondOf(explanation, piece);
    return beyond == 0 ? all
           : beyond == piece.length
               ? all + ", behind the page's end"
               : fmt::format("{}, {} behind the page's end", all,
                             placeOf(piece.offset + piece.length - beyond, beyond));
}

void addPieces(const char* part, const Explanation& explanation, const std::vector<Piece>& pieces,
               Table& table) {
    for (const Piece& piece : pieces) {
        const std::string source =
            piece.page != udid::kNoPage ? sourceKey(piece.page) : originOf(explanation, piece);
        table.addRow({part, source, bytesOf(explanation, piece), nameOf(piece.format), piece.text});
    }
}

std::string piecesText(const Explanation& explanation, const Layout& layout) {
    const GeneratorReport* const decisive = explanation.decisive();
    if (decisive == nullptr) {
        return std::string();
    }
    Table table({{"PART"}, {"FROM"}, {"BYTES", false, true}, {"FORMAT"}, {"TEXT", false, true}});
    addPieces("prefix", explanation, decisive->prefix, table);
    addPieces("dropped", explanation, decisive->dropped, table);
    if (explanation.outcome != Outcome::kPrefixAlone) {
        addPieces("body", explanation, decisive->body, table);
    }
    return table.str(layout) + "\n";
}

std::string outcomeText(const Explanation& explanation) {
    const GeneratorReport* const decisive = explanation.decisive();
    const std::string name = decisive != nullptr ? visible(shownName(*decisive)) : std::string();
    switch (explanation.outcome) {
        case Outcome::kPreset:
            return "Assigned in advance, in upper case:";
        case Outcome::kTaq:
            return "Made by " + name + " as it stands:";
        case Outcome::kClaimed:
            return "Made by " + name + ", in upper case:";
        case Outcome::kFallback:
            return "Made by " + name +
                   " after a generator that claimed the device failed, in "
                   "upper case:";
        case Outcome::kPrefixAlone:
            return "Every generator that claimed the device failed; the prefix of " + name +
                   " is left, in upper case:";
        case Outcome::kNone:
            break;
    }
    return "No generator claims the device, it has no UDID:";
}

std::vector<ShownDesignator> designatorsOf(const udid::Account& account,
                                           const CScsiDeviceData& record) {
    const auto page = record.m_pages.find(scsi::kDeviceIdentification);
    if (page == record.m_pages.end() || page->second.bytes() == nullptr) {
        return {};
    }
    const unsigned char* const bytes = page->second.bytes();
    return shownDesignators({bytes, bytes + page->second.length}, account);
}

// What it rests on, folded to the width.
std::string restsText(const udid::Account& account, const Layout& layout) {
    std::string text;
    for (const std::string& sentence : restsOn(account)) {
        const std::string shown = visible(sentence);
        const std::size_t width = layout.width == 0 ? shown.size() : layout.width;
        for (const std::string& line : wrapped(shown, width)) {
            text += line + "\n";
        }
    }
    return text.empty() ? text : text + "\n";
}

std::string field(const char* name, const std::string& value) {
    return fmt::format("{:<14}{}\n", name, visible(value));
}

// What the device is, and what was remarked.
std::string headText(const Explanation& explanation, const NamedTexts& more) {
    std::string text = field("Device", explanation.deviceName);
    text += field("Vendor", explanation.vendor);
    text += field("Product", explanation.product);
    text += field("Firmware", explanation.firmware);
    for (const auto& [name, value] : more) {
        text += field(name, value);
    }
    for (const std::string& remark : explanation.remarks) {
        text += field("Note", remark);
    }
    return text + "\n";
}

// What the UDID is made of and rests on, and the UDID.
std::string udidText(const udid::Account& account, const Layout& layout) {
    const Explanation& explanation = account.explanation;
    return piecesText(explanation, layout) + restsText(account, layout) + outcomeText(explanation) +
           "\n" + (explanation.udid.empty() ? "-" : visible(explanation.udid)) + "\n";
}

}  // namespace

Json explanationJson(const udid::Account& account, const CScsiDeviceData& record) {
    const Explanation& explanation = account.explanation;
    Json generators = Json::array();
    for (const GeneratorReport& report : explanation.generators) {
        generators.push_back(generatorJson(explanation, report));
    }
    Json pages = Json::array();
    for (const ExplainedPage& page : explanation.pages) {
        pages.push_back(pageJson(account, page));
    }
    const GeneratorReport* const decisive = explanation.decisive();
    Json json = Json::object();
    json["name"] = jsonText(explanation.deviceName);
    json["vendor"] = jsonText(explanation.vendor);
    json["product"] = jsonText(explanation.product);
    json["firmware"] = jsonText(explanation.firmware);
    json["remarks"] = textsJson(explanation.remarks);
    json["generators"] = generators;
    json["pages"] = pages;
    json["outcome"] = nameOf(explanation.outcome);
    json["made_by"] = decisive != nullptr ? jsonText(decisive->name) : Json(nullptr);
    json["designators"] = designatorsJson(designatorsOf(account, record));
    json["rests_on"] = textsJson(restsOn(account));
    json["udid"] = jsonText(explanation.udid);
    return json;
}

std::string explanationText(const udid::Account& account, const CScsiDeviceData& record,
                            const NamedTexts& more, const Layout& layout) {
    const Explanation& explanation = account.explanation;
    return headText(explanation, more) + designatorsText(designatorsOf(account, record), layout) +
           generatorsText(explanation, Asked::kAll, layout) + pagesText(account) +
           udidText(account, layout);
}

std::string shortExplanationText(const udid::Account& account, const NamedTexts& more,
                                 const Layout& layout) {
    return headText(account.explanation, more) +
           generatorsText(account.explanation, Asked::kClaiming, layout) +
           udidText(account, layout);
}

}  // namespace cli
