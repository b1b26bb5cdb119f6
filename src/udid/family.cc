#include "scsitool/udid/family.h"

#include "scsitool/tools/string_tool.h"

namespace udid {
namespace {

bool holds(const std::string& value, Rule rule, std::string_view expected) {
    switch (rule) {
        case Rule::kEquals:
            return value == expected;
        case Rule::kBeginsWith:
            return value.compare(0, expected.size(), expected) == 0;
        case Rule::kContains:
            return value.find(expected) != std::string::npos;
    }
    return false;
}

// Mostly it is trimmed already: every generator asks.
const std::string& trimmed(std::string& text) {
    if (!text.empty() && text.back() == ' ') {
        text = CStringTool::rtrim(text, ' ');
    }
    return text;
}

bool compares(const std::string& value, Rule rule, const char* field, std::string_view word,
              Reporter* listener) {
    const bool matched = holds(value, rule, word);
    if (listener != nullptr) {
        listener->compared({field, value, rule, std::string(word), matched});
    }
    return matched;
}

bool isFulfilled(const Condition& condition, const CUdidGenerator& generator,
                 CScsiDeviceData& record, Reporter* listener) {
    const bool vendor = condition.asked == Asked::kVendor;
    const std::string& value = vendor ? record.m_vendorId : trimProduct(record);
    const char* const field = vendor ? "vendor" : "product";
    if (condition.words[0].empty()) {
        return compares(value, condition.rule, field,
                        vendor ? generator.vendorKey() : generator.productKey(), listener);
    }
    for (const std::string_view word : condition.words) {
        if (word.empty()) {
            break;
        }
        if (compares(value, condition.rule, field, word, listener)) {
            return true;
        }
    }
    return false;
}

}  // namespace

const std::string& trimVendor(CScsiDeviceData& record) {
    return trimmed(record.m_vendorId);
}

const std::string& trimProduct(CScsiDeviceData& record) {
    return trimmed(record.m_productId);
}

bool matchesAny(const char* field, const std::string& value, Rule rule,
                const std::string_view* words, std::size_t count) {
    Reporter* const listener = reporter();
    for (std::size_t i = 0; i < count; ++i) {
        if (compares(value, rule, field, words[i], listener)) {
            return true;
        }
    }
    return false;
}

bool claims(const Claim& claim, const CUdidGenerator& generator, CScsiDeviceData& record) {
    trimVendor(record);
    if (claim.trimsProduct == TrimsProduct::kAlways) {
        trimProduct(record);
    }
    Reporter* const listener = reporter();
    for (const Condition& condition : claim.conditions) {
        if (condition.asked != Asked::kNothing &&
            !isFulfilled(condition, generator, record, listener)) {
            return false;
        }
    }
    return true;
}

}  // namespace udid
