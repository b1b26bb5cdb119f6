#include "scsitool/udid/explanation.h"

#include <algorithm>
#include <map>

#include "scsitool/udid/device_udid_factory.h"

namespace udid {
namespace {

// Gathers what the factory and the generators report.
class Collector : public Evidence {
  public:
    explicit Collector(Explanation& explanation) : m_explanation(explanation) {}
    // The record that reports here: a piece may come from a page that nobody asked for.
    void watch(const CScsiDeviceData& record) { m_record = &record; }

    void askedGenerator(const std::string& name) override;
    void compared(const std::string& field, const std::string& value, Rule rule,
                  const std::string& expected, bool matched) override;
    void claimed(bool claims) override;
    void startedPrefix() override;
    void startedBody() override;
    void readPage(unsigned page, const scsi::PageView& view) override;
    void added(const Piece& piece) override;
    void cleared() override;
    void foundField(const std::string& name, const Piece& piece) override;
    Piece fieldPiece(const std::string& name) const override;
    void remarked(const std::string& text) override;
    void failed(const std::string& messageId) override;

  private:
    GeneratorReport& report() {
        if (m_explanation.generators.empty()) {
            askedGenerator(std::string());
        }
        return m_explanation.generators.back();
    }
    ExplainedPage* find(unsigned code);
    bool holdsPageOf(const Piece& piece);

