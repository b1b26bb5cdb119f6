#include "recording/pages/designators.h"

#include <algorithm>
#include <utility>

namespace recording {
namespace {

using Bytes = std::vector<std::uint8_t>;

Designator designatorAt(const Bytes& bytes, std::size_t offset, std::size_t end) {
    Designator designator;
    designator.offset = offset;
    designator.protocol = bytes[offset] >> 4U;
    designator.codeSet = bytes[offset] & 0x0FU;
    designator.isProtocolValid = (bytes[offset + 1] & 0x80U) != 0;
    designator.association = static_cast<Association>(bytes[offset + 1] >> 4U & 3U);
    designator.type = bytes[offset + 1] & 0x0FU;
    designator.reserved = bytes[offset + 2];
    designator.length = bytes[offset + 3];
    const std::size_t first = offset + kDesignatorHeader;
    const std::size_t last = std::min(end, first + designator.length);
    designator.value.assign(bytes.begin() + static_cast<std::ptrdiff_t>(first),
                            bytes.begin() + static_cast<std::ptrdiff_t>(last));
    return designator;
}

std::vector<Designator> designatorsBetween(const Bytes& bytes, std::size_t start, std::size_t end) {
    std::vector<Designator> designators;
    while (start + kDesignatorHeader <= end) {
        designators.push_back(designatorAt(bytes, start, end));
        start += kDesignatorHeader + designators.back().length;
    }
    return designators;
}

}  // namespace

std::vector<Designator> designatorsIn(const Bytes& bytes, std::size_t start) {
    return designatorsBetween(bytes, start, bytes.size());
}

std::vector<Designator> designatorsOfPage(const Bytes& page) {
    if (page.size() < kVpdHeader) {
        return {};
    }
    const std::size_t stated = kVpdHeader + page[2] * std::size_t{256} + page[3];
    return designatorsBetween(page, kVpdHeader, std::min(stated, page.size()));
}

}  // namespace recording
