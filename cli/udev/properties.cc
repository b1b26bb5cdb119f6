#include "cli/udev/properties.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "cli/udev/safe_text.h"

namespace cli::udev {
namespace {

using picture::Strength;
using picture::UnitName;
using picture::UnitNames;

// What udev reads of a program are 16 KiB together; a longer value would take the next one's room.
constexpr std::size_t kLongestValue = 1024;
// A file's name has 255 bytes: with "-part" and a number behind it.
constexpr std::size_t kLongestLink = 240;

struct Kind {
    Strength strength;
    const char* word;
};
// The best first.
constexpr std::array<Kind, 5> kKinds = {{{Strength::kNaa6, "naa6:"},
                                         {Strength::kNaa, "naa:"},
                                         {Strength::kEui64, "eui64:"},
                                         {Strength::kT10Vendor, "t10:"},
                                         {Strength::kScsiName, "scsi:"}}};

void add(Properties& properties, const char* key, const std::string& value) {
    if (!value.empty() && value.size() <= kLongestValue) {
        properties.emplace_back(key, value);
    }
}

}  // namespace

std::string linkName(const std::string& udid) {
    std::string name = encoded(udid);
    return name.size() <= kLongestLink ? name : std::string();
}

std::string namesText(const UnitNames& names) {
    std::string text;
    for (const Kind& kind : kKinds) {
        for (const UnitName& name : names) {
            const std::string word = kind.word + encoded(name.text);
            const bool isNext = name.strength == kind.strength;
            if (isNext && text.size() + word.size() < kLongestValue) {
                text += (text.empty() ? "" : " ") + word;
            }
        }
    }
    return text;
}

UnitNames namesIn(const std::string& text) {
    UnitNames names;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const auto kind = std::find_if(kKinds.begin(), kKinds.end(), [&](const Kind& one) {
            return word.rfind(one.word, 0) == 0;
        });
        if (kind != kKinds.end()) {
            const std::size_t begin = std::string(kind->word).size();
            names.push_back({kind->strength, decoded(word.substr(begin))});
        }
    }
    return names;
}

Properties propertiesOf(const Identified& volume) {
    const std::string link = linkName(volume.udid);
    Properties properties;
    add(properties, "SCSITOOL_UDID", propertyValue(volume.udid));
    add(properties, kUdidEnc, link);
    add(properties, kLink, volume.isShared ? std::string() : link);
    add(properties, "SCSITOOL_SHARED", volume.isShared ? "1" : "");
    add(properties, kPartition, volume.partition == 0 ? "" : std::to_string(volume.partition));
    add(properties, "SCSITOOL_FAMILY", propertyValue(volume.fields.family));
    add(properties, "SCSITOOL_ARRAY_SERIAL", propertyValue(volume.fields.arraySerial));
    add(properties, "SCSITOOL_VOLUME_ID", propertyValue(volume.fields.volumeId));
    add(properties, "SCSITOOL_LU_NAME", propertyValue(volume.fields.logicalUnitName));
    add(properties, kNames, namesText(volume.names));
    return properties;
}

}  // namespace cli::udev
