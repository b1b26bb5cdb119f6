#include "recording/redaction/page_fields.h"

#include <algorithm>

#include "recording/pages/designators.h"
#include "recording/redaction/words.h"

namespace recording {
namespace {

using Kind = PageField::Kind;

constexpr std::size_t kHeader = 4;
constexpr std::size_t kVendor = 8;
constexpr std::size_t kProduct = 16;
constexpr std::size_t kSpecific = 36;
constexpr std::size_t kSpecificEnd = 56;
constexpr std::size_t kSpecificMore = 96;
constexpr std::size_t kToTheEnd = ~std::size_t{0};

bool holds(const Bytes& bytes, std::size_t offset, const char* text) {
    const std::string start = text;
    return offset + start.size() <= bytes.size() &&
           std::equal(start.begin(), start.end(), bytes.begin() + static_cast<long>(offset));
}

bool isText(const Bytes& bytes, std::size_t offset, std::size_t length) {
    const auto begin = bytes.begin() + static_cast<long>(offset);
    return std::all_of(begin, begin + static_cast<long>(length), [](std::uint8_t byte) {
        return byte == 0 || (byte >= 0x20 && byte < 0x7F);
    });
}

/// Collects fields within the bytes there are.
class Fields {
  public:
    explicit Fields(const Bytes& bytes) : m_bytes(bytes) {}

    void add(std::size_t offset, std::size_t length, Kind kind) {
        if (offset < m_bytes.size()) {
            const std::size_t here = std::min(length, m_bytes.size() - offset);
            m_fields.push_back({offset, here, kind});
        }
    }
    void addFromTo(std::size_t begin, std::size_t end, Kind kind) {
        if (begin < end) {
            add(begin, end - begin, kind);
        }
    }
    std::vector<PageField> take() { return std::move(m_fields); }

