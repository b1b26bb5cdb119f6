#include "scsitool/udid/explanation.h"

#include <algorithm>

#include "scsitool/udid/device_udid_factory.h"
#include "udid/explanation_collector.h"
#include "udid/format_table.h"

namespace udid {
namespace {

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

bool endsAtNul(const Piece& piece) {
    return !rowOf(piece.format).hexadecimal;
}

// The stored bytes of a piece: what lies past the page's end was read as 0, and text ends at its
// first NUL.
ByteRange storedRange(const Piece& piece, const std::vector<std::uint8_t>& bytes) {
    const std::size_t begin = std::min(piece.offset, bytes.size());
    std::size_t length = std::min(piece.length, bytes.size() - begin);
    if (endsAtNul(piece)) {
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto last = first + static_cast<std::ptrdiff_t>(length);
        length = static_cast<std::size_t>(std::find(first, last, 0) - first);
    }
    return {begin, length};
}

// The same without the blanks that the format takes away.
ByteRange usedRange(const Piece& piece, const std::vector<std::uint8_t>& bytes) {
    ByteRange range = storedRange(piece, bytes);
    const bool both = piece.format == Format::kTrimmedText;
    if (both || piece.format == Format::kRightTrimmedText ||
        piece.format == Format::kBlanksAsUnderscores) {
        while (range.length > 0 && bytes[range.offset + range.length - 1] == ' ') {
            --range.length;
        }
    }
    while (both && range.length > 0 && bytes[range.offset] == ' ') {
        ++range.offset;
        --range.length;
    }
    return range;
}

void markBytes(const std::vector<Piece>& pieces, ExplainedPage& page, std::vector<bool>& marks) {
    for (const Piece& piece : pieces) {
        if (piece.page == page.code) {
            const ByteRange range = usedRange(piece, page.bytes);
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

// The NUL at which a text of the UDID ended decided that no more of the page is in it.
void addTextEnds(const Explanation& explanation, ExplanationCollector& collector) {
    const GeneratorReport* const decisive = explanation.decisive();
    if (decisive == nullptr || explanation.outcome == Outcome::kPrefixAlone) {
        return;
    }
    for (const Piece& piece : decisive->body) {
        for (const ExplainedPage& page : explanation.pages) {
            const ByteRange range = storedRange(piece, page.bytes);
            const std::size_t end = range.offset + range.length;
            if (page.code == piece.page && endsAtNul(piece) && range.length < piece.length &&
                end < page.bytes.size()) {
                collector.decided(page.code, end, 1);
            }
        }
    }
}

}  // namespace

Account account(CUDIDFactory& factory, const CScsiDeviceData& record) {
    Account made;
    Explanation& explanation = made.explanation;
    explanation.deviceName = record.m_deviceName;
    explanation.vendor = record.m_vendorId;
    explanation.product = record.m_productId;
    explanation.firmware = record.m_firmwareLevel;
    // Claiming trims a record, so the generators work on a copy.
    CScsiDeviceData copy(record);
    ExplanationCollector collector(made, copy);
    const ReportScope scope(&collector);
    try {
        explanation.udid = factory.getUniqueDeviceID(&copy);
    } catch (const CUdidGeneratorException& failure) {
        // In TAQ mode the factory lets a generator's failure pass, and the device map then shows
        // an empty UDID.
        collector.stepped(Step::kFailed, failure.getMessageId());
    }
    explanation.outcome = outcomeOf(factory, explanation);
    if (explanation.outcome == Outcome::kTaq) {
        explanation.generators.back().name = factory.m_taqGenerator->getGeneratorName();
    }
    markUsedBytes(explanation);
    addTextEnds(explanation, collector);
    if (const Identity* const identity = collector.of(copy.m_deviceName)) {
        made.identity = *identity;
    }
    return made;
}

Explanation explain(CUDIDFactory& factory, const CScsiDeviceData& record) {
    return account(factory, record).explanation;
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