    Explanation& m_explanation;
    const CScsiDeviceData* m_record = nullptr;
    std::map<std::string, Piece> m_fields;
    bool m_inBody = false;
};

void Collector::askedGenerator(const std::string& name) {
    GeneratorReport report;
    report.name = name;
    m_explanation.generators.push_back(report);
    m_fields.clear();
    m_inBody = false;
}

void Collector::compared(const std::string& field, const std::string& value, Rule rule,
                         const std::string& expected, bool matched) {
    report().comparisons.push_back({field, value, rule, expected, matched});
}

void Collector::claimed(bool claims) {
    report().claimed = claims;
}

void Collector::startedPrefix() {
    report().prefix.clear();
    m_inBody = false;
}

void Collector::startedBody() {
    report().body.clear();
    m_inBody = true;
}

ExplainedPage* Collector::find(unsigned code) {
    for (ExplainedPage& page : m_explanation.pages) {
        if (page.code == code) {
            return &page;
        }
    }
    return nullptr;
}

void Collector::readPage(unsigned page, const scsi::PageView& view) {
    std::vector<unsigned>& asked = report().pages;
    if (std::find(asked.begin(), asked.end(), page) == asked.end()) {
        asked.push_back(page);
    }
    if (find(page) != nullptr) {
        return;
    }
    ExplainedPage taken;
    taken.code = page;
    taken.present = view.hasBuffer();
    for (std::size_t i = 0; i < view.length(); ++i) {
        taken.bytes.push_back(view[i]);
    }
    m_explanation.pages.push_back(taken);
}

bool Collector::holdsPageOf(const Piece& piece) {
    if (find(piece.page) == nullptr) {
        const auto stored = m_record->m_pages.find(piece.page);
        if (stored == m_record->m_pages.end()) {
            return false;
        }
        readPage(piece.page, scsi::PageView(stored->second));
    }
    return true;
}

void Collector::added(const Piece& piece) {
    Piece kept = piece;
    if (piece.page != kNoPage && !holdsPageOf(piece)) {
        kept.page = kNoPage;
        kept.offset = 0;
        kept.length = 0;
    }
    (m_inBody ? report().body : report().prefix).push_back(kept);
}

void Collector::cleared() {
    std::vector<Piece>& pieces = m_inBody ? report().body : report().prefix;
    std::vector<Piece>& dropped = report().dropped;
    dropped.insert(dropped.end(), pieces.begin(), pieces.end());
    pieces.clear();
}

void Collector::foundField(const std::string& name, const Piece& piece) {
    m_fields[name] = piece;
}

Piece Collector::fieldPiece(const std::string& name) const {
    const auto found = m_fields.find(name);
    return found != m_fields.end() ? found->second : Piece();
}

void Collector::remarked(const std::string& text) {
    if (m_explanation.generators.empty()) {
        m_explanation.remarks.push_back(text);
    } else {
        report().remarks.push_back(text);
    }
}

void Collector::failed(const std::string& messageId) {
    report().failure = messageId;
}

Outcome outcomeOf(const CUDIDFactory& factory, const Explanation& explanation) {
    if (explanation.generators.empty()) {
        return factory.m_presetDeviceMap.count(explanation.deviceName) != 0 ? Outcome::kPreset
                                                                            : Outcome::kNone;
    }
    if (factory.m_taqMode) {
        return Outcome::kTaq;
    }
    bool failed = false;
    for (const GeneratorReport& report : explanation.generators) {
        if (report.claimed && report.failure.empty()) {
            return failed ? Outcome::kFallback : Outcome::kClaimed;
        }
        failed = failed || report.claimed;
    }
    return failed ? Outcome::kPrefixAlone : Outcome::kNone;
}

// The stored bytes of a piece: what lies past the page's end was read as 0, and text ends at its
// first NUL.
ByteRange storedRange(const Piece& piece, const std::vector<std::uint8_t>& bytes) {
    const std::size_t begin = std::min(piece.offset, bytes.size());
    std::size_t length = std::min(piece.length, bytes.size() - begin);
    const bool hexadecimal =
        piece.format == Format::kHexLower || piece.format == Format::kHexUpper ||
        piece.format == Format::kHexLowerColons || piece.format == Format::kHexUpperDashes ||
        piece.format == Format::kKindAndHexLower;
    if (!hexadecimal) {
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto last = first + static_cast<std::ptrdiff_t>(length);
        length = static_cast<std::size_t>(std::find(first, last, 0) - first);
    }
    return {begin, length};
}

void markBytes(const std::vector<Piece>& pieces, ExplainedPage& page, std::vector<bool>& marks) {
    for (const Piece& piece : pieces) {
        if (piece.page == page.code) {
            const ByteRange range = storedRange(piece, page.bytes);
            std::fill_n(marks.begin() + static_cast<std::ptrdiff_t>(range.offset), range.length,
                        true);
        }
    }
}

// Marks in every page what stands in the UDID.
void markUsedBytes(Explanation& explanation) {
    const GeneratorReport* const decisive = explanation.decisive();
    if (decisive == nullptr) {
        return;
    }
    for (ExplainedPage& page : explanation.pages) {
        std::vector<bool> marks(page.bytes.size());
        markBytes(decisive->prefix, page, marks);
        if (explanation.outcome != Outcome::kPrefixAlone) {
            markBytes(decisive->body, page, marks);
        }
        for (std::size_t i = 0; i < marks.size(); ++i) {
            if (marks[i] && (i == 0 || !marks[i - 1])) {
                page.used.push_back({i, 0});
            }
            if (marks[i]) {
                ++page.used.back().length;
            }
        }
    }
}

}  // namespace

Explanation explain(CUDIDFactory& factory, const CScsiDeviceData& record) {
    Explanation explanation;
    explanation.deviceName = record.m_deviceName;
    explanation.vendor = record.m_vendorId;
    explanation.product = record.m_productId;
    explanation.firmware = record.m_firmwareLevel;
    Collector collector(explanation);
    ExplainedRecord copy(record, collector);
    collector.watch(copy);
    try {
        explanation.udid = factory.getUniqueDeviceID(&copy);
    } catch (const CUdidGeneratorException& failure) {
        // In TAQ mode the factory lets a generator's failure pass, and the device map then shows
        // an empty UDID.
        collector.failed(failure.getMessageId());
    }
    explanation.outcome = outcomeOf(factory, explanation);
    if (explanation.outcome == Outcome::kTaq) {
        explanation.generators.back().name = factory.m_taqGenerator->getGeneratorName();
    }
    markUsedBytes(explanation);
    return explanation;
}

const char* nameOf(Format format) {
    switch (format) {
        case Format::kLiteral:
            return "literal";
        case Format::kText:
            return "text";
        case Format::kTrimmedText:
            return "trimmed-text";
        case Format::kRightTrimmedText:
            return "right-trimmed-text";
        case Format::kBlanksAsUnderscores:
            return "blanks-as-underscores";
        case Format::kHexLower:
            return "hex-lower";
        case Format::kHexUpper:
            return "hex-upper";
        case Format::kHexLowerColons:
            return "hex-lower-colons";
        case Format::kHexUpperDashes:
            return "hex-upper-dashes";
        case Format::kKindAndHexLower:
            return "kind-and-hex-lower";
        case Format::kDecimalOfHexText:
            return "decimal-of-hex-text";
        case Format::kDecimalOfDecimalText:
            return "decimal-of-decimal-text";
        case Format::kDeviceName:
            return "device-name";
        case Format::kHostName:
            return "host-name";
    }
    return "";
}

const char* nameOf(Rule rule) {
    switch (rule) {
        case Rule::kEquals:
            return "equals";
        case Rule::kBeginsWith:
            return "begins-with";
        case Rule::kContains:
            return "contains";
    }
    return "";
}

const char* nameOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::kPreset:
            return "preset";
        case Outcome::kTaq:
            return "taq";
        case Outcome::kClaimed:
            return "claimed";
        case Outcome::kFallback:
            return "fallback";
        case Outcome::kPrefixAlone:
            return "prefix-alone";
        case Outcome::kNone:
            return "none";
    }
    return "";
}

}  // namespace udid
