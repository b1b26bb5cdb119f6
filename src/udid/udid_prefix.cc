#include "udid/udid_prefix.h"

#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/family.h"
#include "scsitool/udid/udid_text.h"
#include "tools/letters.h"
#include "udid/format_table.h"

namespace udid {

std::string recordPrefix(CScsiDeviceData& record) {
    const std::string& vendor = trimVendor(record);
    UdidText prefix;
    prefix.literal(udid_prefix);
    prefix.recordField(record, Format::kRightTrimmedText, scsi::kVendorField, vendor);
    prefix.literal(udid_separator);
    prefix.recordField(record, Format::kBlanksAsUnderscores, scsi::kProductField,
                       underscored(trimProduct(record)));
    prefix.literal(udid_separator);
    // With the room that the rest of the identifier needs.
    std::string text = prefix.take();
    tools::makeUpper(text);
    return text;
}

std::string keyPrefix(const std::string& vendor, const std::string& product) {
    std::string text = udid_prefix;
    text += CStringTool::rtrim(vendor, ' ');
    text += udid_separator;
    text += CStringTool::rtrim(product, ' ');
    text += udid_separator;
    UdidText prefix;
    prefix.literal(CStringTool::tostrupper(text));
    return prefix.take();
}

}  // namespace udid
