#include "cli/output/designator_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "recording/text/hex.h"
#include "scsitool/scsi/pages.h"

namespace cli {
namespace {

using recording::Association;
using recording::Designator;
using udid::ByteRange;

constexpr unsigned kAscii = 2;
constexpr unsigned kUtf8 = 3;
constexpr unsigned kSearchedTypes = recording::kNaaName + 1;

// Protocol identifiers (SPC-4, 7.6.1).
std::string protocolName(unsigned protocol) {
    static constexpr const char* kNames[] = {"FC",  "SPI", "SSA", "SBP", "SRP", "iSCSI",
                                             "SAS", "ADT", "ATA", "UAS", "SOP"};
    return protocol < std::size(kNames) ? kNames[protocol] : "protocol " + std::to_string(protocol);
}

std::string associationOf(const Designator& designator) {
    static constexpr const char* kNames[] = {"logical unit", "target port", "target device",
                                             "reserved"};
    const std::string name = kNames[static_cast<std::size_t>(designator.association)];
    return designator.isProtocolValid ? name + " (" + protocolName(designator.protocol) + ")"
                                      : name;
}

std::string typeOf(const Designator& designator) {
    static constexpr const char* kNames[] = {"vendor-specific",
                                             "T10 vendor ID",
                                             "EUI-64",
                                             "NAA",
                                             "relative target port",
                                             "target port group",
                                             "logical unit group",
                                             "MD5 logical unit",
                                             "SCSI name string",
                                             "protocol-specific port",
                                             "UUID"};
    if (designator.type == recording::kNaaName && !designator.value.empty()) {
        return "NAA " + std::to_string(designator.naa());
    }
    return designator.type < std::size(kNames) ? kNames[designator.type]
                                               : "type " + std::to_string(designator.type);
}

std::string codeSetOf(const Designator& designator) {
    switch (designator.codeSet) {
        case recording::kBinaryCodes:
            return "binary";
        case kAscii:
            return "ASCII";
        case kUtf8:
            return "UTF-8";
        default:
            return "code set " + std::to_string(designator.codeSet);
    }
}

std::string textOf(const Designator& designator) {
    constexpr std::size_t kNumber = 4;
    const std::vector<std::uint8_t>& value = designator.value;
    const bool isNumber = designator.type >= recording::kRelativeTargetPort &&
                          designator.type <= recording::kTargetPortGroup + 1;
    if (isNumber && value.size() == kNumber) {
        return std::to_string(value[2] * 256U + value[3]);
    }
    if (designator.codeSet != kAscii && designator.codeSet != kUtf8) {
        return recording::toHex(value);
    }
    std::string text(value.begin(), std::find(value.begin(), value.end(), 0));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string rangeText(std::size_t first, std::size_t last) {
    return first == last ? fmt::format("byte {}", first)
                         : fmt::format("bytes {} to {}", first, last);
}

/// What a UDID takes of page 0x83, and who takes it.
class Taking {
  public:
    explicit Taking(const udid::Account& account) : m_account(account) {
        for (const udid::ExplainedPage& page : account.explanation.pages) {
            if (page.code == scsi::kDeviceIdentification) {
                m_used = page.used;
            }
        }
    }

    void judge(const Designator& designator, ShownDesignator& shown) const {
        const std::size_t first = designator.offset + recording::kDesignatorHeader;
        const std::size_t end = first + designator.value.size();
        for (const ByteRange& range : m_used) {
            const std::size_t from = std::max(first, range.offset);
            const std::size_t to = std::min(end, range.offset + range.length);
            if (from < to) {
                shown.isTaken = true;
                shown.why =
                    from == first && to == end ? "taken" : rangeText(from, to - 1) + " taken";
                return;
            }
        }
        shown.why = whyNot(designator);
    }

  private:
    std::string whyNot(const Designator& designator) const {
        const udid::GeneratorReport* const decisive = m_account.explanation.decisive();
        if (decisive == nullptr) {
            return "no: no generator built the UDID";
        }
        if (decisive->name == ":" || decisive->name == "TAQ:TAQ") {
            return whyNotFound(designator);
        }
        return m_used.empty() ? "no: the family takes nothing of this page"
                              : "no: the family takes " +
                                    rangeText(m_used.front().offset,
                                              m_used.back().offset + m_used.back().length - 1) +
                                    " whatever stands there";
    }

    // The search of a device that no family claims.
    std::string whyNotFound(const Designator& designator) const {
        if (designator.association != Association::kLogicalUnit) {
            return "no: it does not name the logical unit";
        }
        if (designator.type >= kSearchedTypes) {
            return "no: this type is not looked for";
        }
        if (designator.codeSet != recording::kBinaryCodes && designator.codeSet != kAscii) {
            return "no: neither binary nor ASCII";
        }
        return m_used.empty() ? "no: it cannot be used, see what the generator says"
                              : "no: another one goes before it";
    }

    const udid::Account& m_account;
    std::vector<ByteRange> m_used;
};

}  // namespace

std::vector<ShownDesignator> shownDesignators(const std::vector<std::uint8_t>& page,
                                              const udid::Account& account) {
    const Taking taking(account);
    std::vector<ShownDesignator> all;
    for (const Designator& designator : recording::designatorsOfPage(page)) {
        if (all.empty() && designator.reserved != 0) {
            return {};
        }
        ShownDesignator shown;
        shown.offset = designator.offset;
        shown.association = associationOf(designator);
        shown.type = typeOf(designator);
        shown.codeSet = codeSetOf(designator);
        shown.length = designator.length;
        shown.value = designator.value;
        shown.text = textOf(designator);
        taking.judge(designator, shown);
        if (!designator.isWhole()) {
            shown.why += fmt::format("; the page holds {} of its {} bytes", designator.value.size(),
                                     designator.length);
        }
        all.push_back(std::move(shown));
    }
    return all;
}

std::string designatorsText(const std::vector<ShownDesignator>& designators, const Layout& layout) {
    if (designators.empty()) {
        return std::string();
    }
    Table table({{"OFFSET", true},
                 {"ASSOCIATION"},
                 {"TYPE"},
                 {"CODE SET"},
                 {"LENGTH", true},
                 {"VALUE", false, true},
                 {"TAKEN", false, true}});
    for (const ShownDesignator& shown : designators) {
        table.addRow({std::to_string(shown.offset), shown.association, shown.type, shown.codeSet,
                      std::to_string(shown.length), shown.text, shown.why});
    }
    return "Designators of page 0x83:\n" + table.str(layout) + "\n";
}

Json designatorsJson(const std::vector<ShownDesignator>& designators) {
    Json list = Json::array();
    for (const ShownDesignator& shown : designators) {
        list.push_back({{"offset", shown.offset},
                        {"association", shown.association},
                        {"type", shown.type},
                        {"code_set", shown.codeSet},
                        {"length", shown.length},
                        {"value", recording::toHex(shown.value)},
                        {"text", jsonText(shown.text)},
                        {"taken", shown.isTaken},
                        {"why", shown.why}});
    }
    return list;
}

}  // namespace cli