  private:
    const Bytes& m_bytes;
    std::vector<PageField> m_fields;
};

// Bytes 36 to 47: what kind of array it is (one or two characters, which decide how the number
// behind them is read), its number, the logical device's number in four characters.
void addHitachi(const Bytes& data, Fields& fields) {
    constexpr std::size_t kLogicalDevice = 44;
    constexpr std::size_t kBehind = 48;
    const std::size_t number = holds(data, kSpecific, "7") ? kSpecific + 1 : kSpecific + 2;
    fields.addFromTo(number, kLogicalDevice, Kind::kText);
    fields.addFromTo(kLogicalDevice, kBehind, Kind::kText);
    fields.addFromTo(kBehind, kSpecificEnd, Kind::kRegion);
}

void addDesignator(const Bytes& page, const Designator& designator,
                   const std::function<bool(const std::string&)>& isKnownWord, Fields& fields) {
    constexpr unsigned kLogicalUnitGroup = 6;
    constexpr std::size_t kT10Vendor = 8;
    constexpr std::size_t kAtaModel = 40;  // SAT: 40 characters of model, 20 of serial number
    constexpr std::size_t kAtaName = kT10Vendor + kAtaModel + 20;
    const std::size_t length = designator.length;
    std::size_t begin = designator.offset + kDesignatorHeader;
    const std::size_t end = begin + length;
    if (designator.type >= kRelativeTargetPort && designator.type <= kLogicalUnitGroup) {
        return;  // relative port, port group, logical unit group: numbers of the host's own paths
    }
    if (designator.type != kT10VendorName) {
        fields.addFromTo(begin, end, isText(page, begin, length) ? Kind::kText : Kind::kBinary);
        return;
    }
    const bool isAta = holds(page, begin, "ATA     ") && length == kAtaName;
    begin = std::min(end, begin + kT10Vendor + (isAta ? kAtaModel : 0));
    // The product's words, each of which stays.
    while (begin < end) {
        std::size_t wordEnd = begin;
        while (wordEnd < end && page[wordEnd] != ' ' && page[wordEnd] != ':') {
            ++wordEnd;
        }
        const std::string word(page.begin() + static_cast<long>(begin),
                               page.begin() + static_cast<long>(wordEnd));
        if (!word.empty() && !isKnownWord(word)) {
            break;
        }
        begin = wordEnd + 1;
    }
    if (begin < end) {
        fields.addFromTo(begin, end,
                         isText(page, begin, end - begin) ? Kind::kText : Kind::kBinary);
    }
}

std::vector<PageField> fieldsOfNames(const Bytes& page,
                                     const std::function<bool(const std::string&)>& isKnownWord) {
    Fields fields(page);
    std::size_t end = kHeader;
    for (const Designator& designator : designatorsIn(page, kHeader)) {
        // Byte 2 of a designator is reserved: another value is a page older than SPC-3, or none.
        if (designator.reserved != 0 || !designator.isWhole()) {
            break;
        }
        addDesignator(page, designator, isKnownWord, fields);
        end = designator.offset + kDesignatorHeader + designator.length;
    }
    fields.addFromTo(end, page.size(), Kind::kRegion);
    return fields.take();
}

std::vector<PageField> fieldsOfSerial(const Bytes& page) {
    Fields fields(page);
    const bool text = page.size() > kHeader && isText(page, kHeader, page.size() - kHeader);
    fields.add(kHeader, kToTheEnd, text ? Kind::kText : Kind::kRegion);
    return fields.take();
}

std::vector<PageField> fieldsAround(const Bytes& page, std::size_t name) {
    constexpr std::size_t kNaa = 16;
    Fields fields(page);
    if (page.size() < name + kNaa) {
        fields.add(kHeader, kToTheEnd, Kind::kRegion);
        return fields.take();
    }
    fields.addFromTo(kHeader, name, Kind::kRegion);
    fields.add(name, kNaa, Kind::kBinary);
    fields.add(name + kNaa, kToTheEnd, Kind::kRegion);
    return fields.take();
}

}  // namespace

std::vector<PageField> fieldsOfInquiry(const Bytes& data) {
    Fields fields(data);
    const bool isHitachi = holds(data, kVendor, "HITACHI ") ||
                           (holds(data, kVendor, "HP      ") && holds(data, kProduct, "OPEN-"));
    if (isHitachi) {
        addHitachi(data, fields);
    } else {
        fields.addFromTo(kSpecific, kSpecificEnd, Kind::kRegion);
    }
    if (holds(data, kProduct, "HSV")) {
        constexpr std::size_t kController = 130;
        constexpr std::size_t kControllerEnd = 138;
        fields.addFromTo(kSpecificMore, kController, Kind::kRegion);
        fields.addFromTo(kController, kControllerEnd, Kind::kBinary);
        fields.add(kControllerEnd, kToTheEnd, Kind::kRegion);
    } else if (holds(data, kVendor, "EMC     SYMMETRIX")) {
        constexpr std::size_t kFrame = 124;
        constexpr std::size_t kFrameEnd = 129;
        constexpr std::size_t kDevice = 132;
        constexpr std::size_t kDeviceEnd = 136;
        fields.addFromTo(kSpecificMore, kFrame, Kind::kRegion);
        fields.addFromTo(kFrame, kFrameEnd, Kind::kBinary);
        fields.addFromTo(kDevice, kDeviceEnd, Kind::kText);
        fields.add(kDeviceEnd, kToTheEnd, Kind::kRegion);
    } else {
        fields.add(kSpecificMore, kToTheEnd, Kind::kRegion);
    }
    return fields.take();
}

std::vector<PageField> fieldsOfPage(std::uint8_t code, const Bytes& page,
                                    const std::function<bool(const std::string&)>& isKnownWord) {
    constexpr std::size_t kArrayNameC8 = 90;
    constexpr std::size_t kArrayNameD0 = 8;
    switch (code) {
        case 0x80:
            return fieldsOfSerial(page);
        case 0x83:
            return fieldsOfNames(page, isKnownWord);
        case 0xC8:
            return fieldsAround(page, kArrayNameC8);
        case 0xD0:
            return fieldsAround(page, kArrayNameD0);
        default:
            break;
    }
    // What SPC and SBC define there names nothing: supported pages, limits, provisioning.
    const bool isPlain = code == 0x00 || code == 0x86 || (code >= 0xB0 && code <= 0xBF);
    Fields fields(page);
    if (!isPlain) {
        fields.add(kHeader, kToTheEnd, Kind::kRegion);
    }
    return fields.take();
}

}  // namespace recording
