#include "cli/output/explain_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/base/text.h"
#include "cli/output/inquiry_text.h"
#include "recording/text/hex.h"

namespace cli {
namespace {

using udid::Comparison;
using udid::ExplainedPage;
using udid::Explanation;
using udid::GeneratorReport;
using udid::Outcome;
using udid::Piece;
using udid::Rule;

// The command block that a NetApp controller is asked with, as recorded hosts name the reply.
constexpr char kControllerCommand[] = "c000000a980a22100000";
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

Json piecesJson(const std::vector<Piece>& pieces) {
    Json list = Json::array();
    for (const Piece& piece : pieces) {
        Json json = {{"format", nameOf(piece.format)}, {"text", jsonText(piece.text)}};
        if (piece.page != udid::kNoPage) {
            json["page"] = sourceKey(piece.page);
            json["offset"] = piece.offset;
            json["length"] = piece.length;
        }
        list.push_back(json);
    }
    return list;
}

Json generatorJson(const GeneratorReport& report) {
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
            {"claimed", report.claimed},
            {"comparisons", comparisons},
            {"pages", pages},
            {"prefix", piecesJson(report.prefix)},
            {"body", piecesJson(report.body)},
            {"dropped", piecesJson(report.dropped)},
            {"remarks", textsJson(report.remarks)},
            {"failure", jsonText(report.failure)}};
}

Json pageJson(const ExplainedPage& page) {
    Json used = Json::array();
    for (const udid::ByteRange& range : page.used) {
        used.push_back({{"offset", range.offset}, {"length", range.length}});
    }
    return {{"page", sourceKey(page.code)},
            {"present", page.present},
            {"length", page.bytes.size()},
            {"bytes", recording::toHex(page.bytes)},
            {"used", used}};
}

// The keys of the generator that takes whatever nobody claimed are both empty.
std::string shownName(const GeneratorReport& report) {
    return report.name == ":" ? "(default)" : report.name;
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

std::string generatorsText(const Explanation& explanation, const Layout& layout) {
    if (explanation.generators.empty()) {
        return std::string();
    }
    Table table({{"GENERATOR"}, {"ANSWER"}, {"BECAUSE", false, true}});
    for (const GeneratorReport& report : explanation.generators) {
        addGenerator(report, table);
    }
    return table.str(layout) + "\n";
}

// Zeros at the end, which a controller sends by the thousand, are counted and not shown.
std::string pageText(const ExplainedPage& page) {
    if (!page.present) {
        const std::string title = sourceTitle(page);
        return title.substr(0, title.rfind(',')) + ": the device has none\n";
    }
    std::size_t shown = page.bytes.size();
    while (shown > 0 && page.bytes[shown - 1] == 0) {
        --shown;
    }
    shown = std::min(page.bytes.size(), (shown / kBytesALine + 1) * kBytesALine);
    const std::vector<std::uint8_t> head(page.bytes.begin(),
                                         page.bytes.begin() + static_cast<std::ptrdiff_t>(shown));
    std::string text = sourceTitle(page) + "\n" + pageDump(head, page.used);
    if (shown < page.bytes.size()) {
        text += fmt::format("  {} more bytes, all 00\n", page.bytes.size() - shown);
    }
    return text;
}

std::string pagesText(const Explanation& explanation) {
    std::string text;
    bool marked = false;
    for (const ExplainedPage& page : explanation.pages) {
        text += pageText(page) + "\n";
        marked = marked || !page.used.empty();
    }
    return (marked ? "In brackets: the bytes that stand in the UDID.\n" : "") + text;
}

void addPieces(const char* part, const std::vector<Piece>& pieces, Table& table) {
    for (const Piece& piece : pieces) {
        std::string source;
        std::string bytes;
        if (piece.page != udid::kNoPage) {
            source = sourceKey(piece.page);
            bytes = piece.length == 1
                        ? std::to_string(piece.offset)
                        : fmt::format("{}-{}", piece.offset, piece.offset + piece.length - 1);
            bytes = piece.length == 0 ? "none" : bytes;
        }
        table.addRow({part, source, bytes, nameOf(piece.format), piece.text});
    }
}

std::string piecesText(const Explanation& explanation, const Layout& layout) {
    const GeneratorReport* const decisive = explanation.decisive();
    if (decisive == nullptr) {
        return std::string();
    }
    Table table({{"PART"}, {"PAGE"}, {"BYTES"}, {"FORMAT"}, {"TEXT", false, true}});
    addPieces("prefix", decisive->prefix, table);
    addPieces("dropped", decisive->dropped, table);
    if (explanation.outcome != Outcome::kPrefixAlone) {
        addPieces("body", decisive->body, table);
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

std::string field(const char* name, const std::string& value) {
    return fmt::format("{:<14}{}\n", name, visible(value));
}

}  // namespace

Json explanationJson(const Explanation& explanation) {
    Json generators = Json::array();
    for (const GeneratorReport& report : explanation.generators) {
        generators.push_back(generatorJson(report));
    }
    Json pages = Json::array();
    for (const ExplainedPage& page : explanation.pages) {
        pages.push_back(pageJson(page));
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
    json["udid"] = jsonText(explanation.udid);
    return json;
}

std::string explanationText(const Explanation& explanation, const NamedTexts& more,
                            const Layout& layout) {
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
    text += "\n" + generatorsText(explanation, layout) + pagesText(explanation) +
            piecesText(explanation, layout);
    return text + outcomeText(explanation) + "\n" +
           (explanation.udid.empty() ? "-" : visible(explanation.udid)) + "\n";
}

}  // namespace cli
